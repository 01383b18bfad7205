// The public problem sets: sizes as published, and every array in order.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "modelio/read_model.hpp"

namespace ov::modelio {
namespace {

namespace fs = std::filesystem;

struct Sizes {
    std::int32_t columns, rows;
    std::int64_t nonzeros;
};

std::map<std::string, Sizes> publishedSizes(const fs::path& folder) {
    std::map<std::string, Sizes> sizes;
    for (const char* name : {"optima.tsv", "status.tsv"}) {
        std::ifstream in(folder / name);
        std::string line;
        std::getline(in, line);
        while (std::getline(in, line)) {
            std::istringstream words(line);
            std::string problem;
            Sizes s{};
            if (words >> problem >> s.columns >> s.rows >> s.nonzeros) sizes[problem] = s;
        }
    }
    return sizes;
}

void expectInOrder(std::int32_t numCol, const std::vector<std::int32_t>& begin,
                   const std::vector<std::int32_t>& index, bool strictLower) {
    ASSERT_EQ(begin.size(), static_cast<std::size_t>(numCol) + 1);
    ASSERT_EQ(static_cast<std::size_t>(begin.back()), index.size());
    for (std::int32_t j = 0; j < numCol; ++j) {
        std::int32_t last = strictLower ? j : -1;
        for (auto k = begin[static_cast<std::size_t>(j)];
             k < begin[static_cast<std::size_t>(j) + 1]; ++k) {
            ASSERT_GT(index[static_cast<std::size_t>(k)], last) << "column " << j;
            last = index[static_cast<std::size_t>(k)];
        }
    }
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
            const ModelData m = readModel(file.path().string());
            expectInOrder(m.numCol, m.colBegin, m.rowIndex, false);
            expectInOrder(m.numCol, m.quadColBegin, m.quadRowIndex, true);
            EXPECT_TRUE(m.warnings.empty()) << m.warnings.front().text;
            const auto known = sizes.find(file.path().stem().stem().string());
            if (known == sizes.end()) continue;
            EXPECT_EQ(m.numCol, known->second.columns);
            EXPECT_EQ(m.numRow, known->second.rows);
            EXPECT_EQ(static_cast<std::int64_t>(m.matValue.size()), known->second.nonzeros);
            ++compared;
        }
    }
    EXPECT_GT(compared, 0);
}

}  // namespace
}  // namespace ov::modelio
