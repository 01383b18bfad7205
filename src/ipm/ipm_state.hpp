// The record of the running iteration: sizes, the model's arrays, the Newton system, the iterate,
// its directions, all measures and limits. One record lives for one ipmSolve.
//
// The problem, in its working form (minimisation, rows 'E' and 'G' only):
//
//   min c'x + 0.5 x'Qx   a_i'x = b_i ('E'),  a_i'x - s_i = b_i, s_i > 0 ('G'),
//                        x - t = l, t > 0 where l is finite,  x + v = u, v > 0 where u is finite
//
// with multipliers y (y_i > 0 on 'G' rows), z > 0 of t, w > 0 of v:
//
//   x solPrimal   t lowerSlack  z lowerDual   s ineqnSlack
//   y solDual     v upperSlack  w upperDual
#pragma once

#include <cstdint>

#include "frame/pool.hpp"
#include "frame/solver_records.hpp"
#include "frame/solver_timer.hpp"
#include "sparse/kkt_solver.hpp"

namespace ovrelin {

/// Bits of Ipm.varBndType. A lower bound carries one of the two lower bits; `bndFree` stands alone.
inline constexpr std::uint8_t bndFree = 1;
inline constexpr std::uint8_t bndUpper = 2;
inline constexpr std::uint8_t bndLowerNonzero = 4;
inline constexpr std::uint8_t bndLowerZero = 8;
inline constexpr std::uint8_t bndLower = bndLowerNonzero | bndLowerZero;

/// States of the loop.
inline constexpr int32_t iterNormal = 0;
inline constexpr int32_t iterStop = 1;          // stop after this pass
inline constexpr int32_t iterReset = 3;         // reset the system, from an optimal or feasible point
inline constexpr int32_t iterResetStalled = 4;  // reset because of a stall near the optimum
inline constexpr int32_t iterStart = 11;        // just started or restarted

struct Ipm {
    ~Ipm() { kktSolverFree(kkt); }

    int32_t modelType;
    int32_t numRow, numCol;
    int32_t numFreeVar;
    const double *obj, *lower, *upper, *rhs;  // the model's
    const char* rowSense;
    int32_t numCoef;
    const int32_t *colBegin, *colLength, *rowIndex;
    const double* matValue;
    int32_t numQuadCoef;
    const int32_t *quadColBegin, *quadColLength, *quadRowIndex;
    const double *quadMatValue, *quadDiag;
    double *solPrimal, *solDual;

    int32_t numDim;       // numRow + numCol
    int32_t numIpmCoef;   // numDim + 2 (numCoef + numQuadCoef)
    PoolArray<int32_t> kktColBegin;     // [numDim + 1]
    PoolArray<int32_t> kktRowIndex;     // [numIpmCoef]
    PoolArray<double> kktValue;         // [numIpmCoef]
    PoolArray<int32_t> ineqnDiagIndex;  // [numRow] position of row i's diagonal in kktValue
    PoolArray<int32_t> varBndDiagIndex; // [numCol] position of column j's diagonal
    PoolArray<double> vecRhs;        // [numDim] predictor right-hand side, then (dx, dy)
    PoolArray<double> vecCorrector;  // [numDim] corrector, then the overall direction
    PoolArray<double> vecWork;       // [numDim]
    int32_t numIneqn;
    PoolArray<int32_t> ineqnIndex;  // [numIneqn] the 'G' rows
    double* ineqnSlack;
    PoolArray<double> ineqnSlackDelta;  // [numRow]
    PoolArray<std::uint8_t> varBndType; // [numCol]
    int32_t numVarLowerBnd, numVarUpperBnd;
    double *lowerSlack, *upperSlack, *lowerDual, *upperDual;  // the solution's
    PoolArray<double> lowerSlackDelta, upperSlackDelta, lowerDualDelta, upperDualDelta;
    int32_t numComplement;  // complementary pairs: 'G' rows and finite bounds
    double mu, muAffine, sigma;
    double alphaPrimal, alphaDual;
    double minSlack;
    Status status;
    int32_t iterState;
    int32_t handoverStage, startMode, forceReset;
    int32_t stallCount, nearCount;
    double muStart;
    double prevMu, prevGap, prevPrimalInfeas, prevBoundInfeas, prevDualInfeas;
    double complBalance;
    int32_t resetCount;
    double stepDamping;
    double freeVarLimit;
    int32_t iterationLimit;
    SolverTimer* timer;
    double tolPrimal, tolDual, tolGap, tolComplementarity;
    double infinity;
    double ineqnDensity;
    double muFloor, slackFloor;
    double normA, normObj, normRhs, normLower, normUpper;
    int32_t iteration;
    double objValuePrimal, objValueDual;
    double dualityGap, primalInfeas, dualInfeas, boundInfeas, complementarity;
    SolverInstance* instance;
    Model* model;
    SolveOptions* options;
    IpmSolution* solution;
    int32_t printFrequency, printLevel, debugLevel, threadCount;
    int32_t (*checkSolverBreak)(void* data);
    void* hostmodelDataStruct;
    KktSlots kkt;
    double analyzeTime, factorTime, kktSolveTime;
    int32_t primalBlockIndex, dualBlockIndex;
    PoolArray<double> rowWorkF, colWorkF;  // [max(numRow, numCol)]
    PoolArray<int32_t> rowWorkI;
};

/// The complementary pairs of one side of the columns. A slack is sign * (x - bound), so that every
/// formula of a pair is written once for both sides.
struct BoundPairs {
    double sign;         // +1 lower, -1 upper
    std::uint8_t mask;   // of varBndType
    const double* bound;
    double *slack, *dual, *slackDelta, *dualDelta;
};

inline BoundPairs lowerPairs(Ipm& ipm) {
    return {1.0, bndLower, ipm.lower, ipm.lowerSlack, ipm.lowerDual, ipm.lowerSlackDelta.data(),
            ipm.lowerDualDelta.data()};
}
inline BoundPairs upperPairs(Ipm& ipm) {
    return {-1.0, bndUpper, ipm.upper, ipm.upperSlack, ipm.upperDual, ipm.upperSlackDelta.data(),
            ipm.upperDualDelta.data()};
}

/// Calls visit(pairs, j) for the upper and then the lower pair of each column that has one.
template <class Visit>
void forEachBoundPair(Ipm& ipm, Visit visit) {
    const BoundPairs up = upperPairs(ipm), low = lowerPairs(ipm);
    for (int32_t j = 0; j < ipm.numCol; ++j) {
        const std::uint8_t type = ipm.varBndType[j];
        if (type & bndUpper) visit(up, j);
        if (type & bndLower) visit(low, j);
    }
}

/// Calls visit(i) for each 'G' row, ascending: through the index list when 'G' rows are few, else by
/// scanning the senses.
template <class Visit>
void forEachInequality(const Ipm& ipm, Visit visit) {
    if (ipm.numRow * ipm.ineqnDensity >= ipm.numIneqn) {
        for (int32_t k = 0; k < ipm.numIneqn; ++k) visit(ipm.ineqnIndex[k]);
    } else {
        for (int32_t i = 0; i < ipm.numRow; ++i)
            if (ipm.rowSense[i] == OVRELIN_ROW_GREATER) visit(i);
    }
}

/// Makes the zero-filled record; leaves `out` empty and returns failed for a null model.
Status ipmCreate(PoolObject<Ipm>& out, SolverInstance* instance, Model* model, SolverTimer* timer,
                 int32_t startState);
void ipmBindOptions(Ipm& ipm, SolveOptions* options);
/// Resets what a fresh pass over a model needs.
void ipmSetConstants(Ipm& ipm, const SolveOptions& options, TransformRecord& transform);
/// Allocates the work arrays that are not there yet, and creates the sparse solver.
Status ipmAllocEnv(Ipm& ipm);
void ipmBindModel(Ipm& ipm, Model* model, IpmSolution* solution);
/// Bound types, counts and the norms of the data. One pass over rows and columns.
void ipmClassify(Ipm& ipm);
/// After every start or restart: zero diagonals, zero pairs that do not exist, minSlack.
void ipmCleanIterate(Ipm& ipm);
/// Makes the positive variables of a point positive again where another pass left them at zero.
void ipmFloorIterate(Ipm& ipm);
/// The matrix of the Newton system as the sparse solver takes it.
KktMatrix kktMatrix(const Ipm& ipm);

}  // namespace ovrelin
