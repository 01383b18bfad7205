// Owning types over the host's memory pool. They are the only place that frees: a routine that
// fails half-way just returns, and what it had made goes back to the pool.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "frame/status.hpp"
#include "ovrelin/host.h"

namespace ovrelin {

inline void freeIfSet(MemoryPool* pool, void* block) {
    if (block != nullptr) pool->free(pool, block);
}

enum class Fill { raw, zero };

/// A move-only array of trivial elements in a pool. An empty array (size 0) still owns one block
/// after a successful make(), so that "made" and "null" stay distinguishable.
template <class T>
class PoolArray {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    PoolArray() = default;
    PoolArray(const PoolArray&) = delete;
    PoolArray& operator=(const PoolArray&) = delete;
    PoolArray(PoolArray&& other) noexcept { swap(other); }
    PoolArray& operator=(PoolArray&& other) noexcept {
        PoolArray moved(std::move(other));
        swap(moved);
        return *this;
    }
    ~PoolArray() { reset(); }

    /// Replaces the content by `count` elements. outOfMemory leaves the array empty.
    Status make(MemoryPool* pool, std::size_t count, Fill fill = Fill::raw) {
        reset();
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T) - 1) return Status::outOfMemory;
        const std::uint64_t bytes = (count == 0 ? 1 : count) * sizeof(T);
        void* block = pool->allocate(
            pool, bytes, fill == Fill::zero ? OVRELIN_ALLOCATE_ZERO : OVRELIN_ALLOCATE_RAW);
        if (block == nullptr) return Status::outOfMemory;
        pool_ = pool;
        data_ = static_cast<T*>(block);
        size_ = count;
        return Status::ok;
    }

    /// Grows or shrinks, keeping the leading elements; outOfMemory leaves the array as it was.
    Status resize(MemoryPool* pool, std::size_t count) {
        if (data_ == nullptr) return make(pool, count);
        if (count > std::numeric_limits<std::size_t>::max() / sizeof(T) - 1) return Status::outOfMemory;
        void* block = pool_->reallocate(pool_, data_, (count == 0 ? 1 : count) * sizeof(T), 0);
        if (block == nullptr) return Status::outOfMemory;
        data_ = static_cast<T*>(block);
        size_ = count;
        return Status::ok;
    }

    void reset() {
        if (data_ != nullptr) pool_->free(pool_, data_);
        pool_ = nullptr;
        data_ = nullptr;
        size_ = 0;
    }

    void swap(PoolArray& other) noexcept {
        std::swap(pool_, other.pool_);
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
    }

    [[nodiscard]] T* data() { return data_; }
    [[nodiscard]] const T* data() const { return data_; }
    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool isSet() const { return data_ != nullptr; }
    template <class I>
    [[nodiscard]] T& operator[](I index) {
        return data_[static_cast<std::size_t>(index)];
    }
    template <class I>
    [[nodiscard]] const T& operator[](I index) const {
        return data_[static_cast<std::size_t>(index)];
    }
    [[nodiscard]] T* begin() { return data_; }
    [[nodiscard]] T* end() { return data_ + size_; }
    [[nodiscard]] const T* begin() const { return data_; }
    [[nodiscard]] const T* end() const { return data_ + size_; }

private:
    MemoryPool* pool_ = nullptr;
    T* data_ = nullptr;
    std::size_t size_ = 0;
};

/// A move-only record in a pool, built zero-filled and then default-constructed.
template <class T>
class PoolObject {
public:
    PoolObject() = default;
    PoolObject(const PoolObject&) = delete;
    PoolObject& operator=(const PoolObject&) = delete;
    PoolObject(PoolObject&& other) noexcept { swap(other); }
    PoolObject& operator=(PoolObject&& other) noexcept {
        PoolObject moved(std::move(other));
        swap(moved);
        return *this;
    }
    ~PoolObject() { reset(); }

    Status make(MemoryPool* pool) {
        reset();
        void* block = pool->allocate(pool, sizeof(T), OVRELIN_ALLOCATE_ZERO);
        if (block == nullptr) return Status::outOfMemory;
        pool_ = pool;
        object_ = new (block) T();
        return Status::ok;
    }

    void reset() {
        if (object_ == nullptr) return;
        T* object = std::exchange(object_, nullptr);
        object->~T();
        pool_->free(std::exchange(pool_, nullptr), object);
    }

    /// Hands the record over to a plain pointer; adopt() takes it back.
    [[nodiscard]] T* release() {
        pool_ = nullptr;
        return std::exchange(object_, nullptr);
    }
    void adopt(MemoryPool* pool, T* object) {
        reset();
        pool_ = object == nullptr ? nullptr : pool;
        object_ = object;
    }

    void swap(PoolObject& other) noexcept {
        std::swap(pool_, other.pool_);
        std::swap(object_, other.object_);
    }

    [[nodiscard]] T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    MemoryPool* pool_ = nullptr;
    T* object_ = nullptr;
};

}  // namespace ovrelin
