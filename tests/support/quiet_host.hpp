// A host for tests: silent, modules from the build, and every leak a test failure.
#pragma once

#include <gtest/gtest.h>

#include "host/ov.hpp"

namespace ovtest {

inline ov::HostOptions quietHost() {
    ov::HostOptions options;
    options.moduleFolder = OVRELIN_BIN_DIR;
    options.out = nullptr;
    options.err = nullptr;
    options.leakHandler = [](const ov::LeakReport& leak) {
        ADD_FAILURE() << leak.poolName << " leaks " << leak.blocks << " blocks, " << leak.bytes
                      << " bytes";
    };
    return options;
}

}  // namespace ovtest
