#include "modelio/fields.hpp"

#include <string>

namespace ov::modelio {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::size_t kMaxWords = 6;

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

struct Words {
    std::string_view at[kMaxWords];
    std::size_t count = 0;
};

Words cutWords(std::string_view line, const Reporter& report) {
    Words words;
    for (std::string_view word = takeWord(line); !word.empty(); word = takeWord(line)) {
        if (words.count == kMaxWords) report.fail("too many fields");
        words.at[words.count++] = word;
    }
    return words;
}

void takePairs(Fields& fields, const Words& words, std::size_t from) {
    fields.numPairs = static_cast<int>((words.count - from) / 2);
    for (std::size_t i = 0; from + 2 * i + 1 < words.count && i < 2; ++i) {
        fields.key[i] = words.at[from + 2 * i];
        fields.value[i] = words.at[from + 2 * i + 1];
    }
}

Fields freeRow(const Words& words, const Reporter& report) {
    if (words.count != 2) report.fail("expected a row sense and a name");
    Fields fields;
    fields.code = words.at[0];
    fields.name = words.at[1];
    return fields;
}

Fields freeMatrix(const Words& words, const Reporter& report) {
    if (words.count != 3 && words.count != 5)
        report.fail("expected a column and one or two pairs of a name and a number");
    Fields fields;
    fields.name = words.at[0];
    takePairs(fields, words, 1);
    return fields;
}

Fields freeVector(const Words& words, const Reporter& report) {
    if (words.count < 2 || words.count > 5)
        report.fail("expected one or two pairs of a row and a number");
    Fields fields;
    const std::size_t from = words.count % 2;
    if (from == 1) fields.name = words.at[0];
    takePairs(fields, words, from);
    return fields;
}

Fields freeBound(const Words& words, const Reporter& report) {
    if (words.count < 2 || words.count > 4)
        report.fail("expected a bound type, a set, a column and a number");
    Fields fields;
    fields.code = words.at[0];
    fields.numPairs = 1;
    if (words.count == 2) {
        fields.key[0] = words.at[1];
        return fields;
    }
    const bool hasSet = words.count == 4 || isValueless(fields.code);
    if (hasSet) fields.name = words.at[1];
    fields.key[0] = words.at[hasSet ? 2 : 1];
    if (!hasSet || words.count == 4) fields.value[0] = words.at[words.count - 1];
    return fields;
}

Fields splitFree(std::string_view line, LineShape shape, const Reporter& report) {
    const Words words = cutWords(line, report);
    switch (shape) {
        case LineShape::Row:
            return freeRow(words, report);
        case LineShape::Matrix:
            return freeMatrix(words, report);
        case LineShape::Vector:
            return freeVector(words, report);
        case LineShape::Bound:
            return freeBound(words, report);
        case LineShape::Words:
            break;
    }
    if (words.count != 1) report.fail("expected one word");
    Fields fields;
    fields.name = words.at[0];
    return fields;
}

// Columns first..last of the line, counted from 1.
std::string_view columns(std::string_view line, std::size_t first, std::size_t last) {
    if (line.size() < first) return {};
    return trimmed(line.substr(first - 1, last - first + 1));
}

void requireBlank(std::string_view line, std::size_t first, std::size_t last,
                  const Reporter& report) {
    if (!columns(line, first, last).empty())
        report.fail("text between the fields of the fixed format, at column " +
                    std::to_string(first));
}

Fields splitFixed(std::string_view line, LineShape shape, const Reporter& report) {
    if (line.find('\t') != std::string_view::npos) report.fail("tab in a fixed-format line");
    requireBlank(line, 4, 4, report);
    requireBlank(line, 13, 14, report);
    requireBlank(line, 23, 24, report);
    requireBlank(line, 48, 49, report);
    Fields fields;
    fields.code = columns(line, 1, 3);
    fields.name = columns(line, 5, 12);
    fields.key[0] = columns(line, 15, 22);
    fields.value[0] = columns(line, 25, 39);  // some writers need more than the 12 columns
    fields.key[1] = columns(line, 40, 47);
    fields.value[1] = columns(line, 50, 61);
    fields.numPairs = fields.key[1].empty() && fields.value[1].empty() ? 1 : 2;
    const bool coded = shape == LineShape::Row || shape == LineShape::Bound;
    if (coded == fields.code.empty())
        report.fail(coded ? "nothing in columns 2-3" : "text in columns 2-3");
    if (shape == LineShape::Row && !fields.key[0].empty()) report.fail("text after the row name");
    return fields;
}

}  // namespace

bool isValueless(std::string_view boundType) {
    return boundType == "FR" || boundType == "MI" || boundType == "PL" || boundType == "BV";
}

std::string_view takeWord(std::string_view& text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        text = {};
        return {};
    }
    std::size_t last = text.find_first_of(kBlanks, first);
    if (last == std::string_view::npos) last = text.size();
    const std::string_view word = text.substr(first, last - first);
    text.remove_prefix(last);
    return word;
}

Fields splitLine(std::string_view line, Layout layout, LineShape shape, const Reporter& report) {
    return layout == Layout::Free || shape == LineShape::Words ? splitFree(line, shape, report)
                                                               : splitFixed(line, shape, report);
}

}  // namespace ov::modelio
