#include "sparse/order/matching/column_nodes.hpp"

#include <algorithm>
#include <cmath>

namespace ovrelin {
namespace {

constexpr std::int32_t single = -2;
constexpr std::int32_t unseen = -1;
// Stands for ln 0: far below the logarithm of any double.
constexpr double logOfZero = -1e6;

class CycleBreaker {
public:
    CycleBreaker(const MatchingProblem& problem, const Matching& matching, bool scaled,
                 std::int32_t* cycle, std::int32_t* mate)
        : problem_(problem), matching_(matching), scaled_(scaled), cycle_(cycle), mate_(mate) {}

    void run() {
        const std::int32_t n = problem_.pattern.n;
        std::fill_n(mate_, problem_.first, single);
        std::fill(mate_ + problem_.first, mate_ + n, unseen);
        for (std::int32_t j = problem_.first; j < n; ++j) {
            if (mate_[j] == unseen) breakCycle(collect(j));
        }
    }

private:
    std::int32_t collect(std::int32_t start) {
        std::int32_t length = 0;
        for (std::int32_t j = start; mate_[j] == unseen; j = matching_.rowOf[j]) {
            mate_[j] = single;
            cycle_[length++] = j;
        }
        return length;
    }

    // The two ways to break an even cycle are equally good: the entries of a symmetric matrix are
    // there in both directions, and with the better way's taken twice the matching would be larger.
    void breakCycle(std::int32_t length) {
        if (length == 1) return;
        const std::int32_t first = length % 2 == 0 ? 0 : bestSingle(length) + 1;
        for (std::int32_t k = 0; k + 1 < length; k += 2) {
            const std::int32_t a = cycle_[(first + k) % length];
            const std::int32_t b = cycle_[(first + k + 1) % length];
            mate_[a] = b;
            mate_[b] = a;
        }
    }

    // With column s single, the pairs are (s+1, s+2), (s+3, s+4), ...; going on to s + 2 exchanges
    // one of them. Steps of two visit all of an odd cycle.
    std::int32_t bestSingle(std::int32_t length) const {
        double pairs = 0.0;
        for (std::int32_t k = 1; k + 1 < length; k += 2) pairs += logMatched(k);
        std::int32_t best = 0;
        double bestSum = pairs + logDiagonal(0);
        for (std::int32_t step = 1, s = 0; step < length; ++step) {
            pairs += logMatched(s) - logMatched((s + 1) % length);
            s = (s + 2) % length;
            const double sum = pairs + logDiagonal(s);
            if (sum > bestSum) {
                bestSum = sum;
                best = s;
            }
        }
        return best;
    }

    // Of the entry that ties place k of the cycle to the next one.
    [[nodiscard]] double logMatched(std::int32_t k) const {
        const std::int32_t j = cycle_[k];
        return scaled_ ? 0.0 : logEntry(matching_.rowOf[j], j);
    }

    // Scaled, relative to the matched entry of the column, which is 1.
    [[nodiscard]] double logDiagonal(std::int32_t k) const {
        const std::int32_t j = cycle_[k];
        const std::int32_t row = matching_.rowOf[j];
        const double diagonal = logEntry(j, j);
        if (!scaled_) return diagonal;
        return diagonal + matching_.rowDual[j] - logEntry(row, j) - matching_.rowDual[row];
    }

    [[nodiscard]] double logEntry(std::int32_t i, std::int32_t j) const {
        const SparsePattern& a = problem_.pattern;
        double largest = 0.0;
        for (std::int32_t p = a.colBegin[j]; p < a.colBegin[j + 1]; ++p) {
            if (a.rowIndex[p] == i) largest = std::max(largest, std::fabs(problem_.matValue[p]));
        }
        return largest > 0.0 ? std::log(largest) : logOfZero;
    }

    const MatchingProblem& problem_;
    const Matching& matching_;
    bool scaled_;
    std::int32_t* cycle_;
    std::int32_t* mate_;
};

}  // namespace

void pairColumns(const MatchingProblem& problem, const Matching& matching, bool scaled,
                 ColumnNodes& nodes, std::int32_t* mate) {
    CycleBreaker(problem, matching, scaled, nodes.column, mate).run();
    std::int32_t length = 0;
    nodes.numNode = 0;
    for (std::int32_t j = 0; j < problem.pattern.n; ++j) {
        if (mate[j] >= 0 && mate[j] < j) continue;
        nodes.begin[nodes.numNode++] = length;
        nodes.column[length++] = j;
        if (mate[j] >= 0) nodes.column[length++] = mate[j];
    }
    nodes.begin[nodes.numNode] = length;
}

void mergeColumnNodes(const NodeGraph& columns, const ColumnNodes& nodes, NodeGraph& graph,
                      std::int32_t* nodeOf, std::int32_t* seen) {
    for (std::int32_t k = 0; k < nodes.numNode; ++k) {
        for (std::int32_t c = nodes.begin[k]; c < nodes.begin[k + 1]; ++c) {
            nodeOf[nodes.column[c]] = k;
        }
    }
    std::fill_n(seen, nodes.numNode, -1);
    std::int32_t length = 0;
    graph.numNode = nodes.numNode;
    for (std::int32_t k = 0; k < nodes.numNode; ++k) {
        graph.nodeBegin[k] = length;
        seen[k] = k;
        for (std::int32_t c = nodes.begin[k]; c < nodes.begin[k + 1]; ++c) {
            const std::int32_t j = nodes.column[c];
            for (std::int32_t p = columns.nodeBegin[j]; p < columns.nodeBegin[j + 1]; ++p) {
                const std::int32_t other = nodeOf[columns.nodeAdj[p]];
                if (seen[other] == k) continue;
                seen[other] = k;
                graph.nodeAdj[length++] = other;
            }
        }
    }
    graph.nodeBegin[nodes.numNode] = length;
}

}  // namespace ovrelin
