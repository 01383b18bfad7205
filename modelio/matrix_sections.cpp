#include "modelio/matrix_sections.hpp"

#include <algorithm>
#include <limits>

#include "modelio/number.hpp"

namespace ov::modelio {
namespace {

constexpr std::int32_t kMaxCount = std::numeric_limits<std::int32_t>::max() - 16;

}  // namespace

double finiteNumber(std::string_view text, const Reporter& report) {
    double value = 0.0;
    if (text.empty()) report.fail("a number is missing");
    switch (readNumber(text, value)) {
        case NumberKind::Finite:
            return value;
        case NumberKind::Infinite:
            report.fail("number " + quoted(text) + " is not finite");
        case NumberKind::Malformed:
            break;
    }
    report.fail("expected a number, found " + quoted(text));
}

void RowsSection::nameObjective(std::string_view name) {
    wantedObjective_ = name;
    wantedLine_ = report_.line;
}

void RowsSection::addLine(const Fields& fields) {
    const bool known = fields.code.size() == 1 &&
                       std::string_view("NEGL").find(fields.code[0]) != std::string_view::npos;
    if (!known) report_.fail("unknown row sense " + quoted(fields.code));
    if (fields.name.empty()) report_.fail("a row name is missing");
    if (names_.size() >= kMaxCount) report_.fail("too many rows");
    if (!names_.insert(fields.name)) report_.fail("duplicate row " + quoted(fields.name));
    sense_.push_back(fields.code[0]);
}

void RowsSection::settle() {
    if (wantedObjective_.empty()) {
        const auto first = std::find(sense_.begin(), sense_.end(), 'N');
        objective_ = first == sense_.end() ? -1 : static_cast<std::int32_t>(first - sense_.begin());
        if (objective_ < 0) report_.warn("no 'N' row: the objective is zero");
        return;
    }
    objective_ = names_.find(wantedObjective_);
    if (objective_ < 0)
        report_.failAt(wantedLine_, "unknown objective row " + quoted(wantedObjective_));
    if (sense_[static_cast<std::size_t>(objective_)] != 'N')
        report_.failAt(wantedLine_,
                       "objective row " + quoted(wantedObjective_) + " is not an 'N' row");
}

std::int32_t RowsSection::find(std::string_view name) const {
    const std::int32_t index = names_.find(name);
    if (index < 0) return kUnknown;
    if (index == objective_) return kObjective;
    return objective_ >= 0 && index > objective_ ? index - 1 : index;
}

std::int32_t RowsSection::require(std::string_view name) const {
    const std::int32_t row = find(name);
    if (row == kUnknown)
        report_.fail(name.empty() ? "a row name is missing" : "unknown row " + quoted(name));
    return row;
}

std::string_view RowsSection::objectiveName() const {
    return objective_ >= 0 ? names_[objective_] : std::string_view();
}

void RowsSection::store(ModelData& model) const {
    model.numRow = numRow();
    model.objName = objectiveName();
    model.rowName.reserve(static_cast<std::size_t>(numRow()));
    model.rowSense.reserve(static_cast<std::size_t>(numRow()));
    for (std::int32_t row = 0; row < numRow(); ++row) {
        model.rowName.emplace_back(names_[static_cast<std::int32_t>(fileIndex(row))]);
        model.rowSense.push_back(sense(row));
    }
}

void ColumnsSection::addLine(const Fields& fields) {
    if (fields.key[0] == "'MARKER'") return marker(fields);
    if (fields.name.empty()) report_.fail("a column name is missing");
    if (names_.size() == 0 || fields.name != current_) startColumn(fields.name);
    for (int i = 0; i < fields.numPairs; ++i) addEntry(fields.key[i], fields.value[i]);
}

void ColumnsSection::marker(const Fields& fields) {
    const std::string_view kind = fields.value[0].empty() ? fields.key[1] : fields.value[0];
    if (kind != "'INTORG'" && kind != "'INTEND'")
        report_.fail("unsupported marker " + quoted(kind));
    integer_ = kind == "'INTORG'";
}

void ColumnsSection::startColumn(std::string_view name) {
    endColumn();
    if (names_.size() >= kMaxCount) report_.fail("too many columns");
    if (!names_.insert(name))
        report_.fail("column " + quoted(name) + " comes again: its entries must stand together");
    if (lastCol_.empty()) lastCol_.assign(static_cast<std::size_t>(rows_.numRow()) + 1, 0);
    current_ = name;
    obj_.push_back(0.0);
    if (integer_ && numInteger_++ == 0) firstIntegerLine_ = report_.line;
}

void ColumnsSection::endColumn() {
    if (names_.size() == 0) return;
    const auto first = static_cast<std::size_t>(colBegin_.back());
    const std::size_t last = rowIndex_.size();
    if (!std::is_sorted(rowIndex_.begin() + colBegin_.back(), rowIndex_.end())) {
        scratch_.clear();
        for (std::size_t k = first; k < last; ++k)
            scratch_.emplace_back(rowIndex_[k], matValue_[k]);
        std::sort(scratch_.begin(), scratch_.end());
        for (std::size_t k = first; k < last; ++k) {
            rowIndex_[k] = scratch_[k - first].first;
            matValue_[k] = scratch_[k - first].second;
        }
    }
    colBegin_.push_back(static_cast<std::int32_t>(last));
}

void ColumnsSection::addEntry(std::string_view rowName, std::string_view text) {
    const std::int32_t row = rows_.require(rowName);
    const double value = finiteNumber(text, report_);
    const bool objective = row == RowsSection::kObjective;
    auto& last = objective ? lastCol_.back() : lastCol_[static_cast<std::size_t>(row)];
    if (last == names_.size())
        report_.fail("duplicate entry for row " + quoted(rowName) + " in column " +
                     quoted(current_));
    last = names_.size();
    if (objective) {
        obj_.back() = value;
    } else if (value != 0.0) {
        if (rowIndex_.size() >= static_cast<std::size_t>(kMaxCount))
            report_.fail("too many matrix entries");
        rowIndex_.push_back(row);
        matValue_.push_back(value);
    }
}

void ColumnsSection::settle() {
    endColumn();
    current_ = {};
    if (numInteger_ > 0)
        report_.warnAt(firstIntegerLine_,
                       std::to_string(numInteger_) + " integer columns are read as continuous");
}

std::int32_t ColumnsSection::require(std::string_view name) const {
    const std::int32_t col = find(name);
    if (col < 0)
        report_.fail(name.empty() ? "a column name is missing" : "unknown column " + quoted(name));
    return col;
}

void ColumnsSection::store(ModelData& model) {
    model.numCol = numCol();
    model.obj = std::move(obj_);
    model.colBegin = std::move(colBegin_);
    model.rowIndex = std::move(rowIndex_);
    model.matValue = std::move(matValue_);
    model.colName.reserve(static_cast<std::size_t>(numCol()));
    for (std::int32_t col = 0; col < numCol(); ++col) model.colName.emplace_back(names_[col]);
}

}  // namespace ov::modelio
