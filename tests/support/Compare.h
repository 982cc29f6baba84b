#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <sstream>
#include <type_traits>

// Comparisons to the bit, which tell zeros of either sign and kinds of NaN apart and say where two results part.
namespace qx::test {

template <class T>
auto bitsOf(T value) {
    if constexpr (std::is_same_v<T, float>) {
        return std::bit_cast<std::uint32_t>(value);
    } else if constexpr (std::is_same_v<T, double>) {
        return std::bit_cast<std::uint64_t>(value);
    } else {
        return value;
    }
}

// The value with the bits that distinguish it.
template <class T>
std::string described(T value) {
    std::ostringstream text;
    text.precision(17);
    text << +value;
    if constexpr (std::is_floating_point_v<T>)
        text << " (0x" << std::hex << bitsOf(value) << ")";
    return text.str();
}

template <class T>
::testing::AssertionResult sameBits(T expected, T actual) {
    if (bitsOf(expected) == bitsOf(actual))
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "expected " << described(expected) << ", got " << described(actual);
}

// For computed results, where the sign and payload of a NaN carry nothing.
template <class T>
::testing::AssertionResult sameBitsOrNan(T expected, T actual) {
    return std::isnan(expected) && std::isnan(actual) ? ::testing::AssertionSuccess() : sameBits(expected, actual);
}

namespace detail {

template <class T, class Same>
::testing::AssertionResult compareSpans(std::span<const T> expected, std::span<const T> actual, Same same) {
    if (expected.size() != actual.size())
        return ::testing::AssertionFailure() << "sizes " << expected.size() << " and " << actual.size();
    std::size_t differing = 0;
    std::size_t first = 0;
    for (std::size_t i = expected.size(); i-- > 0;) {
        if (same(expected[i], actual[i]))
            continue;
        first = i;
        ++differing;
    }
    if (differing == 0)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << differing << " of " << expected.size() << " differ; first at " << first
                                         << ": expected " << described(expected[first]) << ", got "
                                         << described(actual[first]);
}

}  // namespace detail

// Ranges are anything a span of constant elements can be made of.
template <class Range>
::testing::AssertionResult sameBitsEverywhere(const Range& expected, const Range& actual) {
    using T = std::remove_cvref_t<decltype(*std::data(expected))>;
    return detail::compareSpans<T>(expected, actual, [](T a, T b) { return bitsOf(a) == bitsOf(b); });
}

template <class Range>
::testing::AssertionResult sameBitsOrNanEverywhere(const Range& expected, const Range& actual) {
    using T = std::remove_cvref_t<decltype(*std::data(expected))>;
    return detail::compareSpans<T>(expected, actual, [](T a, T b) { return sameBitsOrNan(a, b); });
}

}  // namespace qx::test
