#include "modelio/vector_sections.hpp"

#include <algorithm>
#include <cmath>

#include "modelio/number.hpp"
#include "ovrelin/problem.h"

namespace ov::modelio {
namespace {

constexpr double kInf = OVRELIN_INFINITY_BOUND;

// Infinite numbers become +-kInf, so that a row's side can be told absent by its magnitude.
double sideNumber(std::string_view text, const Reporter& report) {
    double value = 0.0;
    if (text.empty()) report.fail("a number is missing");
    if (readNumber(text, value) == NumberKind::Malformed)
        report.fail("expected a number, found " + quoted(text));
    return std::clamp(value, -kInf, kInf);
}

bool isInfinite(double value) {
    return std::abs(value) >= kInf;
}

}  // namespace

bool FirstSet::accepts(std::string_view set, Reporter& report) {
    if (!chosen_) {
        first_ = set;
        chosen_ = true;
    }
    if (set == first_) return true;
    if (!warned_)
        report.warn("only the first set, " + quoted(first_) + ", is read; " + quoted(set) +
                    " is ignored");
    warned_ = true;
    return false;
}

void RowVectors::addRhs(const Fields& fields) {
    if (!rhsSet_.accepts(fields.name, report_)) return;
    for (int i = 0; i < fields.numPairs; ++i) setRhs(fields.key[i], fields.value[i]);
}

void RowVectors::addRange(const Fields& fields) {
    if (!rangeSet_.accepts(fields.name, report_)) return;
    for (int i = 0; i < fields.numPairs; ++i) setRange(fields.key[i], fields.value[i]);
}

void RowVectors::mark(std::vector<char>& seen, std::int32_t row, std::string_view rowName,
                      std::string_view what) {
    if (seen.empty()) seen.assign(static_cast<std::size_t>(rows_.numRow()) + 1, 0);
    char& flag = seen[static_cast<std::size_t>(std::int64_t{row} + 1)];  // the objective comes first
    if (flag != 0) report_.fail("duplicate " + std::string(what) + " of row " + quoted(rowName));
    flag = 1;
}

void RowVectors::setRhs(std::string_view rowName, std::string_view text) {
    const std::int32_t row = rows_.require(rowName);
    const double value = sideNumber(text, report_);
    mark(rhsSeen_, row, rowName, "right-hand side");
    if (isInfinite(value)) {
        const char sense = row == RowsSection::kObjective ? 'N' : rows_.sense(row);
        const bool absent = (sense == 'L' && value > 0.0) || (sense == 'G' && value < 0.0);
        if (!absent) report_.fail("infinite right-hand side of row " + quoted(rowName));
        report_.warn("row " + quoted(rowName) + " is free: its right-hand side is infinite");
    }
    rhs_.push_back({row, value, report_.line});
}

void RowVectors::setRange(std::string_view rowName, std::string_view text) {
    const std::int32_t row = rows_.require(rowName);
    const double value = sideNumber(text, report_);
    mark(rangeSeen_, row, rowName, "range");
    if (row == RowsSection::kObjective || rows_.sense(row) == 'N')
        report_.warn("range of the free row " + quoted(rowName) + " is ignored");
    else
        range_.push_back({row, value, report_.line});
}

void RowVectors::applyRhs(ModelData& model, const Entry& entry) {
    if (entry.row == RowsSection::kObjective) {
        model.objConstant = -entry.value;
        return;
    }
    const auto row = static_cast<std::size_t>(entry.row);
    if (model.rowSense[row] == 'N') {
        report_.warnAt(entry.line, "right-hand side of the free row " + quoted(model.rowName[row]) +
                                       " is ignored");
    } else if (isInfinite(entry.value)) {
        model.rowSense[row] = 'N';
    } else {
        model.rhs[row] = entry.value;
    }
}

// L: [rhs - |r|, rhs]   G: [rhs, rhs + |r|]   E: [rhs, rhs + r] or, r < 0, [rhs + r, rhs].
// An infinite range leaves one side only; a zero one makes an equation.
void RowVectors::applyRange(ModelData& model, const Entry& entry) {
    const auto row = static_cast<std::size_t>(entry.row);
    char& sense = model.rowSense[row];
    if (sense == 'N') return;  // its right-hand side is infinite: nothing to measure from
    const double size = std::abs(entry.value);
    const bool below = sense == 'L' || (sense == 'E' && entry.value < 0.0);
    if (isInfinite(size)) {
        sense = below ? 'L' : 'G';
    } else if (size == 0.0) {
        sense = 'E';
    } else {
        sense = 'R';
        model.range[row] = size;
        if (below) model.rhs[row] -= size;
    }
}

void RowVectors::store(ModelData& model) {
    model.rhs.assign(static_cast<std::size_t>(model.numRow), 0.0);
    model.range.assign(static_cast<std::size_t>(model.numRow), 0.0);
    for (const Entry& entry : rhs_) applyRhs(model, entry);
    for (const Entry& entry : range_) applyRange(model, entry);
}

namespace {

enum TypeBit : unsigned char {
    kUp = 1,
    kLo = 2,
    kFx = 4,
    kFr = 8,
    kMi = 16,
    kPl = 32,
    kBv = 64,
    kGivesLower = kLo | kFx | kFr | kMi | kBv,
    kGivesUpper = kUp | kFx | kFr | kPl | kBv
};

// LI and UI are LO and UP of an integer column.
unsigned char bitOf(std::string_view type) {
    if (type == "UP" || type == "UI") return kUp;
    if (type == "LO" || type == "LI") return kLo;
    if (type == "FX") return kFx;
    if (type == "FR") return kFr;
    if (type == "MI") return kMi;
    if (type == "PL") return kPl;
    if (type == "BV") return kBv;
    return 0;
}

}  // namespace

void BoundsSection::init() {
    const auto numCol = static_cast<std::size_t>(columns_.numCol());
    lower_.assign(numCol, 0.0);
    upper_.assign(numCol, kInf);
    given_.assign(numCol, 0);
}

void BoundsSection::addLine(Fields fields) {
    if (given_.empty()) init();
    const std::string_view type = fields.code;
    if (type == "SC" || type == "SI")
        report_.fail("semi-continuous bound " + quoted(type) + " is not supported");
    if (bitOf(type) == 0) report_.fail("unknown bound type " + quoted(type));
    // `FR x 0` and `FR set x` have as many words: the column is the one that exists.
    if (isValueless(type) && fields.value[0].empty() && columns_.find(fields.key[0]) < 0 &&
        columns_.find(fields.name) >= 0) {
        fields.key[0] = fields.name;
        fields.name = {};
    }
    if (fields.numPairs > 1) report_.fail("text after the bound's number");
    if (!set_.accepts(fields.name, report_)) return;
    const double value = isValueless(type) ? 0.0 : sideNumber(fields.value[0], report_);
    apply(columns_.require(fields.key[0]), type, value);
}

void BoundsSection::apply(std::int32_t col, std::string_view type, double value) {
    unsigned char& given = given_[static_cast<std::size_t>(col)];
    const unsigned char bit = bitOf(type);
    if ((given & bit) != 0)
        report_.fail("duplicate bound " + quoted(type) + " of column " +
                     quoted(columns_.name(col)));
    if ((type == "LI" || type == "UI" || type == "BV") && numInteger_++ == 0)
        firstIntegerLine_ = report_.line;
    const bool toLower = (bit & kGivesLower) != 0;
    const bool toUpper = (bit & kGivesUpper) != 0;
    if ((toLower && (given & kGivesLower) != 0) || (toUpper && (given & kGivesUpper) != 0))
        report_.warn("bound " + quoted(type) + " of column " + quoted(columns_.name(col)) +
                     " replaces an earlier one");
    given = static_cast<unsigned char>(given | bit);
    switch (bit) {
        case kFr:
            setLower(col, -kInf, type);
            setUpper(col, kInf, type);
            break;
        case kMi:
            setLower(col, -kInf, type);
            break;
        case kPl:
            setUpper(col, kInf, type);
            break;
        case kBv:
            setLower(col, 0.0, type);
            setUpper(col, 1.0, type);
            break;
        case kFx:
            if (isInfinite(value))
                report_.fail("column " + quoted(columns_.name(col)) + " is fixed at infinity");
            setLower(col, value, type);
            setUpper(col, value, type);
            break;
        case kLo:
            setLower(col, value, type);
            break;
        default:
            setUpper(col, value, type);
            break;
    }
}

void BoundsSection::setLower(std::int32_t col, double value, std::string_view type) {
    if (value >= kInf)
        report_.fail("bound " + quoted(type) + " of column " + quoted(columns_.name(col)) +
                     " is plus infinity");
    lower_[static_cast<std::size_t>(col)] = value;
}

void BoundsSection::setUpper(std::int32_t col, double value, std::string_view type) {
    if (value <= -kInf)
        report_.fail("bound " + quoted(type) + " of column " + quoted(columns_.name(col)) +
                     " is minus infinity");
    upper_[static_cast<std::size_t>(col)] = value;
    if (value < 0.0 && type != "FX") negativeUpper_.push_back({col, report_.line});
}

// A negative UP alone would leave nothing between it and the lower bound 0: what is meant is a
// column without a lower bound.
void BoundsSection::store(ModelData& model) {
    if (given_.empty()) init();
    for (const auto& [col, line] : negativeUpper_) {
        const auto c = static_cast<std::size_t>(col);
        if ((given_[c] & kGivesLower) != 0 || upper_[c] >= 0.0) continue;
        lower_[c] = -kInf;
        report_.warnAt(line, "negative upper bound of column " + quoted(columns_.name(col)) +
                                 " without a lower one: the lower bound is minus infinity");
    }
    if (numInteger_ > 0)
        report_.warnAt(firstIntegerLine_,
                       std::to_string(numInteger_) + " integer bounds are read as continuous");
    model.lower = std::move(lower_);
    model.upper = std::move(upper_);
}

}  // namespace ov::modelio
