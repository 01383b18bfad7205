#include "sparse/order/dissection/nd_queue.hpp"

namespace ovrelin {

void NdQueue::make(NdFrame& frame, std::int32_t n, std::int32_t maxGain) {
    constexpr std::int32_t numBuckets = 2 * ndParameters.bucketGain + 1;
    buckets_ = maxGain <= ndParameters.bucketGain && n >= ndParameters.bucketVertices;
    count_ = 0;
    highest_ = 0;
    place_ = frame.take(n);
    std::int32_t* links = frame.take(2 * std::int64_t{n});
    head_ = buckets_ ? frame.take(numBuckets) : nullptr;
    if (frame.failed()) return;
    next_ = links;
    previous_ = links + n;
    heap_ = reinterpret_cast<Entry*>(links);
    std::fill_n(place_, n, absent);
    if (buckets_) std::fill_n(head_, numBuckets, absent);
}

void NdQueue::clear() {
    if (buckets_) {
        for (; count_ > 0; --count_) {
            const std::int32_t v = top();
            unlink(v, highest_);
            place_[v] = absent;
        }
        highest_ = 0;
    }
    for (; count_ > 0; --count_) place_[heap_[count_ - 1].vertex] = absent;
}

void NdQueue::siftUp(std::int32_t place) {
    const Entry entry = heap_[place];
    while (place > 0) {
        const std::int32_t parent = (place - 1) / 2;
        if (heap_[parent].gain >= entry.gain) break;
        heap_[place] = heap_[parent];
        place_[heap_[place].vertex] = place;
        place = parent;
    }
    heap_[place] = entry;
    place_[entry.vertex] = place;
}

void NdQueue::siftDown(std::int32_t place) {
    const Entry entry = heap_[place];
    for (std::int32_t child = 2 * place + 1; child < count_; child = 2 * place + 1) {
        if (child + 1 < count_ && heap_[child + 1].gain > heap_[child].gain) ++child;
        if (heap_[child].gain <= entry.gain) break;
        heap_[place] = heap_[child];
        place_[heap_[place].vertex] = place;
        place = child;
    }
    heap_[place] = entry;
    place_[entry.vertex] = place;
}

}  // namespace ovrelin
