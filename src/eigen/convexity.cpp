#include "eigen/convexity.hpp"

#include <algorithm>

#include "eigen/definiteness.hpp"
#include "eigen/full_quadratic.hpp"
#include "eigen/sparse_eigen.hpp"
#include "frame/log.hpp"
#include "sparse/kkt_solver.hpp"
#include "sparse/ldl_try.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t solverLimit = -1;  // leaves the limit of products to the solver

/// What is known of the smallest eigenvalue.
struct Evidence {
    double smallest;  // an upper bound, and the eigenvalue when converged
    bool converged;
    bool belowThreshold;
};

/// A search that ended at its limit has a usable value.
Status eigenStatus(int code) {
    return code == ldl::eigenLimit ? Status::ok : statusOfLdl(code);
}

int callSolver(SparseLdl* handle, const FullQuadratic& full, double* vector, const Model& model,
               const EigenParameters& parameters, std::int32_t maxProducts, double& smallest) {
    LDL_TRY(sparseLdlSetChar(handle, ldl::optEigenEnd, 'S'));
    LDL_TRY(sparseLdlSetInt(handle, ldl::optEigenCount, 1));
    LDL_TRY(sparseLdlSetInt(handle, ldl::optEigenMaxIter, maxProducts));
    EigenParameters limited = parameters;
    if (maxProducts != solverLimit) limited.innerLimit = 0;  // no inner solve may outrun the limit
    double residual = 0;
    return sparseLdlEigen(full.n, full.colBegin.data(), full.rowIndex.data(), full.matValue.data(),
                          handle, nullptr, &smallest, vector, &residual, limited,
                          {model.checkSolverBreak, model.hostmodelDataStruct});
}

/// The lowest eigenvalue of `full`, or the best value that maxProducts products find.
Status search(MemoryPool* pool, const FullQuadratic& full, const Model& model,
              const EigenParameters& parameters, std::int32_t maxProducts, Evidence& evidence) {
    PoolArray<double> vector;
    OV_TRY(vector.make(pool, static_cast<std::size_t>(full.n)));
    int code = ldl::ok;
    SparseLdl* handle = sparseLdlCreate(pool, 0, &code);
    if (handle == nullptr) return eigenStatus(code);
    code =
        callSolver(handle, full, vector.data(), model, parameters, maxProducts, evidence.smallest);
    sparseLdlFree(&handle);
    evidence.converged = code == ldl::ok;
    evidence.belowThreshold = evidence.smallest < parameters.convexityThreshold;
    return eigenStatus(code);
}

double smallestDiagonal(const Model& model) {
    double smallest = infinityBound;
    for (int32_t j = 0; j < model.numCol; ++j) smallest = std::min(smallest, model.quadDiag[j]);
    return smallest;
}

/// For a term that a factorisation has not cleared. Where rounding cannot explain the signs of D
/// the eigenvalue is only to be named, and the term is refused whether the search converges or not;
/// elsewhere the search has the solver's own limit and its value counts, converged or not.
Status searchSmallest(MemoryPool* pool, const Model& model, const EigenParameters& parameters,
                      Evidence& evidence) {
    FullQuadratic full;
    OV_TRY(makeFullQuadratic(pool, model, full));
    const double norm = matrixOneNorm(full.n, full.colBegin.data(), full.matValue.data());
    const bool signsCount = parameters.tolerance * norm < -parameters.convexityThreshold;
    OV_TRY(search(pool, full, model, parameters, signsCount ? parameters.namingSearch : solverLimit,
                  evidence));
    if (signsCount && !evidence.converged) evidence.belowThreshold = true;
    return Status::ok;
}

/// The products that an eigenvalue takes grow without bound as it comes close to the threshold; one
/// factorisation clears a convex term at a price that the solve pays in each of its iterations.
Status examineFull(MemoryPool* pool, const Model& model, const SolveOptions& options,
                   Evidence& evidence) {
    const EigenParameters& parameters = options.parameters.eigen;
    bool above = false;
    OV_TRY(quadraticLiesAbove(pool, model, options, parameters.convexityThreshold, above));
    return above ? Status::ok : searchSmallest(pool, model, parameters, evidence);
}

/// In the words of the problem as it was given: a maximisation is solved with Q negated.
void tellEigenvalue(const SolverInstance* instance, const Model& model, const Evidence& evidence,
                    double threshold) {
    const bool maximised = model.objSense == -1;
    const char* end = maximised ? "Largest" : "Smallest";
    const char* relation = "";
    if (!evidence.converged) relation = maximised ? "at least " : "at most ";
    const double bound = std::min(evidence.smallest, threshold);
    logText(instance, "%2z%s eigenvalue of the quadratic term: %s%.6g", end, relation,
            maximised ? -bound : bound);
}

}  // namespace

Status checkConvexity(SolverInstance* instance, const Model& model, const SolveOptions& options) {
    const EigenParameters& parameters = options.parameters.eigen;
    if (model.typeModel != modelTypeQp || !parameters.testConvexity) return Status::ok;
    const double threshold = parameters.convexityThreshold;
    Evidence evidence{};
    if (model.numQuadCoef == 0) {
        evidence.smallest = smallestDiagonal(model);
        evidence.converged = true;
        evidence.belowThreshold = evidence.smallest < threshold;
    } else {
        OV_TRY(examineFull(instance->pool, model, options, evidence));
    }
    if (!evidence.belowThreshold) return Status::ok;
    if (options.printLevel > 0) tellEigenvalue(instance, model, evidence, threshold);
    return Status::notConvex;
}

}  // namespace ovrelin
