#include "modelio/mps_parser.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "modelio/matrix_sections.hpp"
#include "modelio/quad_section.hpp"
#include "modelio/read_error.hpp"
#include "modelio/vector_sections.hpp"

namespace ov::modelio {
namespace {

constexpr std::size_t kMaxLine = std::size_t{1} << 16;

enum class Section { None, Name, ObjSense, ObjName, Rows, Columns, Rhs, Ranges, Bounds, Quad, End };

struct SectionName {
    std::string_view word;
    Section section;
};

constexpr std::array kSections{
    SectionName{"NAME", Section::Name},       SectionName{"OBJSENSE", Section::ObjSense},
    SectionName{"OBJNAME", Section::ObjName}, SectionName{"ROWS", Section::Rows},
    SectionName{"COLUMNS", Section::Columns}, SectionName{"RHS", Section::Rhs},
    SectionName{"RANGES", Section::Ranges},   SectionName{"BOUNDS", Section::Bounds},
    SectionName{"QUADOBJ", Section::Quad},    SectionName{"QSECTION", Section::Quad},
    SectionName{"QMATRIX", Section::Quad},    SectionName{"ENDATA", Section::End}};

struct Unsupported {
    std::string_view word;
    std::string_view reason;
};

constexpr std::array kUnsupported{
    Unsupported{"QCMATRIX", "quadratic constraints are not supported"},
    Unsupported{"CSECTION", "cones are not supported"},
    Unsupported{"SOS", "special ordered sets are not supported"},
    Unsupported{"SOS1", "special ordered sets are not supported"},
    Unsupported{"SOS2", "special ordered sets are not supported"},
    Unsupported{"SETS", "special ordered sets are not supported"},
    Unsupported{"INDICATORS", "indicator constraints are not supported"},
    Unsupported{"GENCONS", "general constraints are not supported"},
    Unsupported{"PWLOBJ", "piecewise-linear objectives are not supported"},
    Unsupported{"LAZYCONS", "lazy constraints are not supported"},
    Unsupported{"USERCUTS", "user cuts are not supported"}};

bool oneOf(std::string_view word, std::initializer_list<std::string_view> words) {
    std::string upper(word.substr(0, 16));
    for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return std::find(words.begin(), words.end(), upper) != words.end();
}

class Parser {
public:
    Parser(std::string_view text, std::string_view file, Layout layout)
        : rest_(text), layout_(layout), report_(file) {
        if (rest_.starts_with("\xef\xbb\xbf")) rest_.remove_prefix(3);  // byte-order mark
    }

    ModelData run() {
        std::string_view line;
        while (section_ != Section::End && nextLine(line)) parseLine(line);
        finish();
        return std::move(model_);
    }

    [[nodiscard]] std::int64_t line() const { return report_.line; }

private:
    bool nextLine(std::string_view& line) {
        if (rest_.empty()) return false;
        ++report_.line;
        const void* const end = std::memchr(rest_.data(), '\n', rest_.size());
        const std::size_t length =
            end == nullptr ? rest_.size()
                           : static_cast<std::size_t>(static_cast<const char*>(end) - rest_.data());
        line = rest_.substr(0, length);
        rest_.remove_prefix(std::min(length + 1, rest_.size()));
        if (length > kMaxLine)
            report_.fail("the line is longer than " + std::to_string(kMaxLine) + " characters");
        if (line.ends_with('\r')) line.remove_suffix(1);
        return true;
    }

    void parseLine(std::string_view line) {
        if (line.empty() || line[0] == '*') return;
        const bool indented = line[0] == ' ' || line[0] == '\t';
        const std::size_t last = line.find_last_not_of(" \t");
        if (last == std::string_view::npos) return;
        for (const char c : line)
            if (static_cast<unsigned char>(c) < 0x20 && c != '\t')
                report_.fail("control character in the line");
        line = line.substr(0, last + 1);
        indented ? parseData(line) : parseHeader(line);
    }

    void parseHeader(std::string_view line) {
        std::string_view rest = line;
        const std::string_view word = takeWord(rest);
        if (section_ == Section::ObjSense && !senseKnown_ && setSense(word)) return;
        const auto* const known =
            std::find_if(kSections.begin(), kSections.end(),
                         [&](const SectionName& s) { return s.word == word; });
        if (known == kSections.end()) failOnUnknown(word);
        enter(known->section, word);
        takeArgument(word, rest);
    }

    [[noreturn]] void failOnUnknown(std::string_view word) const {
        for (const Unsupported& u : kUnsupported)
            if (u.word == word)
                report_.fail("section " + std::string(word) + ": " + std::string(u.reason));
        report_.fail("unknown section " + quoted(word));
    }

    // ROWS, COLUMNS and the rest need the names of those before; each section comes once.
    void enter(Section next, std::string_view word) {
        bool& seen = seen_[static_cast<std::size_t>(next)];
        if (seen) report_.fail("section " + std::string(word) + " comes twice");
        seen = true;
        leaveSection();
        if (next >= Section::Columns && next < Section::End) requireBefore(Section::Rows, word);
        if (next > Section::Columns && next < Section::End) requireBefore(Section::Columns, word);
        if ((next == Section::ObjName || next == Section::Rows) && rowsSettled_)
            report_.fail("section " + std::string(word) + " must come before COLUMNS");
        if (next == Section::Columns) settleRows();
        section_ = next;
    }

    void requireBefore(Section needed, std::string_view word) const {
        if (seen_[static_cast<std::size_t>(needed)]) return;
        const std::string missing = needed == Section::Rows ? "ROWS" : "COLUMNS";
        report_.fail(word == "ENDATA" ? "the model has no section " + missing
                                      : "section " + std::string(word) + " before " + missing);
    }

    void leaveSection() {
        if (section_ == Section::ObjSense && !senseKnown_)
            report_.fail("OBJSENSE without MAX or MIN");
        if (section_ == Section::ObjName && !objNameKnown_) report_.fail("OBJNAME without a name");
        if (section_ == Section::Columns) columns_.settle();
    }

    void settleRows() {
        rows_.settle();
        rowsSettled_ = true;
    }

    // Words that follow the section's name on its line.
    void takeArgument(std::string_view word, std::string_view rest) {
        const std::string_view argument = takeWord(rest);
        if (section_ == Section::Name) {
            model_.name = argument;
        } else if (section_ == Section::Quad) {
            startQuad(word, argument);
        } else if (section_ == Section::ObjSense && !argument.empty()) {
            parseSense(argument);
        } else if (section_ == Section::ObjName && !argument.empty()) {
            parseObjName(argument);
        } else if (!argument.empty() && section_ != Section::End) {
            report_.fail("unexpected " + quoted(argument) + " after " + std::string(word));
        }
    }

    void startQuad(std::string_view word, std::string_view argument) {
        quad_.setBothTriangles(word == "QMATRIX");
        if (!argument.empty() && argument != rows_.objectiveName()) {
            (void)rows_.require(argument);
            report_.fail("section " + std::string(word) + " of row " + quoted(argument) +
                         ": quadratic constraints are not supported");
        }
    }

    bool setSense(std::string_view word) {
        const bool maximise = oneOf(word, {"MAX", "MAXIMIZE", "MAXIMISE"});
        if (!maximise && !oneOf(word, {"MIN", "MINIMIZE", "MINIMISE"})) return false;
        model_.objSense = maximise ? -1 : 1;
        senseKnown_ = true;
        return true;
    }

    void parseSense(std::string_view word) {
        if (senseKnown_) report_.fail("OBJSENSE is given twice");
        if (!setSense(word)) report_.fail("expected MAX or MIN, found " + quoted(word));
    }

    void parseObjName(std::string_view word) {
        if (objNameKnown_) report_.fail("OBJNAME is given twice");
        rows_.nameObjective(word);
        objNameKnown_ = true;
    }

    Fields split(std::string_view line, LineShape shape) const {
        return splitLine(line, layout_, shape, report_);
    }

    void parseData(std::string_view line) {
        switch (section_) {
            case Section::ObjSense:
                return parseSense(split(line, LineShape::Words).name);
            case Section::ObjName:
                return parseObjName(split(line, LineShape::Words).name);
            case Section::Rows:
                return rows_.addLine(split(line, LineShape::Row));
            case Section::Columns:
                return columns_.addLine(split(line, LineShape::Matrix));
            case Section::Rhs:
                return vectors_.addRhs(split(line, LineShape::Vector));
            case Section::Ranges:
                return vectors_.addRange(split(line, LineShape::Vector));
            case Section::Bounds:
                return bounds_.addLine(split(line, LineShape::Bound));
            case Section::Quad:
                return quad_.addLine(split(line, LineShape::Matrix));
            case Section::None:
            case Section::Name:
            case Section::End:
                break;
        }
        report_.fail("a data line outside of any section");
    }

    void finish() {
        if (section_ != Section::End) {
            const bool isEmpty = report_.line == 0;
            if (isEmpty) report_.line = 1;
            report_.fail(isEmpty ? "the file is empty" : "the file ends without ENDATA");
        }
        requireBefore(Section::Rows, "ENDATA");
        requireBefore(Section::Columns, "ENDATA");
        if (columns_.numCol() == 0) report_.fail("the model has no columns");
        rows_.store(model_);
        columns_.store(model_);
        vectors_.store(model_);
        bounds_.store(model_);
        quad_.store(model_);
        model_.warnings = report_.takeWarnings();
    }

    std::string_view rest_;
    Layout layout_;
    Reporter report_;
    ModelData model_;
    RowsSection rows_{report_};
    ColumnsSection columns_{report_, rows_};
    RowVectors vectors_{report_, rows_};
    BoundsSection bounds_{report_, columns_};
    QuadSection quad_{report_, columns_};
    Section section_ = Section::None;
    std::array<bool, static_cast<std::size_t>(Section::End) + 1> seen_{};
    bool rowsSettled_ = false;
    bool senseKnown_ = false;
    bool objNameKnown_ = false;
};

}  // namespace

ModelData parseMps(std::string_view text, std::string_view file, Layout layout,
                   std::int64_t& lastLine) {
    Parser parser(text, file, layout);
    try {
        return parser.run();
    } catch (...) {
        lastLine = parser.line();
        throw;
    }
}

}  // namespace ov::modelio
