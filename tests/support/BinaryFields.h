#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

// Numbers in the bytes of files that tests build.
namespace qx::test {

inline void putBig(std::string& bytes, std::size_t offset, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[offset + static_cast<std::size_t>(i)] = static_cast<char>(value >> (24 - 8 * i));
}

inline void putLittle(std::string& bytes, std::size_t offset, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[offset + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
}

// Values as the processor stores them, least significant byte first.
template <class Value>
void append(std::string& bytes, const Value& value) {
    char stored[sizeof value];
    std::memcpy(stored, &value, sizeof value);
    bytes.append(stored, sizeof value);
}

// 16-bit words; only the low bits count.
template <class Values>
std::string words(const Values& values) {
    std::string bytes;
    for (const int value : values)
        append(bytes, static_cast<std::uint16_t>(value));
    return bytes;
}
inline std::string words(std::initializer_list<int> values) {
    return words<std::initializer_list<int>>(values);
}

}  // namespace qx::test
