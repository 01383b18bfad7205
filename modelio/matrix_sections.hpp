// ROWS and COLUMNS: the names, the objective and the matrix A.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "modelio/fields.hpp"
#include "modelio/model_data.hpp"
#include "modelio/name_table.hpp"
#include "modelio/read_error.hpp"

namespace ov::modelio {

/// Rows of the file, the objective among them. The first 'N' row is the objective unless a name was
/// given; it is settled before the first column, and the other rows keep their order without it.
class RowsSection {
public:
    static constexpr std::int32_t kObjective = -1;
    static constexpr std::int32_t kUnknown = -2;

    explicit RowsSection(Reporter& report) : report_(report) {}

    void nameObjective(std::string_view name);
    void addLine(const Fields& fields);
    /// Chooses the objective. Fails when the named one is missing or not an 'N' row.
    void settle();

    /// Index of a row in the model, kObjective or kUnknown.
    [[nodiscard]] std::int32_t find(std::string_view name) const;
    /// The same, an unknown row being an error.
    [[nodiscard]] std::int32_t require(std::string_view name) const;
    [[nodiscard]] std::int32_t numRow() const { return names_.size() - (objective_ >= 0 ? 1 : 0); }
    [[nodiscard]] char sense(std::int32_t row) const { return sense_[fileIndex(row)]; }
    [[nodiscard]] std::string_view objectiveName() const;
    void store(ModelData& model) const;

private:
    [[nodiscard]] std::size_t fileIndex(std::int32_t row) const {
        return static_cast<std::size_t>(objective_ >= 0 && row >= objective_ ? row + 1 : row);
    }

    Reporter& report_;
    NameTable names_;
    std::vector<char> sense_;
    std::string wantedObjective_;
    std::int64_t wantedLine_ = 0;
    std::int32_t objective_ = -1;
};

/// Columns, each in one block of lines; entries are checked and sorted as a column ends.
class ColumnsSection {
public:
    ColumnsSection(Reporter& report, const RowsSection& rows) : report_(report), rows_(rows) {}

    void addLine(const Fields& fields);
    void settle();

    [[nodiscard]] std::int32_t find(std::string_view name) const { return names_.find(name); }
    [[nodiscard]] std::int32_t require(std::string_view name) const;
    [[nodiscard]] std::string_view name(std::int32_t col) const { return names_[col]; }
    [[nodiscard]] std::int32_t numCol() const { return names_.size(); }
    void store(ModelData& model);

private:
    void marker(const Fields& fields);
    void startColumn(std::string_view name);
    void endColumn();
    void addEntry(std::string_view rowName, std::string_view text);

    Reporter& report_;
    const RowsSection& rows_;
    NameTable names_;
    std::string_view current_;
    std::vector<double> obj_;
    std::vector<std::int32_t> colBegin_{0};
    std::vector<std::int32_t> rowIndex_;
    std::vector<double> matValue_;
    std::vector<std::int32_t> lastCol_;  // per row, objective last: the column seen last + 1
    std::vector<std::pair<std::int32_t, double>> scratch_;
    std::int64_t firstIntegerLine_ = 0;
    std::int32_t numInteger_ = 0;
    bool integer_ = false;
};

/// A number that must be finite.
[[nodiscard]] double finiteNumber(std::string_view text, const Reporter& report);

}  // namespace ov::modelio
