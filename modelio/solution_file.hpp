// The solution file: a point with its duals as text, names as in the model, full precision.
#pragma once

#include <cstdio>
#include <string_view>
#include <vector>

#include "modelio/model_data.hpp"

namespace ov::modelio {

/// What a solve left behind, by reference. `value` and `reducedCost` are [numCol], `activity` and
/// `dual` [numRow].
struct SolutionView {
    std::string_view status;
    double objective = 0.0;
    const std::vector<double>& value;
    const std::vector<double>& reducedCost;
    const std::vector<double>& activity;
    const std::vector<double>& dual;
};

/// Writes
///
///     # ovsolve solution
///     status STATUS
///     objective OBJECTIVE
///     columns N
///     NAME VALUE REDUCED_COST      N lines
///     rows M
///     NAME ACTIVITY DUAL           M lines
///
/// A name may hold blanks: the two numbers are the last two words of a line. False when the file
/// takes no more, with the reason in errno.
[[nodiscard]] bool writeSolution(std::FILE* file, const ModelData& model,
                                 const SolutionView& solution);

}  // namespace ov::modelio
