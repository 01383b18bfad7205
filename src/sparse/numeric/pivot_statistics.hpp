// Signs and sizes of the pivots of a finished factorisation.
#pragma once

#include "sparse/sparse_ldl.hpp"

namespace ovrelin {

/// Fills numPositivePivots, numNegativePivots (eigenvalues of D; zero counts as negative) and
/// pivotRatio, smallest over largest absolute pivot, of `handle`.
void countPivots(LdlSymbolic& symbolic, SparseLdl& handle);

}  // namespace ovrelin
