#include "support/sparse_patterns.hpp"

#include <set>

namespace ovtest {
namespace {

std::int32_t drawInt(std::mt19937& random, std::int32_t low, std::int32_t high) {
    return std::uniform_int_distribution<std::int32_t>(low, high)(random);
}

/// The entries (i, j), i >= j, that `present` takes.
template <class Present>
TestPattern patternWhere(std::string name, std::int32_t n, Present present) {
    std::vector<Edge> edges;
    for (std::int32_t i = 0; i < n; ++i)
        for (std::int32_t j = 0; j <= i; ++j)
            if (present(i, j)) edges.emplace_back(i, j);
    return patternFromEdges(std::move(name) + ' ' + std::to_string(n), n, edges);
}

}  // namespace

TestPattern patternFromEdges(std::string name, std::int32_t n, const std::vector<Edge>& edges) {
    Array<std::set<std::int32_t>> columns(n);
    for (const auto& [i, j] : edges) {
        columns[i].insert(j);
        columns[j].insert(i);
    }
    TestPattern pattern{std::move(name), n, {0}, {}};
    for (const auto& column : columns) {
        pattern.rowIndex.insert(pattern.rowIndex.end(), column.begin(), column.end());
        pattern.colBegin.push_back(static_cast<std::int32_t>(pattern.rowIndex.size()));
    }
    return pattern;
}

TestPattern diagonalPattern(std::int32_t n) {
    return patternWhere("diagonal", n, [](auto i, auto j) { return i == j; });
}

TestPattern densePattern(std::int32_t n) {
    return patternWhere("dense", n, [](auto, auto) { return true; });
}

TestPattern tridiagonalPattern(std::int32_t n) {
    return patternWhere("tridiagonal", n, [](auto i, auto j) { return i == j + 1 || i == 0; });
}

TestPattern arrowPattern(std::int32_t n) {
    return patternWhere("arrow", n, [](auto i, auto j) { return i == j || j == 0; });
}

TestPattern cliquePairPattern(std::int32_t first, std::int32_t shared, std::int32_t second) {
    const std::int32_t own = first - shared, n = own + second;
    return patternWhere("clique pair", n,
                        [&](auto i, auto j) { return i >= n - shared || (i < own) == (j < own); });
}

TestPattern gridPattern(std::int32_t width, std::int32_t height) {
    return cubePattern(width, height, 1);
}

TestPattern cubePattern(std::int32_t width, std::int32_t height, std::int32_t depth) {
    const std::int32_t n = width * height * depth;
    std::vector<Edge> edges;
    for (std::int32_t v = 0; v < n; ++v) {
        edges.emplace_back(v, v);
        if (v % width > 0) edges.emplace_back(v, v - 1);
        if (v / width % height > 0) edges.emplace_back(v, v - width);
        if (v >= width * height) edges.emplace_back(v, v - width * height);
    }
    return patternFromEdges("grid " + std::to_string(n), n, edges);
}

TestPattern starOfCliquesPattern(std::int32_t count, std::int32_t size, std::int32_t hub) {
    const std::int32_t hubBegin = count * size;
    return patternWhere("star of cliques", hubBegin + hub, [&](auto i, auto j) {
        if (i < hubBegin || j >= hubBegin) return j >= hubBegin || i / size == j / size;
        return i - hubBegin >= j / size % hub && (i - hubBegin - j / size % hub) % 3 == 0;
    });
}

TestPattern bushesOnHubPattern(std::int32_t count, std::int32_t twigs, std::int32_t hub) {
    constexpr std::int32_t stem = 5;
    const std::int32_t size = twigs + stem, hubBegin = count * size;
    return patternWhere("bushes on a hub", hubBegin + hub, [&](auto i, auto j) {
        if (j >= hubBegin) return true;
        const std::int32_t bush = j / size, part = j % size;
        if (i < hubBegin)
            return i == j || (i / size == bush && i % size >= twigs && part != i % size - 1);
        // Each bush has a window of its own, a twig every fourth vertex of a part of it.
        const std::int32_t window = hub * 2 / 3, place = (i - hubBegin + bush * hub / count) % hub;
        return place < window && part < twigs && (place + part) % 4 == 0;
    });
}

TestPattern randomTree(std::mt19937& random, std::int32_t n) {
    const Indices name = shuffled(random, n);
    std::vector<Edge> edges;
    for (std::int32_t i = 1; i < n; ++i)
        edges.emplace_back(name[i], name[drawInt(random, 0, i - 1)]);
    return patternFromEdges("tree", n, edges);
}

TestPattern randomPattern(std::mt19937& random, std::int32_t maxOrder) {
    const std::int32_t n = drawInt(random, 0, maxOrder);
    if (n == 0) return patternFromEdges("empty", 0, {});
    const std::int32_t numParts = drawInt(random, 1, 3), numEdges = drawInt(random, 0, 4 * n);
    const std::int32_t diagonalHalves = drawInt(random, 0, 2);
    std::vector<Edge> edges;
    for (std::int32_t k = 0; k < numEdges; ++k) {
        const Edge edge{drawInt(random, 0, n - 1), drawInt(random, 0, n - 1)};
        if (edge.first % numParts == edge.second % numParts) edges.push_back(edge);
    }
    for (std::int32_t i = 0; i < n; ++i)
        if (drawInt(random, 0, 1) < diagonalHalves) edges.emplace_back(i, i);
    const std::int32_t numFull = std::max(0, drawInt(random, -7, 2));
    for (std::int32_t k = 0; k < numFull; ++k) {
        const std::int32_t full = drawInt(random, 0, n - 1);
        for (std::int32_t i = 0; i < n; ++i) edges.emplace_back(full, i);
    }
    TestPattern pattern = patternFromEdges("random " + std::to_string(n), n, edges);
    for (std::int32_t j = 0; j < n; ++j)
        std::shuffle(pattern.rowIndex.begin() + pattern.colBegin[j],
                     pattern.rowIndex.begin() + pattern.colBegin[j + 1], random);
    return pattern;
}

TestPattern randomGraph(std::mt19937& random, std::int32_t n, int perVertex) {
    std::vector<Edge> edges;
    for (std::int32_t v = 0; v < n; ++v)
        for (int k = 0; k < perVertex; ++k) {
            const std::int32_t u = drawInt(random, 0, k == 0 ? n / 50 : n - 1);
            if (u != v) edges.emplace_back(v, u);
        }
    return patternFromEdges("graph " + std::to_string(n), n, edges);
}

}  // namespace ovtest
