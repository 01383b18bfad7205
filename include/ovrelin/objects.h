/* The objects that modules hand out: the factory, the solver instance, and the siblings' instances.
 * The host reaches operations by their place in the record, so the order of fields is fixed.
 */
#ifndef OVRELIN_OBJECTS_H
#define OVRELIN_OBJECTS_H

#include <stdint.h>

#include "ovrelin/host.h"
#include "ovrelin/layout.h"
#include "ovrelin/problem.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct SolverInstance SolverInstance;
typedef struct ScalingInstance ScalingInstance;
typedef struct PerfObject PerfObject;
typedef struct MessageSink MessageSink;

/* printf-style text log. Formats may begin with %1z, %2z, %3z or %7h, and contain %m. */
typedef void (*LogSink)(const char* format, ...);

/* Receiver of numbered messages: (object, level, id, arguments of the id...). */
struct MessageSink {
    void (*send)(MessageSink* sink, int32_t level, uint32_t id, ...);
};

struct ExtensionFactory {
    char tag[4]; /* "nevo" */
    uint64_t hostWord;
    /* Third word. Filled by the host on load; releases what loadExtension delivered. */
    int32_t (*releaseFactory)(ExtensionFactory* factory);
    int32_t (*getInterfaceVersion)(ExtensionFactory* factory, uint64_t* major, uint64_t* minor,
                                   uint64_t* patch);
    int32_t (*getExtensionVersion)(ExtensionFactory* factory, uint64_t* major, uint64_t* minor,
                                   uint64_t* patch);
    uint64_t unset5;
    int32_t (*terminate)(ExtensionFactory* factory);
    uint64_t unset7[2];
    MemoryPool* factoryPool;
    void* (*createInstance)(void);
};

struct SolverInstance {
    MemoryPool* pool;
    LogSink logSink;          /* set by the host; may be null */
    MessageSink* messageSink; /* set by the host; may be null */
    void (*destroy)(SolverInstance* instance);
    ExtensionFactory* presolverExtension;
    ScalingInstance* presolverInstance;
    int32_t (*solveWithOptions)(SolverInstance* instance, ProblemInput* problem,
                                const InstanceOptions* options);
    int32_t (*solve)(SolverInstance* instance, ProblemInput* problem);
    int32_t (*solveSingleConstraintQp)(SingleConstraintRequest* request);
    int32_t (*matrixStatistics)(SolverInstance* instance, ProblemInput* problem);
    InstanceOptions defaultOptions;
    void* sparseSolver; /* owned by the module */
    void* sparseFactor;
    void* sparseSymbolic;
};

/* Computes row and column factors and applies them: matrix, obj and rhs (and range) are multiplied
 * in place, lower and upper divided by the column factors. On entry both factor arrays hold 1.0 in
 * all entries; on return rowScale[numRow] is the multiplier of the objective.
 * direction: +1 for a linear program, otherwise -1; quadratic terms are not handed over, so that
 * with -1 columns and objective keep the factor 1. Arrays: colBegin [numCol + 1]; colLength, obj,
 * lower, upper [numCol]; rhs, rowSense, range [numRow]; rowScale [numRow + 1];
 * colScale [numCol + 1]. Returns 0 or a status. */
typedef int32_t (*ComputeScaling)(ScalingInstance* instance, int32_t direction, double primalTol,
                                  int32_t numRow, int32_t numCol, int32_t numCoef,
                                  const int32_t* colBegin, const int32_t* colLength,
                                  const int32_t* rowIndex, double* matValue, double* obj,
                                  double* lower, double* upper, double* rowScale, double* colScale,
                                  void* null0, void* null1, double* rhs, const char* rowSense,
                                  double* range, void* null2, void* null3, void* null4,
                                  void* null5);

/* Takes the model and its solution back to the original scale; the exact inverse of the above.
 * `one` is the constant 1. solPrimal [numCol], solDual and rowActivity [numRow] may be null. */
typedef int32_t (*ApplyScaling)(int32_t one, int32_t numRow, int32_t numCol,
                                const int32_t* colBegin, const int32_t* colLength,
                                const int32_t* rowIndex, double* matValue, double* rhs,
                                double* range, double* obj, double* lower, double* upper,
                                void* null0, void* null1, const double* rowScale,
                                const double* colScale, double* solPrimal, double* solDual,
                                void* null2, double* rowActivity);

/* What the extension `ovelppre` hands out. */
struct ScalingInstance {
    MemoryPool* pool;
    LogSink logSink;
    MessageSink* messageSink;
    void (*destroy)(ScalingInstance* instance);
    uint64_t unset4[20];
    ComputeScaling computeScaling; /* entry 24 */
    ApplyScaling applyScaling;     /* entry 25 */
};

/* One CPU time sample; the part that `difference` reads lies behind the first word. */
typedef struct PerfCpuPart {
    uint64_t seconds;
    uint64_t microseconds;
} PerfCpuPart;

typedef struct PerfSample {
    uint64_t kind;
    PerfCpuPart cpu;
} PerfSample;

typedef struct PerfInterval {
    uint64_t seconds;
    uint64_t microseconds;
} PerfInterval;

/* What the extension `ovperf` hands out: the CPU time of the process. */
struct PerfObject {
    MemoryPool* pool;
    uint64_t unset1;
    void (*destroyPerf)(PerfObject* object, void* timerBlock); /* entry 2 */
    uint64_t unset3[11];
    int32_t (*sample)(PerfObject* object, PerfSample* out, uint64_t zero0, uint64_t zero1);
    int32_t (*difference)(PerfObject* object, const PerfCpuPart* later, const PerfCpuPart* earlier,
                          PerfInterval* out); /* entry 15 */
};

/* Number of words in the version record that ovvercn1 fills. */
#define OVRELIN_VERSION_WORDS 26

OVRELIN_ASSERT_LAYOUT(ExtensionFactory, 88, createInstance, 80);
OVRELIN_ASSERT_LAYOUT(SolverInstance, 184, sparseSymbolic, 176);
OVRELIN_ASSERT_LAYOUT(ScalingInstance, 208, applyScaling, 200);
OVRELIN_ASSERT_LAYOUT(PerfObject, 128, difference, 120);

#ifdef __cplusplus
}
#endif

#endif
