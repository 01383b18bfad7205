// Instruction sets. The module is built for the plain machine; the loops that carry the floating
// point work are compiled several times and the loader picks the widest that the processor has.
// Sanitizers initialise after the loader has resolved such functions, so they get the plain
// version.
#pragma once

#if defined(__x86_64__) && defined(__ELF__) && defined(__OPTIMIZE__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(OVRELIN_NO_CLONES)
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define OVRELIN_NO_CLONES
#endif
#endif
#else
#define OVRELIN_NO_CLONES
#endif

#ifdef OVRELIN_NO_CLONES
#define OV_CLONES
#define OV_WIDE
#define OV_NARROW
#else
#define OV_CLONES __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
// For functions that differ from machine to machine.
#define OV_WIDE __attribute__((target("arch=x86-64-v4")))
#define OV_NARROW __attribute__((target("arch=x86-64-v3")))
#endif
