/* The records that a caller fills: a problem, its options, and the small separable problem.
 *
 *   minimise (maximise)  c'x + 0.5 x'Qx + objConstant
 *   subject to           row constraints on Ax by rowSense and rhs,  lower <= x <= upper
 *
 * Matrices are held by columns: column j has its entries at colBegin[j] .. colBegin[j+1]-1.
 * Q is its diagonal (dense) plus the strict lower triangle by columns: an entry q at (k, j), k > j,
 * stands for both (k, j) and (j, k), so that it adds q x_j x_k to the objective; a diagonal entry d
 * adds 0.5 d x_j^2. All arrays belong to the caller.
 */
#ifndef OVRELIN_PROBLEM_H
#define OVRELIN_PROBLEM_H

#include <stdint.h>

#include "ovrelin/layout.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A bound at or beyond this magnitude counts as absent. */
#define OVRELIN_INFINITY_BOUND 1e20
/* An input number of greater magnitude makes the solve operations refuse the problem. */
#define OVRELIN_HUGE_INPUT 1.3407807929943e151
/* The largest finite double: default time limit, and the value of a relaxed bound. */
#define OVRELIN_MAX_DOUBLE 1.7976931348623157e308

/* Row senses. An 'R' row means rhs <= a'x <= rhs + range, with range >= 0. */
#define OVRELIN_ROW_EQUAL 'E'
#define OVRELIN_ROW_GREATER 'G'
#define OVRELIN_ROW_LESS 'L'
#define OVRELIN_ROW_RANGE 'R'
#define OVRELIN_ROW_FREE 'N'

/* Filled by matrixStatistics. Means, minima and maxima are over absolute values. */
typedef struct ProblemStatistics {
    int32_t statNumCol, statNumRow, statNumCoef;
    double matMax, matMin, matMean;
    int32_t statNumQuadCoef, numDiagNonzero;
    double quadMax, quadMin, quadMean; /* over the full Q: both triangles and the diagonal */
    int32_t numObjNonzero;
    double objMax, objMin, objMean; /* over nonzero objective entries */
    int32_t numRhsNonzero;
    double rhsMax, rhsMin, rhsMean; /* over nonzero right-hand sides */
    int32_t colLengthMax, colLengthMin;
    double colLengthMean; /* truncated integer quotient */
    int32_t rowLengthMax, rowLengthMin;
    double rowLengthMean; /* truncated integer quotient */
} ProblemStatistics;

typedef struct ProblemInput {
    int32_t objSense; /* 1 minimise, -1 maximise */
    int32_t numRow;
    uint64_t unread0;
    int32_t numCol;
    int32_t numCoef;
    int32_t numQuadCoef; /* off-diagonal entries of Q in the stored triangle */
    double* matValue;
    int32_t* rowIndex;
    int32_t* colBegin; /* numCol + 1, or null for a model without elements */
    double* quadDiag;  /* numCol */
    double* quadMatValue;
    int32_t* quadRowIndex;
    int32_t* quadColBegin; /* numCol + 1 */
    double* obj;           /* numCol */
    double* rhs;           /* numRow */
    double* range;         /* numRow, or null */
    double* lower;         /* numCol */
    double* upper;         /* numCol */
    char* rowSense;        /* numRow */
    uint64_t unread1[2];
    double* solPrimal;   /* result, numCol */
    double* solDual;     /* result, numRow */
    double* rowActivity; /* result, numRow */
    double objConstant;
    uint64_t unread2;
    double objValue; /* results from here on */
    double dualityGap;
    double primalInfeas;
    double dualInfeas;
    double boundInfeas;
    double complementarity;
    int32_t iterations;
    double preTime;   /* always 0 */
    double solveTime; /* seconds from the timer's start to the end of the solve */
    uint64_t unread3;
    int32_t (*checkSolverBreak)(void* data); /* polled; non-zero interrupts; may be null */
    void* hostmodelDataStruct;               /* passed to checkSolverBreak */
    ProblemStatistics statistics;
} ProblemInput;

typedef struct InstanceOptions {
    double optimalityTol; /* relative duality gap and complementarity */
    double primalTol;     /* primal and bound infeasibility */
    double dualTol;
    int32_t iterationLimit;
    double unreadInfinity[2];
    int32_t printFrequency; /* 0 or less: no iteration log */
    int32_t presolver;      /* -1 automatic, 0 off; 1, 2, 3 are mapped to automatic */
    double timeLimit;       /* seconds */
    int32_t realTime;       /* 0: timeLimit in CPU time, 1: in wall-clock time */
    int32_t threadCount;
    int32_t threadMode; /* 2 adds a warning when more than one thread is used */
    int32_t unreadLast;
} InstanceOptions;

/* boundType bits of SingleConstraintRequest. */
#define OVRELIN_BOUND_LOWER 1
#define OVRELIN_BOUND_UPPER 2

/* minimise sum(0.5 q_i x_i^2 + c_i x_i)  subject to  sum x_i = b,  l_i <= x_i <= u_i.
 * All arrays have numVar entries; the work arrays are the caller's too. */
typedef struct SingleConstraintRequest {
    int32_t maxIterations;
    double infinityValue;
    double primalTol;
    double dualTol;
    double gapTol;
    int32_t numVar;
    double* quadDiag;
    double* linear;
    double* lower;
    double* upper;
    double rhs;
    uint8_t* boundType;
    double* solution;
    uint64_t unread;
    int32_t iterations; /* results */
    double primalResidual;
    double dualResidual;
    double gap;
    double objective;
    double* lowerSlack; /* work */
    double* upperSlack;
    double* lowerDual;
    double* upperDual;
    double* step;
    double* invDiag;
} SingleConstraintRequest;

OVRELIN_ASSERT_LAYOUT(ProblemStatistics, 168, rowLengthMean, 160);
OVRELIN_ASSERT_LAYOUT(ProblemInput, 456, statistics, 288);
OVRELIN_ASSERT_LAYOUT(InstanceOptions, 80, unreadLast, 76);
OVRELIN_ASSERT_LAYOUT(SingleConstraintRequest, 200, invDiag, 192);

#ifdef __cplusplus
}
#endif

#endif
