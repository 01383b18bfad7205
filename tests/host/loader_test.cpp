// Loading of modules: the siblings load and come back, and whatever is no module gives null and a
// reason that a user can act on.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/quiet_host.hpp"

namespace {

namespace fs = std::filesystem;

struct Loader : testing::Test {
    ovtest::Listener listener;
    ov::Host host{listener.options()};
};

TEST_F(Loader, WhatIsNoModuleGivesAReason) {
    const fs::path folder = fs::temp_directory_path() / ("ov_loader_" + std::to_string(::getpid()));
    fs::create_directories(folder);
    std::ofstream(folder / "garbage.so") << "not an ELF file";
    std::ofstream(folder / "empty.so");
    void* zlib = dlopen("libz.so.1", RTLD_NOW);
    ASSERT_NE(zlib, nullptr);
    Dl_info info{};
    ASSERT_NE(dladdr(dlsym(zlib, "zlibVersion"), &info), 0);
    fs::copy_file(info.dli_fname, folder / "library.so");
    fs::copy_file(fs::path(OVRELIN_BIN_DIR) / "ovperf.so", folder / "renamed.so");

    const struct {
        const char* name;
        std::vector<std::string> inReason;
    } cases[] = {
        {"absent", {"'absent' not found in", folder.string(), "system"}},
        {"garbage", {"cannot load", (folder / "garbage.so").string()}},
        {"empty", {"cannot load", (folder / "empty.so").string()}},
        {"library", {"library.so is not an extension module", "'ovextent'"}},
        {"renamed", {"renamed.so is not an extension module", "does not export 'renamed'"}},
        {"../ovperf", {"'../ovperf' is not a module name"}},
        {"", {"'' is not a module name"}},
    };
    ov::HostOptions options = listener.options();
    options.moduleFolder = folder.string();
    ov::Host empty(options);
    for (const auto& c : cases) {
        for (int twice = 0; twice < 2; ++twice) {
            listener.lines.clear();
            EXPECT_EQ(empty.load(c.name), nullptr);
            for (const std::string& part : c.inReason)
                EXPECT_NE(empty.loadError().find(part), std::string::npos) << empty.loadError();
            ASSERT_EQ(listener.lines.size(), 1u);
            EXPECT_NE(listener.lines[0].find(empty.loadError()), std::string::npos);
        }
        EXPECT_THROW(ov::Solver(empty, c.name), ov::LoadError);
    }
    fs::remove_all(folder);
}

TEST_F(Loader, ModulesAnswerByTheContract) {
    for (const wchar_t* name : {L"ovelppre", L"ovperf", L"ovrelin"}) {
        HostServices* services = host.services();
        ExtensionFactory* factory = services->loadExtension(services, name, std::wcslen(name), 0);
        ASSERT_NE(factory, nullptr) << host.loadError();
        EXPECT_EQ(std::memcmp(factory->tag, "nevo", 4), 0);
        std::uint64_t version[3] = {};
        EXPECT_EQ(factory->getInterfaceVersion(factory, version, version + 1, version + 2), 0);
        EXPECT_EQ(version[0] * 100 + version[1] * 10 + version[2], 411u);
        EXPECT_EQ(factory->getExtensionVersion(factory, version, version + 1, version + 2), 0);
        EXPECT_EQ(version[0] * 100 + version[1] * 10 + version[2], 100u);
        EXPECT_EQ(factory->terminate(nullptr), 0);
        EXPECT_EQ(factory->releaseFactory(factory), 0);
        EXPECT_EQ(host.memory().livePools, 0u);

        std::uint64_t record[OVRELIN_VERSION_WORDS];
        std::memset(record, 0xff, sizeof record);
        const std::wstring wide(name);
        const std::string narrow(wide.begin(), wide.end());
        host.versionRecord(narrow, record);
        const auto text = [&](int k) { return reinterpret_cast<const char*>(record[k]); };
        EXPECT_EQ(text(5), narrow);
        // the keyed fields are stamped in place by a later step: their width is part of the format
        for (const auto& [word, key] :
             {std::pair<int, std::string>{12, "VEL_VERSION_HOTFIX_NUMBER="},
              {14, "VERCON_IMAGE_DESCRIPTION="}})
            EXPECT_EQ(text(word), key + std::string(65 - key.size(), ' '));
        for (int k = 16; k < OVRELIN_VERSION_WORDS; ++k) EXPECT_EQ(record[k], 0u);
    }
    EXPECT_EQ(host.memory().leakedBlocks, 0u);
}

TEST_F(Loader, EveryRefusedAllocationGivesNullAndLeavesNothing) {
    for (const char* name : {"ovelppre", "ovperf"}) {
        for (std::uint64_t k = 1; k <= 4; ++k) {  // pool and record of the factory, of the instance
            host.failAllocation(k);
            ExtensionFactory* factory = host.load(name);
            EXPECT_EQ(factory == nullptr, k <= 2);
            if (factory == nullptr) continue;
            EXPECT_EQ(factory->createInstance(), nullptr);
            factory->releaseFactory(factory);
        }
        EXPECT_EQ(host.memory().livePools, 0u);
        EXPECT_EQ(host.memory().liveBlocks, 0u);
    }
}

TEST_F(Loader, ThreadsMayLoadAtOnce) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int k = 0; k < 100; ++k) {
                ExtensionFactory* factory = host.load(k % 2 == 0 ? "ovperf" : "ovelppre");
                ASSERT_NE(factory, nullptr);
                factory->releaseFactory(factory);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(host.memory().livePools, 0u);
    EXPECT_TRUE(listener.lines.empty());
}

}  // namespace
