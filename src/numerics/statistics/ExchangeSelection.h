#pragma once

#include "foundation/Scratch.h"
#include "numerics/statistics/ExchangeSort.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx {

// What the exchange sort does to floating-point values, without its quadratic cost. Three facts make it possible:
// - A comparison with a NaN is false, so a NaN stays in its place and the others are sorted among theirs.
// - Values that differ end up in order, so any sort gives the same bits for them.
// - Zeros of either sign are equal but have different bits. An element inserted before the run of zeros takes the
//   place of the first one, which is carried past the others to the run's end; a new zero joins at the end.
// Kept: the first and the third one show in the medians.

// Input lengths for which the exchange sort itself is as fast.
inline constexpr int kShortSequence = 24;

// Zeros in the order in which the exchange sort leaves them: from `first` on, around the ring's end.
template <class T>
struct ZeroRun {
    const T* ring;
    std::ptrdiff_t length;
    std::ptrdiff_t first;

    T operator[](std::ptrdiff_t i) const noexcept { return ring[(first + i) % length]; }
    void copyTo(T* zeros) const noexcept { std::rotate_copy(ring, ring + first, ring + length, zeros); }
};

// The run of zeros; ring holds at least as many values as data has zeros.
//
// The sort inserts one element after the other into the sorted ones before it. Of the zeros among these, the ring holds
// the order: `length` of them from `first` on. The next element
// - is a zero and comes to rest behind the others: it goes to the tail;
// - belongs before the zeros, takes the first one's place, and that one is carried past the others: head to tail;
// - belongs behind the zeros, or is not a number, and leaves their order alone.
template <SortOrder order, class T>
ZeroRun<T> followZeros(const T* data, int n, T* ring) noexcept {
    const std::ptrdiff_t capacity = std::count(data, data + n, T{0});
    std::ptrdiff_t length = 0;
    std::ptrdiff_t first = 0;
    for (int i = 0; i < n; ++i) {
        const auto tail = [&] { return first + length < capacity ? first + length : first + length - capacity; };
        if (data[i] == T{0}) {
            ring[tail()] = data[i];
            ++length;
        } else if (length > 0 && comesBefore<order>(data[i], T{0})) {
            ring[tail()] = ring[first];
            first = first + 1 < capacity ? first + 1 : 0;
        }
    }
    return {ring, length, first};
}

// Copies the values that are numbers; returns how many.
template <class T>
std::ptrdiff_t copyNumbers(const T* data, int n, T* numbers) noexcept {
    return std::copy_if(data, data + n, numbers, [](T value) { return !std::isnan(value); }) - numbers;
}

// Element n/2 of what the exchange sort makes of data; copy holds n values. n is at least 1.
template <SortOrder order, class T>
T exchangeMiddle(const T* data, int n, T* copy) noexcept {
    const int middle = n / 2;
    if (n <= kShortSequence) {
        std::copy_n(data, n, copy);
        exchangeSort<order>(copy, n);
        return copy[middle];
    }
    // Kept: what is not a number stays where it is, in the middle too.
    if (std::isnan(data[middle]))
        return data[middle];
    const auto rank = std::count_if(data, data + middle, [](T value) { return !std::isnan(value); });
    const std::ptrdiff_t count = copyNumbers(data, n, copy);
    std::nth_element(copy, copy + rank, copy + count, comesBefore<order, T>);
    if (copy[rank] != T{0})
        return copy[rank];
    const auto before = std::count_if(data, data + n, [](T value) { return comesBefore<order>(value, T{0}); });
    return followZeros<order>(data, n, copy)[rank - before];
}

// Leaves data as the exchange sort leaves it.
template <SortOrder order, class T>
void exchangeSortFast(T* data, int n) noexcept {
    if (n <= kShortSequence)
        return exchangeSort<order>(data, n);
    Scratch<T> numbers(n);
    Scratch<T> ring(std::count(data, data + n, T{0}));
    if (!numbers || !ring)
        return exchangeSort<order>(data, n);
    const ZeroRun<T> zeros = followZeros<order>(data, n, ring.data());
    T* const end = numbers.data() + copyNumbers(data, n, numbers.data());
    std::sort(numbers.data(), end, comesBefore<order, T>);
    zeros.copyTo(std::find(numbers.data(), end, T{0}));
    const T* next = numbers.data();
    for (int i = 0; i < n; ++i)
        if (!std::isnan(data[i]))
            data[i] = *next++;
}

}  // namespace qx
