/* The binary interface is plain C: a host may be written in it. This file compiles it as C11, and
 * tells the C++ side what the records look like from here. */
#include <stddef.h>

#include "ovrelin/ovrelin.h"

size_t sizeSeenFromC(int record);

size_t sizeSeenFromC(int record) {
    switch (record) {
        case 0:
            return sizeof(HostServices);
        case 1:
            return sizeof(HostContext);
        case 2:
            return sizeof(SolverInstance);
        case 3:
            return sizeof(ProblemInput);
        case 4:
            return offsetof(ProblemInput, statistics);
        case 5:
            return offsetof(InstanceOptions, timeLimit);
        case 6:
            return offsetof(SingleConstraintRequest, iterations);
        default:
            return 0;
    }
}
