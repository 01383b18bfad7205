// A vector that takes an index of any integer type, as the solver's own arrays do.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

namespace ovtest {

template <class T>
struct Array : std::vector<T> {
    using std::vector<T>::vector;
    Array(std::vector<T> other) : std::vector<T>(std::move(other)) {}
    explicit Array(std::integral auto n, T value = {})
        : std::vector<T>(static_cast<std::size_t>(n), value) {}

    T& operator[](std::integral auto k) { return this->data()[k]; }
    const T& operator[](std::integral auto k) const { return this->data()[k]; }
};

using Indices = Array<std::int32_t>;

/// 0 .. n-1
inline Indices countUp(std::integral auto n) {
    Indices all(n);
    std::iota(all.begin(), all.end(), 0);
    return all;
}

inline Indices shuffled(std::mt19937& random, std::integral auto n) {
    Indices all = countUp(n);
    std::shuffle(all.begin(), all.end(), random);
    return all;
}

inline bool isPermutation(Indices order) {
    std::sort(order.begin(), order.end());
    return order == countUp(order.size());
}

}  // namespace ovtest
