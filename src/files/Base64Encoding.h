#pragma once

#include <cstddef>
#include <string_view>

namespace qx {

inline constexpr std::string_view kBase64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline constexpr std::size_t kBase64Bytes = 3;       // of a group
inline constexpr std::size_t kBase64Characters = 4;  // of a group

// Encode whole groups from the start of `length` bytes, as many as the way's step allows, and return the number of
// groups. Nothing behind the bytes is read.

// Works everywhere.
std::size_t encodeByTable(const unsigned char* bytes, std::size_t length, char* characters) noexcept;

// Needs AVX2.
std::size_t encodeByShuffles(const unsigned char* bytes, std::size_t length, char* characters) noexcept;

}  // namespace qx
