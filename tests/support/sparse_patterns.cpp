#include "support/sparse_patterns.hpp"

#include <algorithm>
#include <numeric>
#include <set>

namespace ovtest {
namespace {

std::int32_t drawInt(std::mt19937& random, std::int32_t low, std::int32_t high) {
    return std::uniform_int_distribution<std::int32_t>(low, high)(random);
}

bool drawBool(std::mt19937& random, double probability) {
    return std::bernoulli_distribution(probability)(random);
}

void shuffleColumns(std::mt19937& random, TestPattern& pattern) {
    for (std::size_t j = 0; j + 1 < pattern.colBegin.size(); ++j) {
        std::shuffle(pattern.rowIndex.begin() + pattern.colBegin[j],
                     pattern.rowIndex.begin() + pattern.colBegin[j + 1], random);
    }
}

}  // namespace

TestPattern patternFromEdges(std::string name, std::int32_t n, const std::vector<Edge>& edges) {
    std::vector<std::set<std::int32_t>> columns(static_cast<std::size_t>(n));
    for (const auto& [i, j] : edges) {
        columns[static_cast<std::size_t>(i)].insert(j);
        columns[static_cast<std::size_t>(j)].insert(i);
    }
    TestPattern pattern{std::move(name), n, {0}, {}};
    for (const auto& column : columns) {
        pattern.rowIndex.insert(pattern.rowIndex.end(), column.begin(), column.end());
        pattern.colBegin.push_back(static_cast<std::int32_t>(pattern.rowIndex.size()));
    }
    return pattern;
}

TestPattern diagonalPattern(std::int32_t n) {
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) edges.emplace_back(i, i);
    return patternFromEdges("diagonal " + std::to_string(n), n, edges);
}

TestPattern densePattern(std::int32_t n) {
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) {
        for (std::int32_t j = 0; j <= i; ++j) edges.emplace_back(i, j);
    }
    return patternFromEdges("dense " + std::to_string(n), n, edges);
}

TestPattern tridiagonalPattern(std::int32_t n) {
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) edges.emplace_back(i, std::max(i - 1, 0));
    return patternFromEdges("tridiagonal " + std::to_string(n), n, edges);
}

TestPattern arrowPattern(std::int32_t n) {
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i) {
        edges.emplace_back(i, i);
        edges.emplace_back(i, 0);
    }
    return patternFromEdges("arrow " + std::to_string(n), n, edges);
}

TestPattern gridPattern(std::int32_t width, std::int32_t height) {
    std::vector<Edge> edges;
    for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
            const std::int32_t i = y * width + x;
            edges.emplace_back(i, i);
            if (x > 0) edges.emplace_back(i, i - 1);
            if (y > 0) edges.emplace_back(i, i - width);
        }
    }
    return patternFromEdges("grid", width * height, edges);
}

TestPattern cliquePairPattern(std::int32_t first, std::int32_t shared, std::int32_t second) {
    const std::int32_t n = first + second - shared;
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i)
        for (std::int32_t j = i < first ? 0 : first - shared; j <= i; ++j) edges.emplace_back(i, j);
    return patternFromEdges("cliquePair", n, edges);
}

TestPattern starOfCliquesPattern(std::int32_t count, std::int32_t size, std::int32_t hub) {
    std::vector<Edge> edges;
    const std::int32_t hubBegin = count * size;
    for (std::int32_t c = 0; c < count; ++c)
        for (std::int32_t i = c * size; i < (c + 1) * size; ++i) {
            for (std::int32_t j = c * size; j <= i; ++j) edges.emplace_back(i, j);
            for (std::int32_t h = c % hub; h < hub; h += 3) edges.emplace_back(i, hubBegin + h);
        }
    for (std::int32_t i = hubBegin; i < hubBegin + hub; ++i)
        for (std::int32_t j = hubBegin; j <= i; ++j) edges.emplace_back(i, j);
    return patternFromEdges("starOfCliques", hubBegin + hub, edges);
}

TestPattern randomTree(std::mt19937& random, std::int32_t n) {
    std::vector<std::int32_t> name(static_cast<std::size_t>(n));
    std::iota(name.begin(), name.end(), 0);
    std::shuffle(name.begin(), name.end(), random);
    std::vector<Edge> edges;
    for (std::int32_t i = 1; i < n; ++i) {
        edges.emplace_back(name[static_cast<std::size_t>(i)],
                           name[static_cast<std::size_t>(drawInt(random, 0, i - 1))]);
    }
    return patternFromEdges("tree", n, edges);
}

TestPattern randomPattern(std::mt19937& random, std::int32_t maxOrder) {
    const std::int32_t n = drawInt(random, 0, maxOrder);
    if (n == 0) return patternFromEdges("empty", 0, {});
    const std::int32_t numParts = drawInt(random, 1, 3);
    const std::int32_t numEdges = drawInt(random, 0, 4 * n);
    const double diagonalShare = drawInt(random, 0, 2) / 2.0;
    std::vector<Edge> edges;
    for (std::int32_t k = 0; k < numEdges; ++k) {
        const std::int32_t i = drawInt(random, 0, n - 1);
        const std::int32_t j = drawInt(random, 0, n - 1);
        if (i % numParts == j % numParts) edges.emplace_back(i, j);
    }
    for (std::int32_t i = 0; i < n; ++i) {
        if (drawBool(random, diagonalShare)) edges.emplace_back(i, i);
    }
    const std::int32_t numFull = drawBool(random, 0.2) ? drawInt(random, 1, 2) : 0;
    for (std::int32_t k = 0; k < numFull; ++k) {
        const std::int32_t full = drawInt(random, 0, n - 1);
        for (std::int32_t i = 0; i < n; ++i) edges.emplace_back(full, i);
    }
    TestPattern pattern = patternFromEdges("random", n, edges);
    shuffleColumns(random, pattern);
    return pattern;
}

}  // namespace ovtest
