#include "files/Crc32Paths.h"
#include "files/Crc32Polynomial.h"

#include <array>
#include <bit>
#include <cstring>

// Words are looked up byte by byte, each byte independently of the others. Several interleaved streams of words do not
// wait for each other: word k of every group belongs to stream k, so a stream's state has to be moved across the other
// streams' words as well, which its tables do.

namespace qx {
namespace {

constexpr std::size_t kWordBytes = 8;
constexpr std::size_t kStreams = 5;
constexpr std::size_t kGroupBytes = kStreams * kWordBytes;

using ByteTable = std::array<std::uint32_t, 256>;
using WordTables = std::array<ByteTable, kWordBytes>;

// The state after a byte.
constexpr ByteTable makeByteTable() {
    ByteTable table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t state = byte;
        for (int bit = 0; bit < 8; ++bit)
            state = timesX(state);
        table[byte] = state;
    }
    return table;
}

constexpr ByteTable kByteTable = makeByteTable();

constexpr std::uint32_t advanceByte(std::uint32_t state, unsigned char byte) noexcept {
    return (state >> 8) ^ kByteTable[(state ^ byte) & 0xFF];
}

// Table i gives the part that byte i of a word has in the state `distance` bytes after the word's start.
constexpr WordTables makeWordTables(std::size_t distance) {
    WordTables tables{};
    for (std::size_t byte = 0; byte < kByteTable.size(); ++byte) {
        std::uint32_t state = kByteTable[byte];
        for (std::size_t behind = 1; behind <= distance; ++behind) {
            if (behind > distance - kWordBytes)
                tables[distance - behind][byte] = state;
            state = advanceByte(state, 0);
        }
    }
    return tables;
}

constexpr WordTables kAcrossWord = makeWordTables(kWordBytes);
constexpr WordTables kAcrossGroup = makeWordTables(kGroupBytes);

inline std::uint32_t advanceWord(const WordTables& tables, std::uint32_t state, const unsigned char* bytes) noexcept {
    static_assert(std::endian::native == std::endian::little);
    std::uint64_t word;
    std::memcpy(&word, bytes, kWordBytes);
    word ^= state;
    std::uint32_t next = 0;
#pragma GCC unroll 8
    for (std::size_t i = 0; i < kWordBytes; ++i)
        next ^= tables[i][(word >> (8 * i)) & 0xFF];
    return next;
}

// count is a multiple of the group, at least one.
std::uint32_t advanceGroups(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept {
    std::array<std::uint32_t, kStreams> states{state};
    for (; count > kGroupBytes; count -= kGroupBytes, bytes += kGroupBytes) {
#pragma GCC unroll 5
        for (std::size_t k = 0; k < kStreams; ++k)
            states[k] = advanceWord(kAcrossGroup, states[k], bytes + k * kWordBytes);
    }
    // The last group joins the streams word by word.
    std::uint32_t joined = 0;
    for (std::size_t k = 0; k < kStreams; ++k)
        joined = advanceWord(kAcrossWord, joined ^ states[k], bytes + k * kWordBytes);
    return joined;
}

}  // namespace

std::uint32_t advanceByTables(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept {
    const std::size_t grouped = count - count % kGroupBytes;
    if (grouped > 0)
        state = advanceGroups(state, bytes, grouped);
    for (std::size_t i = grouped; i < count; ++i)
        state = advanceByte(state, bytes[i]);
    return state;
}

}  // namespace qx
