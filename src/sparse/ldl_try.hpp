// The way in which a routine passes on what another one returned.
#pragma once

#include "sparse/sparse_ldl.hpp"

// Leaves the function with the code of `expression` unless that is ok.
#define LDL_TRY(expression)                           \
    do {                                              \
        const int ldlTryCode = (expression);          \
        if (ldlTryCode != ldl::ok) return ldlTryCode; \
    } while (false)
