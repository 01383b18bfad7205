// RHS, RANGES and BOUNDS: the vectors of a model. Of several sets in a section the first one
// counts.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "modelio/fields.hpp"
#include "modelio/matrix_sections.hpp"
#include "modelio/model_data.hpp"
#include "modelio/read_error.hpp"

namespace ov::modelio {

/// Tells the lines of a section's first set from those of later ones, with one warning.
class FirstSet {
public:
    [[nodiscard]] bool accepts(std::string_view set, Reporter& report);

private:
    std::string_view first_;
    bool chosen_ = false;
    bool warned_ = false;
};

/// RHS and RANGES, which only make sense together: the sign of a range and the sense of its row say
/// which side it adds.
class RowVectors {
public:
    RowVectors(Reporter& report, const RowsSection& rows) : report_(report), rows_(rows) {}

    void addRhs(const Fields& fields);
    void addRange(const Fields& fields);
    /// Applies right-hand sides and ranges to the rows of `model`.
    void store(ModelData& model);

private:
    struct Entry {
        std::int32_t row;
        double value;
        std::int64_t line;
    };

    void setRhs(std::string_view rowName, std::string_view text);
    void setRange(std::string_view rowName, std::string_view text);
    void applyRhs(ModelData& model, const Entry& entry);
    void applyRange(ModelData& model, const Entry& entry);
    void mark(std::vector<char>& seen, std::int32_t row, std::string_view rowName,
              std::string_view what);

    Reporter& report_;
    const RowsSection& rows_;
    FirstSet rhsSet_, rangeSet_;
    std::vector<Entry> rhs_, range_;
    std::vector<char> rhsSeen_, rangeSeen_;
};

class BoundsSection {
public:
    BoundsSection(Reporter& report, const ColumnsSection& columns)
        : report_(report), columns_(columns) {}

    void addLine(Fields fields);
    void store(ModelData& model);

private:
    void init();
    void setLower(std::int32_t col, double value, std::string_view type);
    void setUpper(std::int32_t col, double value, std::string_view type);
    void apply(std::int32_t col, std::string_view type, double value);

    Reporter& report_;
    const ColumnsSection& columns_;
    FirstSet set_;
    std::vector<double> lower_, upper_;
    std::vector<unsigned char> given_;  // one bit for each bound type that a column has had
    struct NegativeUpper {
        std::int32_t col;
        std::int64_t line;
    };
    std::vector<NegativeUpper> negativeUpper_;
    std::int64_t firstIntegerLine_ = 0;
    std::int32_t numInteger_ = 0;
};

}  // namespace ov::modelio
