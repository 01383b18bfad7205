// The engines on tiles behind one door. Both share the layout, the subtrees, the kernels and the
// work on a tile; they differ in who takes which tile:
//
//   static   every tile has its owner beforehand, and its updates come in one order: the same input
//            gives the same bits, however the threads run
//   dynamic  whoever is free takes the most urgent task that is ready
#pragma once

#include "sparse/numeric/tiles/team.hpp"

namespace ovrelin {

/// Phases of a factorisation, for runPhase: gathering the matrix values of the top, then one of the
/// engines.
[[nodiscard]] int gatherMember(Member& member);
[[nodiscard]] int staticMember(Member& member);
[[nodiscard]] int dynamicMember(Member& member);

/// The dynamic engine's records at the beginning of a factorisation.
void resetProgress(LdlSymbolic& symbolic, TileTeam& team);

/// One bottom subtree from beginning to end; its tiles are final afterwards.
[[nodiscard]] int factorSubtree(Member& member, const LeafItem& item);

/// The whole factorisation of the matrix whose pattern is in place. ok, noMemory, mismatch
/// or stopped.
[[nodiscard]] int factorOnTiles(LdlSymbolic& symbolic, LdlNumeric& numeric, const double* matValue,
                                const PivotRule& rule, std::int32_t* numPerturbed);

}  // namespace ovrelin
