// The C++ face of the engine: an embedded host, a solver, a problem and a result.
//
//     ov::Host host;
//     ov::Solver solver(host);
//     ov::Result result = solver.solve(problem);   // problem: ov::Problem
//
// Failures before the solve (a module that cannot be loaded, a malformed problem) are exceptions;
// every ending of a solve is a Result.
#pragma once

#include "host/host.hpp"
#include "host/problem.hpp"
#include "host/solver.hpp"
