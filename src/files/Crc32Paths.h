#pragma once

#include <cstddef>
#include <cstdint>

namespace qx {

// The ways to bring the state of a CRC-32 (its value without the final complement) past more bytes. All give the same
// state.

// Works everywhere.
std::uint32_t advanceByTables(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept;

// Carry-less multiplication of 128-bit blocks, and of four of them at a time with AVX-512.
std::uint32_t advanceByProducts(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept;
std::uint32_t advanceByWideProducts(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept;

bool hasProducts() noexcept;
bool hasWideProducts() noexcept;

}  // namespace qx
