// A binary min-heap of rows by distance, with decrease-key.
#pragma once

#include <cstdint>

namespace ovrelin {

class RowHeap {
public:
    static constexpr std::int32_t absent = -1;

    /// All arrays [number of rows]; `place` must be filled with absent.
    RowHeap(const double* distance, std::int32_t* heap, std::int32_t* place)
        : distance_(distance), heap_(heap), place_(place) {}

    [[nodiscard]] bool empty() const { return size_ == 0; }

    /// For a row whose distance has fallen, or which is not in the heap yet.
    void raise(std::int32_t row) {
        if (place_[row] == absent) place_[row] = size_++;
        std::int32_t at = place_[row];
        while (at > 0) {
            const std::int32_t above = (at - 1) / 2;
            if (distance_[heap_[above]] <= distance_[row]) break;
            put(heap_[above], at);
            at = above;
        }
        put(row, at);
    }

    std::int32_t pop() {
        const std::int32_t top = heap_[0];
        place_[top] = absent;
        const std::int32_t moved = heap_[--size_];
        if (size_ > 0) sink(moved);
        return top;
    }

    void clear() {
        while (size_ > 0) place_[heap_[--size_]] = absent;
    }

private:
    void put(std::int32_t row, std::int32_t at) {
        heap_[at] = row;
        place_[row] = at;
    }

    void sink(std::int32_t row) {
        std::int32_t at = 0;
        for (std::int32_t below = 1; below < size_; below = 2 * at + 1) {
            if (below + 1 < size_ && distance_[heap_[below + 1]] < distance_[heap_[below]]) ++below;
            if (distance_[heap_[below]] >= distance_[row]) break;
            put(heap_[below], at);
            at = below;
        }
        put(row, at);
    }

    const double* distance_;
    std::int32_t* heap_;
    std::int32_t* place_;
    std::int32_t size_ = 0;
};

}  // namespace ovrelin
