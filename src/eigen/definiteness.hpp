// Whether the quadratic term has an eigenvalue below a given number, read off the signs of D in a
// factorisation (Sylvester's law of inertia). The products that the eigenvalue iteration needs grow
// with the square root of norm / distance; this costs no more than one factorisation of the Newton
// system, of which Q is a block.
#pragma once

#include "frame/pool.hpp"
#include "frame/solver_records.hpp"
#include "frame/status.hpp"

namespace ovrelin {

/// above := Q - shift I = L D L' with a positive definite D and no pivot replaced, or, where a
/// dense factorisation is quicker, with positive pivots only and no interchange. Up to the first
/// negative pivot both are backward stable, so that the answer holds for a matrix within rounding
/// of Q. Returns ok, outOfMemory, interrupted or failed.
Status quadraticLiesAbove(MemoryPool* pool, const Model& model, const SolveOptions& options,
                          double shift, bool& above);

}  // namespace ovrelin
