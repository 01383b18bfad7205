// QUADOBJ, QSECTION and QMATRIX: the matrix Q of 0.5 x'Qx.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "modelio/fields.hpp"
#include "modelio/matrix_sections.hpp"
#include "modelio/model_data.hpp"
#include "modelio/read_error.hpp"

namespace ov::modelio {

/// QUADOBJ and QSECTION hold each pair once, in whichever triangle; QMATRIX holds both halves,
/// which must agree. Either way the strict lower triangle comes out.
class QuadSection {
public:
    QuadSection(Reporter& report, const ColumnsSection& columns)
        : report_(report), columns_(columns) {}

    void setBothTriangles(bool both) { both_ = both; }
    void addLine(const Fields& fields);
    void store(ModelData& model);

private:
    struct Entry {
        std::int32_t row, col;  // row > col
        bool mirrored;          // given above the diagonal
        double value;
        std::int64_t line;
    };

    void addEntry(std::int32_t first, std::string_view secondName, std::string_view text);
    void sortEntries();
    void checkTriangle() const;
    void checkMirror() const;
    [[noreturn]] void failAtEntry(const Entry& entry, std::string_view what) const;

    Reporter& report_;
    const ColumnsSection& columns_;
    bool both_ = false;
    std::vector<double> diag_;
    std::vector<char> diagSeen_;
    std::vector<Entry> entries_;
};

}  // namespace ov::modelio
