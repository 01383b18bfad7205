// With c(j) the largest |a(i,j)| of column j, the cost of an entry is ln(c(j) / |a(i,j)|) >= 0, and
// the product is largest where the sum of the costs is smallest. Duals u of the rows and v of the
// columns keep every reduced cost  cost(i,j) - u(i) - v(j) >= 0, with equality on matched entries,
// so that the matching is optimal for what it covers at any time.
#include "sparse/order/matching/weighted_matching.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sparse/order/matching/row_heap.hpp"
#include "sparse/sparse_ldl.hpp"

namespace ovrelin {
namespace {

constexpr std::int32_t none = -1;
constexpr double unusable = std::numeric_limits<double>::max();

class Matcher {
public:
    Matcher(const MatchingProblem& problem, Matching& matching)
        : problem_(problem),
          n_(problem.pattern.n),
          rowOf_(matching.rowOf),
          u_(matching.rowDual),
          v_(matching.colDual) {}

    int run(MemoryPool* pool) {
        if (!allocate(pool)) return ldl::noMemory;
        if (!computeCosts()) return ldl::noMatching;
        startDuals();
        matchGreedily();
        RowHeap heap(distance_.data(), heap_, place_);
        for (std::int32_t j = problem_.first; j < n_; ++j) {
            if (rowOf_[j] == none && !augment(j, heap)) return ldl::noMatching;
        }
        return ldl::ok;
    }

private:
    bool allocate(MemoryPool* pool) {
        const auto n = static_cast<std::size_t>(n_);
        const auto numEntries = static_cast<std::size_t>(problem_.pattern.colBegin[n_]);
        if (!isOk(cost_.make(pool, numEntries)) || !isOk(distance_.make(pool, n)) ||
            !isOk(work_.make(pool, 5 * n))) {
            return false;
        }
        colOf_ = work_.data();
        heap_ = colOf_ + n;
        place_ = heap_ + n;
        from_ = place_ + n;
        reached_ = from_ + n;
        std::fill_n(colOf_, n, none);
        std::fill_n(place_, n, RowHeap::absent);
        std::fill_n(distance_.data(), n, unusable);
        return true;
    }

    // Calls visit(row, cost) for the usable entries of column j.
    template <class Visit>
    void forEntries(std::int32_t j, Visit visit) const {
        const SparsePattern& a = problem_.pattern;
        for (std::int32_t p = a.colBegin[j]; p < a.colBegin[j + 1]; ++p) {
            if (cost_[p] != unusable) visit(a.rowIndex[p], cost_[p]);
        }
    }

    // |a| of an entry that may be matched, otherwise 0. Costs that are not finite would send the
    // search round in circles.
    [[nodiscard]] double sizeOf(std::int32_t p) const {
        const double size = std::fabs(problem_.matValue[p]);
        return problem_.pattern.rowIndex[p] >= problem_.first && std::isfinite(size) ? size : 0.0;
    }

    // False when a column has nothing to match.
    bool computeCosts() {
        const SparsePattern& a = problem_.pattern;
        for (std::int32_t j = problem_.first; j < n_; ++j) {
            double largest = 0.0;
            for (std::int32_t p = a.colBegin[j]; p < a.colBegin[j + 1]; ++p)
                largest = std::max(largest, sizeOf(p));
            if (largest == 0.0) return false;
            const double logLargest = std::log(largest);
            for (std::int32_t p = a.colBegin[j]; p < a.colBegin[j + 1]; ++p) {
                const double size = sizeOf(p);
                cost_[p] = size > 0.0 ? logLargest - std::log(size) : unusable;
            }
        }
        return true;
    }

    void startDuals() {
        std::fill(u_ + problem_.first, u_ + n_, unusable);
        for (std::int32_t j = problem_.first; j < n_; ++j) {
            forEntries(j, [&](std::int32_t i, double c) { u_[i] = std::min(u_[i], c); });
        }
        for (std::int32_t j = problem_.first; j < n_; ++j) {
            v_[j] = unusable;
            forEntries(j, [&](std::int32_t i, double c) { v_[j] = std::min(v_[j], c - u_[i]); });
        }
    }

    // Entries of reduced cost zero whose row and column are free.
    void matchGreedily() {
        for (std::int32_t j = problem_.first; j < n_; ++j) {
            rowOf_[j] = none;
            forEntries(j, [&](std::int32_t i, double c) {
                if (rowOf_[j] == none && colOf_[i] == none && c - u_[i] - v_[j] <= 0.0) match(i, j);
            });
        }
    }

    void match(std::int32_t i, std::int32_t j) {
        rowOf_[j] = i;
        colOf_[i] = j;
    }

    // Dijkstra's search from column `root` over alternating paths, to the nearest free row; false
    // when there is none. Rows leave the heap in order of their distance.
    bool augment(std::int32_t root, RowHeap& heap) {
        numReached_ = 0;
        std::int32_t end = none;
        double length = 0.0;
        for (std::int32_t j = root;;) {
            reachFrom(j, length, heap);
            if (heap.empty()) break;
            const std::int32_t i = heap.pop();
            length = distance_[i];
            if (colOf_[i] == none) {
                end = i;
                break;
            }
            j = colOf_[i];
        }
        heap.clear();
        if (end != none) {
            updateDuals(root, end, length);
            flip(root, end);
        }
        for (std::int32_t k = 0; k < numReached_; ++k) distance_[reached_[k]] = unusable;
        return end != none;
    }

    void reachFrom(std::int32_t j, double length, RowHeap& heap) {
        forEntries(j, [&](std::int32_t i, double c) {
            // Rounding must not lead back to a row that is done.
            const double d = length + std::max(c - u_[i] - v_[j], 0.0);
            if (d >= distance_[i]) return;
            if (distance_[i] == unusable) reached_[numReached_++] = i;
            distance_[i] = d;
            from_[i] = j;
            heap.raise(i);
        });
    }

    // Rows nearer than the end of the path, and the columns that they are matched to, shift by what
    // they are nearer.
    void updateDuals(std::int32_t root, std::int32_t end, double length) {
        for (std::int32_t k = 0; k < numReached_; ++k) {
            const std::int32_t i = reached_[k];
            const double nearer = length - distance_[i];
            if (i == end || colOf_[i] == none || nearer <= 0.0) continue;
            u_[i] -= nearer;
            v_[colOf_[i]] += nearer;
        }
        v_[root] += length;
    }

    void flip(std::int32_t root, std::int32_t end) {
        for (std::int32_t i = end;;) {
            const std::int32_t j = from_[i];
            const std::int32_t next = rowOf_[j];
            match(i, j);
            if (j == root) return;
            i = next;
        }
    }

    const MatchingProblem& problem_;
    std::int32_t n_;
    std::int32_t* rowOf_;
    double* u_;
    double* v_;
    PoolArray<double> cost_;      // by entry; unusable for zeros and for rows before the block
    PoolArray<double> distance_;  // by row; unusable where the search has not been
    PoolArray<std::int32_t> work_;
    std::int32_t* colOf_ = nullptr;  // by row
    std::int32_t* heap_ = nullptr;
    std::int32_t* place_ = nullptr;
    std::int32_t* from_ = nullptr;  // by row: the column that it was reached from
    std::int32_t* reached_ = nullptr;
    std::int32_t numReached_ = 0;
};

}  // namespace

int findWeightedMatching(MemoryPool* pool, const MatchingProblem& problem, Matching& matching) {
    return Matcher(problem, matching).run(pool);
}

}  // namespace ovrelin
