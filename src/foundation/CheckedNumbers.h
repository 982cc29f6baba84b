#pragma once

#include <climits>
#include <cstdint>

namespace qx {

// Truncates toward zero; a value that no int holds, or not a number, gives INT_MIN, as the processor's own
// conversion does.
inline int truncateToInt(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : INT_MIN;
}

inline int truncateToInt(float value) noexcept {
    return truncateToInt(static_cast<double>(value));
}

// The low 32 bits of a difference: the arithmetic wraps.
inline int wrappedDifference(int a, int b) noexcept {
    return static_cast<int>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

}  // namespace qx
