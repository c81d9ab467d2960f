// Subsystem: ground. Builds on: zanAssert. Used by: incidence lists and other short lists inside records.
// A vector with room for a few elements inside itself: no allocation as long as the list stays short.
#pragma once

#include "zanAssert.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

namespace TESK_TOOLS
{

// N elements live inline; longer lists move to the heap and stay there. Trivially copyable T only, so moving
// and growing are plain copies. For two pointers inline, the whole object takes 24 bytes. Pointers and
// iterators are valid until the next push_back, assignment or move. Indices are not checked.
template <class T, std::uint32_t N>
class SmallVector
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);
    static_assert(N > 0);

public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    SmallVector() {}
    ~SmallVector() { release(); }

    SmallVector(const SmallVector& other) { assign(other); }
    SmallVector(SmallVector&& other) noexcept { steal(other); }

    SmallVector& operator=(const SmallVector& other)
    {
        if (this != &other)
            assign(other);
        return *this;
    }

    SmallVector& operator=(SmallVector&& other) noexcept
    {
        if (this != &other) {
            release();
            steal(other);
        }
        return *this;
    }

    std::size_t size() const { return num; }
    bool empty() const { return num == 0; }

    T* data() { return isInline() ? reinterpret_cast<T*>(aInline) : pHeap; }
    const T* data() const { return isInline() ? reinterpret_cast<const T*>(aInline) : pHeap; }

    T* begin() { return data(); }
    T* end() { return data() + num; }
    const T* begin() const { return data(); }
    const T* end() const { return data() + num; }

    T& operator[](std::size_t i) { return data()[i]; }
    const T& operator[](std::size_t i) const { return data()[i]; }
    T& back() { return data()[num - 1]; }
    const T& back() const { return data()[num - 1]; }

    // By value: the argument may be an element of this vector.
    void push_back(T value)
    {
        if (num == capacity) [[unlikely]]
            growTo(2 * std::uint64_t{capacity});
        std::construct_at(data() + num, value);
        ++num;
    }

    void pop_back() { --num; }

    // Keeps the memory.
    void clear() { num = 0; }

    // Removes element i; the last one takes its place. O(1).
    void swapErase(std::size_t i)
    {
        data()[i] = back();
        pop_back();
    }

    // Removes element i and keeps the order of the others. O(size).
    void shiftErase(std::size_t i)
    {
        std::copy(begin() + i + 1, end(), begin() + i);
        pop_back();
    }

private:
    bool isInline() const { return capacity == N; }

    // Back to empty and inline.
    void release()
    {
        if (!isInline())
            std::allocator<T>().deallocate(pHeap, capacity);
        capacity = N;
        num = 0;
    }

    void growTo(std::uint64_t newCapacity)
    {
        zanAssert(newCapacity <= std::numeric_limits<std::uint32_t>::max());
        T* pNew = std::allocator<T>().allocate(newCapacity);
        std::uninitialized_copy_n(data(), num, pNew);
        const std::uint32_t numKept = num;
        release();
        pHeap = pNew;
        capacity = std::uint32_t(newCapacity);
        num = numKept;
    }

    void assign(const SmallVector& other)
    {
        num = 0;
        if (other.num > capacity)
            growTo(other.num);
        std::uninitialized_copy_n(other.data(), other.num, data());
        num = other.num;
    }

    // Takes the content of other, which becomes empty. This must be empty and inline.
    void steal(SmallVector& other) noexcept
    {
        if (other.isInline()) {
            std::uninitialized_copy_n(other.data(), other.num, data());
        } else {
            pHeap = other.pHeap;
            capacity = std::exchange(other.capacity, N);
        }
        num = std::exchange(other.num, 0);
    }

    std::uint32_t num = 0;
    std::uint32_t capacity = N; // N exactly: inline; above N: pHeap is in use
    union {
        alignas(T) std::byte aInline[N * sizeof(T)];
        T* pHeap;
    };
};

} // namespace TESK_TOOLS
