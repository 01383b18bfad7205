// Small dense problems as the engine's C++ face takes them.
#pragma once

#include "host/ov.hpp"
#include "support/small_problem.hpp"

namespace ovtest {

/// keepZeros stores the zero elements of the rows too.
inline ov::Problem toProblem(const SmallProblem& small, bool keepZeros = false) {
    ov::Problem out;
    const auto n = static_cast<std::size_t>(small.numCol),
               m = static_cast<std::size_t>(small.numRow);
    out.objSense = small.sense;
    out.objConstant = small.constant;
    out.obj = small.c;
    out.lower = small.lower;
    out.upper = small.upper;
    out.quadDiag.resize(n);
    out.quad.begin.push_back(0);
    out.matrix.begin.push_back(0);
    for (std::size_t j = 0; j < n; ++j) {
        out.quadDiag[j] = small.q[j * n + j];
        for (std::size_t k = j + 1; k < n; ++k) {
            if (small.q[k * n + j] == 0) continue;
            out.quad.index.push_back(static_cast<std::int32_t>(k));
            out.quad.value.push_back(small.q[k * n + j]);
        }
        out.quad.begin.push_back(static_cast<std::int32_t>(out.quad.index.size()));
        for (std::size_t i = 0; i < m; ++i) {
            if (small.a[i * n + j] == 0 && !keepZeros) continue;
            out.matrix.index.push_back(static_cast<std::int32_t>(i));
            out.matrix.value.push_back(small.a[i * n + j]);
        }
        out.matrix.begin.push_back(static_cast<std::int32_t>(out.matrix.index.size()));
    }
    out.rowSense.assign(small.rowSense.begin(), small.rowSense.end());
    for (std::size_t i = 0; i < m; ++i) {
        const char sense = small.rowSense[i];
        out.rhs.push_back(sense == 'L'   ? small.rowUpper[i]
                          : sense == 'N' ? 0.0
                                         : small.rowLower[i]);
        out.range.push_back(sense == 'R' ? small.rowUpper[i] - small.rowLower[i] : 0.0);
    }
    return out;
}

/// The way back.
inline SmallProblem toSmall(const ov::Problem& p) {
    SmallProblem out;
    const std::size_t n = p.numCol(), m = p.numRow();
    out.sense = p.objSense;
    out.constant = p.objConstant;
    out.numCol = static_cast<int>(n);
    out.numRow = static_cast<int>(m);
    out.c = p.obj;
    out.lower = p.lower;
    out.upper = p.upper;
    out.q.resize(n * n);
    out.a.resize(m * n);
    const auto index = [](std::int32_t k) { return static_cast<std::size_t>(k); };
    for (std::size_t j = 0; j < n; ++j) {
        out.q[j * n + j] = p.quadDiag[j];
        for (auto k = index(p.quad.begin[j]); k < index(p.quad.begin[j + 1]); ++k) {
            const std::size_t i = index(p.quad.index[k]);
            out.q[i * n + j] = out.q[j * n + i] = p.quad.value[k];
        }
        for (auto k = index(p.matrix.begin[j]); k < index(p.matrix.begin[j + 1]); ++k)
            out.a[index(p.matrix.index[k]) * n + j] = p.matrix.value[k];
    }
    for (std::size_t i = 0; i < m; ++i) {
        const char sense = p.rowSense[i];
        out.rowSense += sense;
        out.rowLower.push_back(sense == 'L' || sense == 'N' ? -absent : p.rhs[i]);
        out.rowUpper.push_back(sense == 'G' || sense == 'N' ? absent : p.rhs[i] + p.range[i]);
    }
    return out;
}

}  // namespace ovtest
