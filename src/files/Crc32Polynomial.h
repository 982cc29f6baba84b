#pragma once

#include <cstdint>

// Arithmetic of polynomials over GF(2) modulo the CRC-32 polynomial. Bits are reflected: bit 31 stands for x^0.

namespace qx {

inline constexpr std::uint32_t kCrcPolynomial = 0xEDB88320;

constexpr std::uint32_t timesX(std::uint32_t value) noexcept {
    return (value >> 1) ^ ((value & 1) != 0 ? kCrcPolynomial : 0);
}

// x^exponent.
constexpr std::uint32_t powerOfX(int exponent) noexcept {
    std::uint32_t value = 0x80000000;
    for (int i = 0; i < exponent; ++i)
        value = timesX(value);
    return value;
}

constexpr std::uint32_t multiply(std::uint32_t a, std::uint32_t b) noexcept {
    std::uint32_t product = 0;
    for (; a != 0; a <<= 1, b = timesX(b))
        product ^= (a & 0x80000000) != 0 ? b : 0;
    return product;
}

}  // namespace qx
