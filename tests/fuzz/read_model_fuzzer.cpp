// Any bytes are a model or a ReadError with a reason; a model that is read keeps its promises.
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "modelio/read_model.hpp"

namespace {

using ov::modelio::ModelData;
using Ints = std::vector<std::int32_t>;
using Reals = std::vector<double>;

void require(bool holds) {
    if (!holds) throw std::logic_error("the reader breaks a promise");
}

void requireFinite(const Reals& values) {
    for (const double v : values) require(std::isfinite(v));
}

void requireColumns(std::size_t numCol, std::size_t numRow, const Ints& begin, const Ints& index,
                    const Reals& value, bool strictLower) {
    require(begin.size() == numCol + 1 && begin.front() == 0);
    require(index.size() == value.size());
    require(static_cast<std::size_t>(begin.back()) == index.size());
    for (std::size_t j = 0; j < numCol; ++j) {
        require(begin[j] <= begin[j + 1]);
        std::int32_t last = strictLower ? static_cast<std::int32_t>(j) : -1;
        for (auto k = static_cast<std::size_t>(begin[j]);
             k < static_cast<std::size_t>(begin[j + 1]); ++k) {
            require(index[k] > last && index[k] < static_cast<std::int32_t>(numRow));
            last = index[k];
        }
    }
    requireFinite(value);
}

void requireModel(const ModelData& m) {
    const auto numRow = static_cast<std::size_t>(m.numRow);
    const auto numCol = static_cast<std::size_t>(m.numCol);
    require(numCol > 0 && (m.objSense == 1 || m.objSense == -1));
    requireColumns(numCol, numRow, m.colBegin, m.rowIndex, m.matValue, false);
    requireColumns(numCol, numCol, m.quadColBegin, m.quadRowIndex, m.quadMatValue, true);
    for (const Reals* reals : {&m.obj, &m.quadDiag, &m.lower, &m.upper}) {
        require(reals->size() == numCol);
        requireFinite(*reals);
    }
    for (const Reals* reals : {&m.rhs, &m.range}) {
        require(reals->size() == numRow);
        requireFinite(*reals);
    }
    require(m.rowName.size() == numRow && m.colName.size() == numCol);
    require(m.rowSense.size() == numRow && std::isfinite(m.objConstant));
    for (std::size_t i = 0; i < numRow; ++i) {
        require(std::string_view("EGLRN").find(m.rowSense[i]) != std::string_view::npos);
        require(m.rowSense[i] == 'R' ? m.range[i] > 0 : m.range[i] == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        requireModel(ov::modelio::readModelText(text, "m"));
    } catch (const ov::modelio::ReadError& error) {
        require(error.line() > 0 && !error.reason().empty());
    }
    return 0;
}
