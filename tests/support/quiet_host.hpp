// A host for tests: silent, modules from the build, and every leak a test failure.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

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

/// Keeps what such a host says: the lines, and the ids of the messages among them.
struct Listener {
    std::vector<std::uint32_t> ids;
    std::vector<std::string> lines;

    ov::HostOptions options() {
        ov::HostOptions out = quietHost();
        out.output = [this](const ov::Line& line) {
            if (line.messageId != 0) ids.push_back(line.messageId);
            lines.emplace_back(line.text);
        };
        return out;
    }
    [[nodiscard]] std::ptrdiff_t count(std::uint32_t id) const {
        return std::count(ids.begin(), ids.end(), id);
    }
};

}  // namespace ovtest
