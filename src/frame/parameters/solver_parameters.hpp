// All constants of the method in one record, handed down from SolveOptions to where they are read.
#pragma once

#include <cstdint>

#include "frame/parameters/eigen_parameters.hpp"
#include "frame/parameters/ipm_parameters.hpp"
#include "frame/parameters/presolve_parameters.hpp"
#include "frame/parameters/sparse_parameters.hpp"
#include "frame/parameters/start_parameters.hpp"

namespace ovrelin {

struct SolverParameters {
    /// Self-checks, by their levels: 1 structures, 3 values, 5 every iteration. For tests.
    std::int32_t debugLevel = 0;
    PresolveParameters presolve;
    IpmParameters ipm;
    StartParameters start;
    SparseParameters sparse;
    EigenParameters eigen;
};

}  // namespace ovrelin
