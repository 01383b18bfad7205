/* Return values of the operations, and the ids and levels of the numbered messages. */
#ifndef OVRELIN_CODES_H
#define OVRELIN_CODES_H

/* Return values of solve and solveWithOptions. */
enum {
    OVRELIN_OPTIMAL = 0,
    OVRELIN_OUT_OF_MEMORY = 1,
    OVRELIN_PRIMAL_INFEASIBLE = 2,
    OVRELIN_DUAL_INFEASIBLE = 3,
    OVRELIN_ITERATION_LIMIT = 5,
    OVRELIN_NOT_CONVEX = 6,
    OVRELIN_NOT_CONCAVE = 7,
    OVRELIN_FAILED = 8,
    OVRELIN_CONDITIONALLY_OPTIMAL = 9,
    OVRELIN_TIME_LIMIT = 10,
    OVRELIN_INFEASIBLE_OR_UNBOUNDED = 23,
    OVRELIN_INTERRUPTED = 99
};

/* Return values of solveSingleConstraintQp. */
enum {
    OVRELIN_SINGLE_SOLVED = 0,
    OVRELIN_SINGLE_INFEASIBLE = 1,
    OVRELIN_SINGLE_ITERATION_LIMIT = 4,
    OVRELIN_SINGLE_NOT_CONVEX = 5
};

/* Levels of the numbered messages. */
enum {
    OVRELIN_LEVEL_NOTE = 2,
    OVRELIN_LEVEL_WARNING = 3,
    OVRELIN_LEVEL_ERROR = 4,
    OVRELIN_LEVEL_HEADING = 100,
    OVRELIN_LEVEL_ITERATION = 101
};

/* Message ids, with their arguments. The texts live in the host's catalogue. */
#define OVRELIN_MSG_OPTIMAL 0x827fd001u
#define OVRELIN_MSG_OBJECTIVE 0x827fd002u /* double objective */
#define OVRELIN_MSG_OUT_OF_MEMORY 0x827fd006u
#define OVRELIN_MSG_DUAL_INFEASIBLE 0x827fd007u
#define OVRELIN_MSG_ITERATION_LIMIT 0x827fd008u
#define OVRELIN_MSG_CONDITIONALLY_OPTIMAL 0x827fd009u
#define OVRELIN_MSG_TIME_LIMIT_CPU 0x827fd00bu
#define OVRELIN_MSG_TIME_LIMIT_REAL 0x827fd00cu
#define OVRELIN_MSG_FAILED 0x827fd00du
#define OVRELIN_MSG_PRIMAL_INFEASIBLE 0x827fd00eu
#define OVRELIN_MSG_INFEASIBLE_OR_UNBOUNDED 0x827fd00fu
#define OVRELIN_MSG_INTERRUPTED 0x827fd011u
#define OVRELIN_MSG_OTHER_STATUS 0x827fd012u
#define OVRELIN_MSG_THREADS 0x827fd015u
#define OVRELIN_MSG_THREAD_COUNT 0x827fd815u /* int count */
#define OVRELIN_MSG_THREAD_MODE 0x827fd816u
#define OVRELIN_MSG_HEADING_FIRST 0x827fd802u
#define OVRELIN_MSG_HEADING_SECOND 0x827fd803u
/* int iteration; doubles complementarity, gap, primal, bound and dual infeasibility */
#define OVRELIN_MSG_ITERATION 0x827fd804u
#define OVRELIN_MSG_SOLVE_TIME 0x827fd806u /* double seconds */
#define OVRELIN_MSG_PRESOLVER_MISSING 0x827fd807u
#define OVRELIN_MSG_PRESOLVER_NO_INSTANCE 0x827fd808u
#define OVRELIN_MSG_HANDOVER_MISSING 0x827fd809u
#define OVRELIN_MSG_HANDOVER_NO_INSTANCE 0x827fd80au
#define OVRELIN_MSG_NOT_CONVEX 0x827fd866u
#define OVRELIN_MSG_NOT_CONCAVE 0x827fd867u
#define OVRELIN_MSG_CONVEXITY_ADVICE 0x827fd868u
#define OVRELIN_MSG_LP_PRIMAL_INFEASIBLE 0x827fda37u
/* The presolver's report: its setting, and what it removed. */
#define OVRELIN_MSG_PRESOLVE_869 0x827fd869u /* int setting: presolve is off */
#define OVRELIN_MSG_PRESOLVE_86A 0x827fd86au /* int setting: presolve is automatic */
#define OVRELIN_MSG_PRESOLVE_86E 0x827fd86eu /* int setting: unknown; level error */
#define OVRELIN_MSG_PRESOLVE_86F 0x827fd86fu /* int removed columns, int removed rows */
#define OVRELIN_MSG_PRESOLVE_870 0x827fd870u /* int removed matrix elements */
#define OVRELIN_MSG_PRESOLVE_9B4 0x827fd9b4u /* int columns, int rows, int elements that stay */
#define OVRELIN_MSG_PRESOLVE_864 0x827fd864u /* closes the report, with the next */
#define OVRELIN_MSG_PRESOLVE_805 0x827fd805u

#endif
