// The quadratic term of a model as a full sparse matrix: the model keeps a triangle and a diagonal,
// the solvers of linear algebra take both triangles.
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "frame/solver_records.hpp"
#include "frame/status.hpp"

namespace ovrelin {

/// Both triangles by columns, rows ascending where those of the model's triangle are.
struct FullQuadratic {
    std::int32_t n;
    PoolArray<std::int32_t> colBegin;  // [n + 1]
    PoolArray<std::int32_t> rowIndex;
    PoolArray<double> matValue;
};

/// Q. Zero diagonal entries are left out. Returns ok or outOfMemory, also for more entries than
/// 32-bit indices can name.
Status makeFullQuadratic(MemoryPool* pool, const Model& model, FullQuadratic& full);

/// Q - shift I with every diagonal entry, zero or not: a pattern to factorise.
Status makeShiftedQuadratic(MemoryPool* pool, const Model& model, double shift,
                            FullQuadratic& full);

}  // namespace ovrelin
