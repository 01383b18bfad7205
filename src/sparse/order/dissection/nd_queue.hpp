// Priority queue of vertices by gain, with insert, update, remove and pop-max.
//
// Two forms: lists by gain, where every operation is O(1) and gains beyond the range share the
// outermost list, for many vertices of small gains; a binary heap otherwise.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/parameters/dissection_parameters.hpp"
#include "sparse/order/dissection/nd_arena.hpp"

namespace ovrelin {

class NdQueue {
public:
    /// Takes its arrays for vertices 0..n-1 from the frame, which the caller must ask whether it
    /// failed, and starts empty. `maxGain` bounds the gains to be expected.
    void make(NdFrame& frame, std::int32_t n, std::int32_t maxGain);

    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] bool contains(std::int32_t v) const { return place_[v] != absent; }

    void clear();

    void insert(std::int32_t v, std::int32_t gain) {
        ++count_;
        if (buckets_) {
            link(v, bucketOf(gain));
        } else {
            heap_[count_ - 1] = {gain, v};
            siftUp(count_ - 1);
        }
    }

    void remove(std::int32_t v) {
        const std::int32_t place = place_[v];
        place_[v] = absent;
        --count_;
        if (buckets_) {
            unlink(v, place);
        } else if (place != count_) {
            const Entry moved = heap_[count_];
            const std::int32_t old = heap_[place].gain;
            heap_[place] = moved;
            place_[moved.vertex] = place;
            moved.gain > old ? siftUp(place) : siftDown(place);
        }
    }

    /// For a vertex that the queue contains.
    void update(std::int32_t v, std::int32_t gain) {
        const std::int32_t place = place_[v];
        if (buckets_) {
            const std::int32_t bucket = bucketOf(gain);
            if (bucket == place) return;
            unlink(v, place);
            link(v, bucket);
        } else {
            const std::int32_t old = heap_[place].gain;
            heap_[place].gain = gain;
            gain > old ? siftUp(place) : siftDown(place);
        }
    }

    /// A vertex of the highest gain; the queue must not be empty.
    std::int32_t top() {
        if (!buckets_) return heap_[0].vertex;
        while (head_[highest_] == absent) --highest_;
        return head_[highest_];
    }

    std::int32_t pop() {
        const std::int32_t v = top();
        remove(v);
        return v;
    }

private:
    static constexpr std::int32_t absent = -1;

    struct Entry {
        std::int32_t gain;
        std::int32_t vertex;
    };

    static std::int32_t bucketOf(std::int32_t gain) {
        constexpr std::int32_t range = ndParameters.bucketGain;
        return std::clamp(gain, -range, range) + range;
    }

    void link(std::int32_t v, std::int32_t bucket) {
        const std::int32_t after = head_[bucket];
        place_[v] = bucket;
        next_[v] = after;
        previous_[v] = absent;
        if (after != absent) previous_[after] = v;
        head_[bucket] = v;
        highest_ = std::max(highest_, bucket);
    }

    void unlink(std::int32_t v, std::int32_t bucket) {
        const std::int32_t after = next_[v];
        const std::int32_t before = previous_[v];
        if (after != absent) previous_[after] = before;
        if (before != absent) {
            next_[before] = after;
        } else {
            head_[bucket] = after;
        }
    }

    void siftUp(std::int32_t place);
    void siftDown(std::int32_t place);

    bool buckets_ = false;
    std::int32_t count_ = 0;
    std::int32_t highest_ = 0;
    std::int32_t* place_ = nullptr;  // [n] bucket, or place in the heap; absent
    std::int32_t* next_ = nullptr;   // [n] buckets
    std::int32_t* previous_ = nullptr;
    std::int32_t* head_ = nullptr;  // [2 bucketGain + 1]
    Entry* heap_ = nullptr;         // [n] heap
};

}  // namespace ovrelin
