// The conditions of optimality of a solution file against its model, checked from the text alone.
#pragma once

#include <string>

#include "modelio/model_data.hpp"

namespace ov::test {

/// Fails the running test where the file is not in its form, or the point is not feasible, the
/// duals have the wrong sign or act where a side is slack, the reduced costs are not
/// c + Qx - A'y, or the objective is not that of the point: each within `tol`, relative to the
/// numbers that meet there.
void expectOptimal(const modelio::ModelData& model, const std::string& text, double tol);

}  // namespace ov::test
