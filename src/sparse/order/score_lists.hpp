// Vertices by score, in doubly linked lists with a hint of the lowest list in use. Taking a vertex
// of lowest score, adding and removing one cost O(1), apart from the walk to the next used list.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "sparse/order/scratch.hpp"

namespace ovrelin {

class ScoreLists {
public:
    /// Above n a list holds a sixteenth of an octave: 2^31 is at most 31 octaves away.
    static constexpr std::int32_t coarseLists = 512;

    [[nodiscard]] static std::size_t scratchBytes(std::int32_t n) {
        return Scratch::bytesFor<std::int32_t>(std::int64_t{n} + coarseLists) +
               3 * Scratch::bytesFor<std::int32_t>(n);
    }

    ScoreLists(std::int32_t n, Scratch& scratch)
        : n_(n),
          coarseBase_(coarseIndex(n)),
          head_(scratch.take<std::int32_t>(std::int64_t{n} + coarseLists)),
          next_(scratch.take<std::int32_t>(n)),
          previous_(scratch.take<std::int32_t>(n)),
          score_(scratch.take<std::int32_t>(n)) {
        std::fill_n(head_, std::int64_t{n} + coarseLists, none);
    }

    void add(std::int32_t i, std::int32_t score) {
        const std::int32_t list = listOf(score);
        score_[i] = score;
        next_[i] = head_[list];
        previous_[i] = ~list;
        if (head_[list] != none) previous_[head_[list]] = i;
        head_[list] = i;
        lowest_ = std::min(lowest_, list);
    }

    void remove(std::int32_t i) {
        const std::int32_t after = next_[i];
        const std::int32_t before = previous_[i];
        if (after != none) previous_[after] = before;
        // The first of a list keeps the complement of the list's number as its predecessor.
        if (before >= 0) {
            next_[before] = after;
        } else {
            head_[~before] = after;
        }
    }

    /// Whether some vertex has a score of at most `score`, which is below n.
    bool anyUpTo(std::int32_t score) {
        while (lowest_ <= score && head_[lowest_] == none) ++lowest_;
        return lowest_ <= score;
    }

    /// Calls visit(i) for every vertex that is listed.
    template <class Visit>
    void forEach(Visit visit) const {
        for (std::int32_t list = lowest_; list < n_ + coarseLists; ++list) {
            for (std::int32_t i = head_[list]; i != none; i = next_[i]) visit(i);
        }
    }

    /// Removes and returns a vertex of the lowest score; some vertex must be listed.
    std::int32_t takeLowest() {
        while (head_[lowest_] == none) ++lowest_;
        const std::int32_t i = lowest_ < n_ ? head_[lowest_] : lowestOf(head_[lowest_]);
        remove(i);
        return i;
    }

    /// The links of a vertex that is in no list are free for the engine's use.
    [[nodiscard]] std::int32_t* idleNext() { return next_; }
    [[nodiscard]] std::int32_t* idlePrevious() { return previous_; }

private:
    static constexpr std::int32_t none = -1;

    // The bits of a positive float grow with its value: exponent and four bits of the mantissa.
    static std::int32_t coarseIndex(std::int32_t score) {
        return std::bit_cast<std::int32_t>(static_cast<float>(score)) >> 19;
    }
    [[nodiscard]] std::int32_t listOf(std::int32_t score) const {
        return score < n_ ? score : n_ + (coarseIndex(score) - coarseBase_);
    }
    [[nodiscard]] std::int32_t lowestOf(std::int32_t first) const {
        std::int32_t best = first;
        for (std::int32_t i = next_[first]; i != none; i = next_[i]) {
            if (score_[i] < score_[best]) best = i;
        }
        return best;
    }

    std::int32_t n_;
    std::int32_t coarseBase_;
    std::int32_t lowest_ = 0;
    std::int32_t* head_;      // [n + coarseLists]
    std::int32_t* next_;      // [n]
    std::int32_t* previous_;  // [n]
    std::int32_t* score_;     // [n]
};

}  // namespace ovrelin
