// The records that every subsystem works on: the model, the options of one solve, the working
// solution, and what the driver's preparation changed. Conventions as in ovrelin/problem.h; inside
// the iteration rows are 'E' and 'G' only and the objective is minimised.
#pragma once

#include <cstdint>

#include "frame/parameters/solver_parameters.hpp"
#include "frame/pool.hpp"
#include "ovrelin/objects.h"

namespace ovrelin {

using std::int32_t;

inline constexpr double infinityBound = OVRELIN_INFINITY_BOUND;
inline constexpr double hugeInput = OVRELIN_HUGE_INPUT;
inline constexpr double maxDouble = OVRELIN_MAX_DOUBLE;

inline constexpr int32_t modelTypeLp = 1;
inline constexpr int32_t modelTypeQp = 2;

/// bits of Model.relaxColBound
inline constexpr std::uint8_t relaxLower = 1;
inline constexpr std::uint8_t relaxUpper = 2;

/// The working view of a problem. Plain pointers: whoever makes a Model owns its arrays.
struct Model {
    int32_t typeModel;  // modelTypeLp or modelTypeQp
    int32_t numRow, numCol, numCoef;
    int32_t* colBegin;   // [numCol + 1]
    int32_t* colLength;  // [numCol]
    int32_t* rowIndex;   // [numCoef]
    double* matValue;    // [numCoef]
    int32_t numQuadCoef;
    double* quadDiag;        // [numCol]
    int32_t* quadColBegin;   // [numCol + 1], strict lower triangle by columns
    int32_t* quadColLength;  // [numCol]
    int32_t* quadRowIndex;   // [numQuadCoef]
    double* quadMatValue;    // [numQuadCoef]
    int32_t objSense;
    double objConstant;
    double objValue;  // result
    double* obj;
    char* rowSense;
    double* rhs;
    double* range;
    double* lower;
    double* upper;
    std::uint8_t* relaxColBound;  // [numCol] relax bits, or null
    double* solPrimal;            // results
    double* solDual;
    double* reducedCost;
    double* rowActivity;
    Status status;
    double solveTime;
    double stageTime;
    int32_t iterations;
    double primalInfeas, dualInfeas, boundInfeas, dualityGap, complementarity;
    int32_t (*checkSolverBreak)(void* data);
    void* hostmodelDataStruct;
};

struct SolveOptions {
    int32_t presolver;
    int32_t debugLevel;  // above 0: self-checks and trace lines
    int32_t realTime;
    double primalTol, dualTol, optimalityTol;
    double infinity;
    int32_t iterationLimit;
    double timeLimit;
    int32_t printFrequency;
    int32_t printLevel;  // 0 silent, 1 final messages only, 2 with the iteration log
    int32_t handoverStage;
    int32_t startMode;
    int32_t threadCount, threadMode;
    int32_t forceReset;
    SolverParameters parameters;
};

/// The working solution. Inside the iteration lowerSlack, upperSlack, lowerDual, upperDual,
/// ineqnSlack and, on 'G' rows, solDual are positive; the driver flips upperDual at the end, so that
/// on output lowerDual + upperDual is the reduced cost.
struct IpmSolution {
    double* solPrimal;  // [numCol], the model's own
    double* solDual;    // [numRow], the model's own
    PoolArray<double> lowerSlack, upperSlack, lowerDual, upperDual;  // [numCol + range columns]
    PoolArray<double> ineqnSlack;                                    // [numRow]
};

/// The last direction, kept for the hand-over stage.
struct DirectionRecord {
    double alphaPrimal, alphaDual;
    PoolArray<double> solPrimalDelta, solDualDelta;
    PoolArray<double> lowerSlackDelta, upperSlackDelta, lowerDualDelta, upperDualDelta;
    PoolArray<double> ineqnSlackDelta;
};

/// What the driver's preparation steps have changed in a Model, for the way back.
struct TransformRecord {
    int32_t numRow, numCol, numCoef, numQuadCoef;                // on entry of the driver
    int32_t origNumRow, origNumCol, origNumCoef, origNumQuad;    // before range columns
    int32_t numRange;
    int32_t rangeCoefBase, rangeColBase;
    PoolArray<int32_t> rangeRowIndex;  // [numRange]
    int32_t numLcont;
    PoolArray<int32_t> lRowIndex;  // [numLcont]
    double objScale;
    PoolArray<double> rowScale, colScale;
    int32_t keepSwapped;  // 1 while lowerKeep, upperKeep hold the caller's bounds
    double* lowerKeep;    // null unless bounds were relaxed
    double* upperKeep;
    PoolArray<double> relaxedLower, relaxedUpper;  // the arrays that relaxing lends to the model
    int32_t perturbDone;
    int32_t numObjPerturb;
    PoolArray<int32_t> objPerturbIndex;
    PoolArray<double> objPerturbValue;
    int32_t numRhsPerturb;
    PoolArray<int32_t> rhsPerturbIndex;
    PoolArray<double> rhsPerturbValue;
    int32_t restartSubmodelDone;
    int32_t forceRecheck;
    PoolObject<DirectionRecord> direction;
};

}  // namespace ovrelin
