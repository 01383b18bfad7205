/* Compile-time check of a record's size and of the offset of its last field, in C11 and C++20.
 * The records are binary interface between separately built programs: a padding surprise must
 * stop the build, not the solve.
 */
#ifndef OVRELIN_LAYOUT_H
#define OVRELIN_LAYOUT_H

#include <stddef.h>

#ifdef __cplusplus
#define OVRELIN_STATIC_ASSERT(condition, text) static_assert(condition, text)
#else
#define OVRELIN_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

#define OVRELIN_ASSERT_LAYOUT(type, size, lastField, lastOffset)                     \
    OVRELIN_STATIC_ASSERT(sizeof(type) == (size), #type ": size changed");           \
    OVRELIN_STATIC_ASSERT(offsetof(type, lastField) == (lastOffset), #type ": layout changed")

#endif
