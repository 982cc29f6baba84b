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

// Input lengths for which the exchange sort itself is as fast.
inline constexpr int kShortSequence = 24;

// The run of zeros in the order in which the exchange sort leaves it. ring holds at least as many values as data has
// zeros. Returns the run's length; the run starts at ring[start] and wraps at its length.
template <SortOrder order, class T>
std::size_t followZeros(const T* data, int n, T* ring, std::size_t& start) noexcept {
    std::size_t length = 0;
    std::size_t head = 0;
    const auto capacity = static_cast<std::size_t>(std::count(data, data + n, T{0}));
    for (int i = 0; i < n; ++i) {
        const auto tail = [&] { return head + length < capacity ? head + length : head + length - capacity; };
        if (data[i] == T{0}) {
            ring[tail()] = data[i];
            ++length;
        } else if (length > 0 && comesBefore<order>(data[i], T{0})) {
            ring[tail()] = ring[head];
            head = head + 1 < capacity ? head + 1 : 0;
        }
    }
    start = head;
    return length;
}

// Copies the values that are numbers; returns how many.
template <class T>
std::size_t copyNumbers(const T* data, int n, T* numbers) noexcept {
    return static_cast<std::size_t>(std::copy_if(data, data + n, numbers, [](T value) { return !std::isnan(value); }) -
                                    numbers);
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
    if (std::isnan(data[middle]))
        return data[middle];
    const auto rank =
        static_cast<std::size_t>(std::count_if(data, data + middle, [](T value) { return !std::isnan(value); }));
    const std::size_t count = copyNumbers(data, n, copy);
    std::nth_element(copy, copy + rank, copy + count, comesBefore<order, T>);
    if (copy[rank] != T{0})
        return copy[rank];
    const auto before = static_cast<std::size_t>(
        std::count_if(data, data + n, [](T value) { return comesBefore<order>(value, T{0}); }));
    std::size_t start = 0;
    const std::size_t zeros = followZeros<order>(data, n, copy, start);
    return copy[(start + rank - before) % zeros];
}

// Leaves data as the exchange sort leaves it.
template <SortOrder order, class T>
void exchangeSortFast(T* data, int n) noexcept {
    if (n <= kShortSequence)
        return exchangeSort<order>(data, n);
    Scratch<T> numbers(static_cast<std::size_t>(n));
    Scratch<T> zeros(static_cast<std::size_t>(std::count(data, data + n, T{0})));
    if (!numbers || !zeros)
        return exchangeSort<order>(data, n);
    std::size_t start = 0;
    const std::size_t zeroCount = followZeros<order>(data, n, zeros.data(), start);
    T* const end = numbers.data() + copyNumbers(data, n, numbers.data());
    std::sort(numbers.data(), end, comesBefore<order, T>);
    T* const run = std::find(numbers.data(), end, T{0});
    for (std::size_t i = 0; i < zeroCount; ++i)
        run[i] = zeros[(start + i) % zeroCount];
    const T* next = numbers.data();
    for (int i = 0; i < n; ++i)
        if (!std::isnan(data[i]))
            data[i] = *next++;
}

}  // namespace qx
