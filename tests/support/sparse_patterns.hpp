// Symmetric patterns for tests of the sparse solver: hand-made shapes and seeded random ones.
#pragma once

#include <string>
#include <utility>

#include "support/array.hpp"

namespace ovtest {

/// Both triangles in compressed columns, as the sparse solver takes them.
struct TestPattern {
    std::string name;
    std::int32_t n = 0;
    Indices colBegin, rowIndex;

    /// visit(row, column) for every entry.
    template <class Visit>
    void forEach(Visit visit) const {
        for (std::int32_t j = 0; j < n; ++j)
            for (std::int32_t p = colBegin[j]; p < colBegin[j + 1]; ++p) visit(rowIndex[p], j);
    }
};

using Edge = std::pair<std::int32_t, std::int32_t>;

/// Each edge {i, j} once in either direction; equal ends give a diagonal entry.
TestPattern patternFromEdges(std::string name, std::int32_t n, const std::vector<Edge>& edges);

TestPattern diagonalPattern(std::int32_t n);
TestPattern densePattern(std::int32_t n);
/// Without a diagonal but for the first entry.
TestPattern tridiagonalPattern(std::int32_t n);
/// A full first row and column: the worst natural order of a matrix without inevitable fill.
TestPattern arrowPattern(std::int32_t n);
/// Two cliques that share vertices, the last ones: a wide front with rows below it, which are the
/// last ones of a wide front.
TestPattern cliquePairPattern(std::int32_t first, std::int32_t shared, std::int32_t second);
/// Stencils of five and seven points.
TestPattern gridPattern(std::int32_t width, std::int32_t height);
TestPattern cubePattern(std::int32_t width, std::int32_t height, std::int32_t depth);
/// Many small cliques that all hang on the same few vertices of a large one, each on every third.
TestPattern starOfCliquesPattern(std::int32_t count, std::int32_t size, std::int32_t hub);
/// Bushes of many twigs that hang on a large clique beside their stem, each on a part of it: what
/// the fronts of a bush send to the clique meets in the same rows.
TestPattern bushesOnHubPattern(std::int32_t count, std::int32_t twigs, std::int32_t hub);

/// Each vertex hangs on a random earlier one, then the names are shuffled.
TestPattern randomTree(std::mt19937& random, std::int32_t n);
/// Of order 0..maxOrder and random density; among them empty columns, missing diagonals, full rows,
/// separate parts, columns in no order.
TestPattern randomPattern(std::mt19937& random, std::int32_t maxOrder);
/// About `perVertex` random edges a vertex, among them a few vertices of high degree; no diagonal.
TestPattern randomGraph(std::mt19937& random, std::int32_t n, int perVertex);

}  // namespace ovtest
