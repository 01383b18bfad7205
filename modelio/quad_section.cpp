#include "modelio/quad_section.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace ov::modelio {
namespace {

// Halves of a symmetric matrix written by different sums may differ in the last digits.
constexpr double kMirrorTol = 1e-12;

bool agree(double a, double b) {
    return std::abs(a - b) <= kMirrorTol * std::max(std::abs(a), std::abs(b));
}

}  // namespace

void QuadSection::addLine(const Fields& fields) {
    if (diag_.empty()) {
        diag_.assign(static_cast<std::size_t>(columns_.numCol()), 0.0);
        diagSeen_.assign(diag_.size(), 0);
    }
    const std::int32_t first = columns_.require(fields.name);
    for (int i = 0; i < fields.numPairs; ++i) addEntry(first, fields.key[i], fields.value[i]);
}

void QuadSection::addEntry(std::int32_t first, std::string_view secondName, std::string_view text) {
    const std::int32_t second = columns_.require(secondName);
    const double value = finiteNumber(text, report_);
    if (first == second) {
        const auto j = static_cast<std::size_t>(first);
        if (diagSeen_[j] != 0)
            report_.fail("duplicate quadratic entry " + quoted(secondName) + ", " +
                         quoted(secondName));
        diagSeen_[j] = 1;
        diag_[j] = value;
        return;
    }
    if (entries_.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        report_.fail("too many quadratic entries");
    entries_.push_back(
        {std::max(first, second), std::min(first, second), second > first, value, report_.line});
}

void QuadSection::sortEntries() {
    const auto key = [](const Entry& e) { return std::tie(e.col, e.row, e.mirrored, e.line); };
    const auto less = [&](const Entry& a, const Entry& b) { return key(a) < key(b); };
    if (!std::is_sorted(entries_.begin(), entries_.end(), less))
        std::sort(entries_.begin(), entries_.end(), less);
}

void QuadSection::failAtEntry(const Entry& entry, std::string_view what) const {
    const std::string_view row = columns_.name(entry.mirrored ? entry.col : entry.row);
    const std::string_view col = columns_.name(entry.mirrored ? entry.row : entry.col);
    report_.failAt(entry.line,
                   std::string(what) + " quadratic entry " + quoted(row) + ", " + quoted(col));
}

void QuadSection::checkTriangle() const {
    for (std::size_t k = 1; k < entries_.size(); ++k) {
        const Entry& a = entries_[k - 1];
        const Entry& b = entries_[k];
        if (a.row == b.row && a.col == b.col)
            failAtEntry(a.line > b.line ? a : b, "duplicate (only one triangle is expected)");
    }
}

// Sorted, the two halves of a pair are neighbours: the lower one first.
void QuadSection::checkMirror() const {
    for (std::size_t k = 0; k < entries_.size(); k += 2) {
        const Entry& a = entries_[k];
        const bool paired =
            k + 1 < entries_.size() && entries_[k + 1].row == a.row && entries_[k + 1].col == a.col;
        if (!paired) failAtEntry(a, "no mirror image of the");
        const Entry& b = entries_[k + 1];
        if (a.mirrored == b.mirrored) failAtEntry(b, "duplicate");
        if (!agree(a.value, b.value)) failAtEntry(a.line > b.line ? a : b, "asymmetric");
        const bool third =
            k + 2 < entries_.size() && entries_[k + 2].row == a.row && entries_[k + 2].col == a.col;
        if (third) failAtEntry(entries_[k + 2], "duplicate");
    }
}

void QuadSection::store(ModelData& model) {
    const auto numCol = static_cast<std::size_t>(model.numCol);
    sortEntries();
    both_ ? checkMirror() : checkTriangle();
    if (diag_.empty()) diag_.assign(numCol, 0.0);
    model.quadDiag = std::move(diag_);
    model.quadColBegin.assign(numCol + 1, 0);
    for (const Entry& entry : entries_) {
        if (entry.value == 0.0 || (both_ && entry.mirrored)) continue;
        ++model.quadColBegin[static_cast<std::size_t>(entry.col) + 1];
        model.quadRowIndex.push_back(entry.row);
        model.quadMatValue.push_back(entry.value);
    }
    for (std::size_t j = 0; j < numCol; ++j) model.quadColBegin[j + 1] += model.quadColBegin[j];
    entries_.clear();
    entries_.shrink_to_fit();
}

}  // namespace ov::modelio
