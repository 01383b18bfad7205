// What the reader promises of a model, on what the fuzzer found worth keeping (so that a build
// without clang's fuzzer, and every sanitizer preset, walks the same paths of the reader), and on
// the public problem sets, whose sizes are those published.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "fuzz/read_model_fuzzer.cpp"

namespace {

namespace fs = std::filesystem;

TEST(FuzzCorpus, EveryInputIsAModelOrAnErrorWithAReason) {
    int numInput = 0;
    for (const auto& entry :
         fs::recursive_directory_iterator(OVRELIN_SOURCE_DIR "/tests/fuzz/corpus")) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        EXPECT_NO_THROW(LLVMFuzzerTestOneInput(bytes, text.size())) << entry.path();
        ++numInput;
    }
    EXPECT_GE(numInput, 100);
}

/// Columns, rows and nonzeros by the problem's name.
std::map<std::string, std::vector<std::size_t>> publishedSizes(const fs::path& folder) {
    std::map<std::string, std::vector<std::size_t>> sizes;
    for (const char* name : {"optima.tsv", "status.tsv"}) {
        std::ifstream in(folder / name);
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line);
            std::string problem;
            std::vector<std::size_t> s(3);
            if (words >> problem >> s[0] >> s[1] >> s[2]) sizes[problem] = s;
        }
    }
    return sizes;
}

TEST(Problems, AreReadWithTheirPublishedSizes) {
    const fs::path root = OVRELIN_PROBLEMS_DIR;
    if (!fs::is_directory(root)) GTEST_SKIP() << "no problem sets in " << root;
    int compared = 0;
    for (const auto& folder : fs::directory_iterator(root)) {
        if (!folder.is_directory()) continue;
        const auto sizes = publishedSizes(folder.path());
        for (const auto& file : fs::directory_iterator(folder)) {
            if (file.path().extension() != ".gz") continue;
            SCOPED_TRACE(file.path().string());
            const ModelData m = ov::modelio::readModel(file.path().string());
            EXPECT_NO_THROW(requireModel(m));
            EXPECT_TRUE(m.warnings.empty()) << m.warnings.front().text;
            const auto known = sizes.find(file.path().stem().stem().string());
            if (known == sizes.end()) continue;
            EXPECT_EQ((std::vector{m.colName.size(), m.rowName.size(), m.matValue.size()}),
                      known->second);
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
