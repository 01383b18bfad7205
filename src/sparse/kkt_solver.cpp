// The wrappers through which the rest of the module calls the sparse solver: handles mirrored in
// the instance, times added up, return codes turned into statuses.
#include "sparse/kkt_solver.hpp"

#include <utility>

namespace ovrelin {

namespace {

/// Adds the seconds between its construction and its end to the clock's account.
class ClockedStage {
public:
    explicit ClockedStage(KktClock clock) : clock_(clock) {
        if (clock_.timer != nullptr) begin_ = elapsed(clock_.timer);
    }
    ClockedStage(const ClockedStage&) = delete;
    ClockedStage& operator=(const ClockedStage&) = delete;
    ~ClockedStage() {
        if (clock_.timer != nullptr && clock_.seconds != nullptr)
            *clock_.seconds += elapsed(clock_.timer) - begin_;
    }

private:
    KktClock clock_;
    double begin_ = 0;
};

/// The instance keeps what is live, so that destroying it in mid-solve finds everything.
void mirrorHandles(const KktSlots& slots) {
    if (slots.instance == nullptr) return;
    slots.instance->sparseSolver = slots.sparseSolver;
    slots.instance->sparseFactor = slots.sparseFactor;
    slots.instance->sparseSymbolic = slots.sparseSymbolic;
}

/// A size estimate beyond 64 bits is one more way of not having the memory.
Status statusOfAnalysis(int code) {
    return code == ldl::tooLarge ? Status::outOfMemory : statusOfLdl(code);
}

/// The outcome of the refinement is no failure: the solution is the best one reached.
Status statusOfSolve(int code) {
    if (code == ldl::refined || code == ldl::notRefined) return Status::ok;
    const Status status = statusOfLdl(code);
    return status == Status::failed ? Status::solveFailed : status;
}

bool isComplete(const KktSlots& slots) {
    return slots.sparseSolver != nullptr && slots.sparseSymbolic != nullptr &&
           slots.sparseFactor != nullptr;
}

Status solveWith(KktSlots& slots, const KktMatrix& matrix, std::int32_t numCol,
                 std::int32_t numThreads, const SparseParameters& parameters, double* rhs,
                 const KktClock (&clock)[3]) {
    OV_TRY(kktSolverCreate(slots, slots.pool, numCol, numThreads, parameters));
    OV_TRY(kktAnalyze(slots, matrix, clock[0]));
    OV_TRY(kktFactor(slots, matrix, clock[1]));
    return kktSolve(slots, matrix, rhs, clock[2]);
}

}  // namespace

Status statusOfLdl(int code) {
    switch (code) {
        case ldl::ok:
            return Status::ok;
        case ldl::noMemory:
            return Status::outOfMemory;
        case ldl::stopped:
            return Status::interrupted;
        default:
            return Status::failed;
    }
}

Status kktSolverCreate(KktSlots& slots, MemoryPool* pool, std::int32_t numCol,
                       std::int32_t numThreads, const SparseParameters& parameters) {
    if (pool == nullptr) pool = slots.pool;
    if (pool == nullptr) return Status::failed;
    int code = ldl::ok;
    slots.sparseSolver = sparseLdlCreate(pool, 0, &code);
    mirrorHandles(slots);
    OV_TRY(statusOfLdl(code));
    slots.sparseSolver->parameters = parameters;
    slots.sparseSolver->refineTolerance = parameters.refineTolerance;
    const std::pair<int, std::int32_t> options[] = {{ldl::optOrderingMethod, -1},
                                                    {ldl::optFirstBlockSize, numCol},
                                                    {ldl::optNumThreads, numThreads}};
    for (const auto& [option, value] : options)
        if (sparseLdlSetInt(slots.sparseSolver, option, value) != ldl::ok) return Status::failed;
    return Status::ok;
}

Status kktAnalyze(KktSlots& slots, const KktMatrix& matrix, KktClock clock) {
    if (slots.sparseSolver == nullptr || slots.sparseSymbolic != nullptr ||
        slots.sparseFactor != nullptr)
        return Status::failed;
    const ClockedStage stage(clock);
    const int code =
        sparseLdlSymbolic(matrix.n, matrix.colBegin, matrix.rowIndex, matrix.value,
                          slots.sparseSolver, &slots.sparseSymbolic, &slots.sparseFactor);
    mirrorHandles(slots);
    return statusOfAnalysis(code);
}

Status kktFactor(KktSlots& slots, const KktMatrix& matrix, KktClock clock) {
    if (!isComplete(slots)) return Status::failed;
    const ClockedStage stage(clock);
    return statusOfLdl(sparseLdlNumeric(0, matrix.n, matrix.colBegin, matrix.rowIndex, matrix.value,
                                        slots.sparseSolver, slots.sparseSymbolic,
                                        slots.sparseFactor));
}

Status kktSolve(KktSlots& slots, const KktMatrix& matrix, double* rhs, KktClock clock) {
    if (!isComplete(slots)) return Status::failed;
    const ClockedStage stage(clock);
    return statusOfSolve(sparseLdlSolve(0, matrix.colBegin, matrix.rowIndex, matrix.value, rhs,
                                        slots.sparseSolver, slots.sparseSymbolic,
                                        slots.sparseFactor));
}

void kktFreeFactors(KktSlots& slots) {
    if (slots.sparseSolver == nullptr) return;
    if (slots.sparseSymbolic != nullptr || slots.sparseFactor != nullptr)
        sparseLdlFreeFactors(slots.sparseSolver, &slots.sparseSymbolic, &slots.sparseFactor);
    slots.sparseSymbolic = nullptr;
    slots.sparseFactor = nullptr;
    mirrorHandles(slots);
}

void kktSolverFree(KktSlots& slots) {
    if (slots.sparseSolver == nullptr) return;
    kktFreeFactors(slots);
    sparseLdlFree(&slots.sparseSolver);
    mirrorHandles(slots);
}

Status kktSolveOnce(SolverInstance* instance, MemoryPool* pool, const KktMatrix& matrix,
                    std::int32_t numCol, std::int32_t numThreads,
                    const SparseParameters& parameters, double* rhs, SolverTimer* timer,
                    double* analyzeSeconds, double* factorSeconds, double* solveSeconds) {
    if (pool == nullptr && instance != nullptr) pool = instance->pool;
    // Private handles stay out of the instance: a one-shot solve inside an iteration must not
    // disturb the factors that the instance keeps, and its own do not outlive this call.
    KktSlots own{nullptr, pool, nullptr, nullptr, nullptr};
    const KktClock clock[3] = {
        {timer, analyzeSeconds}, {timer, factorSeconds}, {timer, solveSeconds}};
    const Status status = solveWith(own, matrix, numCol, numThreads, parameters, rhs, clock);
    kktSolverFree(own);
    return status;
}

}  // namespace ovrelin
