// Replays what the fuzzer found worth keeping, so that a build without clang's fuzzer (and every
// sanitizer preset) walks the same paths of the reader.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/read_model_fuzzer.cpp"

namespace {

TEST(FuzzCorpus, EveryInputIsAModelOrAnErrorWithAReason) {
    const std::filesystem::path corpus =
        std::filesystem::path(OVRELIN_SOURCE_DIR) / "tests/fuzz/corpus";
    int numInput = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
        if (!entry.is_regular_file()) continue;
        SCOPED_TRACE(entry.path().string());
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()),
            0);  // aborts the program where a promise of the reader is broken
        ++numInput;
    }
    EXPECT_GE(numInput, 100);
}

}  // namespace
