// The correction equation of a Jacobi-Davidson step, solved inexactly: the next direction t of the
// search space solves
//
//   (I - x x') (A - sigma I) (I - x x') t = r,    t orthogonal to x,
//
// for the Ritz pair (theta, x) with residual r, so that x - t is closer to the eigenvector. The
// shift sigma is theta - ||r||, not theta: an eigenvalue lies within ||r|| of theta, and the
// equation draws x to the eigenvalue nearest to the shift. From theta itself that can be one above
// the lowest, with the lowest one purged from the search space before it has shown itself; from
// below it cannot. A short symmetric QMR iteration does it (Freund and Nachtigal 1994), and stops
// by what it would do for the eigenvalue rather than for the equation, as in Notay, "Combination of
// Jacobi-Davidson and conjugate gradients for the partial symmetric eigenproblem", 2002: running
// sums give the Rayleigh quotient and the residual of x - t at no extra product.
#pragma once

#include <cstdint>

#include "eigen/eigen_operator.hpp"
#include "frame/parameters/eigen_parameters.hpp"

namespace ovrelin {

struct CorrectionProblem {
    double theta;
    double sigma;         // the shift
    double rho;           // ||r||
    const double* x;      // [n] unit vector
    double linearTarget;  // ends the iteration on the residual of the equation
    double eigenTarget;   // ... on the estimated residual of the pair
    std::int64_t maxSteps;
};

struct CorrectionWork {
    double* g;  // [n] r on entry; overwritten
    double* p;  // [n]
    double* d;  // [n]
    double* q;  // [n]
};

/// t [n] := the correction. When the very first step breaks down, t is r: the step of a Lanczos
/// iteration, which costs no solve. Returns the estimated residual norm of x - t.
double solveCorrection(EigenOperator& matrix, const CorrectionProblem& problem,
                       const CorrectionWork& work, double* t, const EigenParameters& parameters);

}  // namespace ovrelin
