#include "files/Crc32.h"

#include <array>
#include <bit>
#include <cstring>
#include <immintrin.h>

// Bits are reflected throughout: bit 31 of a 32-bit value stands for x^0.

namespace qx {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::size_t kSlices = 16;

using SliceTables = std::array<std::array<std::uint32_t, 256>, kSlices>;

// Table s gives the CRC of a byte followed by s zero bytes, so the bytes of a slice are looked up independently.
constexpr SliceTables makeSliceTables() {
    SliceTables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? kPolynomial : 0);
        tables[0][byte] = crc;
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice)
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t previous = tables[slice - 1][byte];
            tables[slice][byte] = (previous >> 8) ^ tables[0][previous & 0xFF];
        }
    return tables;
}

constexpr SliceTables kTables = makeSliceTables();

std::uint32_t updateByte(std::uint32_t state, unsigned char byte) noexcept {
    return (state >> 8) ^ kTables[0][(state ^ byte) & 0xFF];
}

// One word's part of a slice: its first byte is followed by `behind` more bytes.
std::uint32_t lookUpWord(std::uint32_t word, std::size_t behind) noexcept {
    return kTables[behind][word & 0xFF] ^ kTables[behind - 1][(word >> 8) & 0xFF] ^
           kTables[behind - 2][(word >> 16) & 0xFF] ^ kTables[behind - 3][word >> 24];
}

std::uint32_t updateWithTables(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept {
    static_assert(std::endian::native == std::endian::little);
    for (; count >= kSlices; count -= kSlices, bytes += kSlices) {
        std::array<std::uint32_t, 4> words;
        std::memcpy(words.data(), bytes, kSlices);
        state = lookUpWord(words[0] ^ state, 15) ^ lookUpWord(words[1], 11) ^ lookUpWord(words[2], 7) ^
                lookUpWord(words[3], 3);
    }
    for (; count > 0; --count)
        state = updateByte(state, *bytes++);
    return state;
}

// x^exponent modulo the polynomial, shifted to the left end of a 33-bit operand of the carry-less product.
constexpr long long foldingConstant(int exponent) {
    std::uint32_t remainder = 0x80000000;
    for (int i = 0; i < exponent; ++i)
        remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kPolynomial : 0);
    return static_cast<long long>(remainder) << 1;
}

constexpr std::size_t kBlockBytes = 16;
constexpr std::size_t kStrideBytes = 4 * kBlockBytes;

#define QX_CARRY_LESS __attribute__((target("pclmul,sse4.1")))

QX_CARRY_LESS __m128i load(const unsigned char* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

// Moves a block to where `next` lies: its halves times the powers of x by which the two are apart.
QX_CARRY_LESS __m128i fold(__m128i block, __m128i powers, __m128i next) noexcept {
    const __m128i low = _mm_clmulepi64_si128(block, powers, 0x00);
    const __m128i high = _mm_clmulepi64_si128(block, powers, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

// Folds whole 64-byte strides into one block that has the same remainder. count is a multiple of 64, at least 64.
QX_CARRY_LESS __m128i foldStrides(std::uint32_t state, const unsigned char* bytes, std::size_t count) noexcept {
    const __m128i acrossStride = _mm_set_epi64x(foldingConstant(512 - 32), foldingConstant(512 + 32));
    const __m128i acrossBlock = _mm_set_epi64x(foldingConstant(128 - 32), foldingConstant(128 + 32));
    __m128i a = _mm_xor_si128(load(bytes), _mm_cvtsi32_si128(static_cast<int>(state)));
    __m128i b = load(bytes + kBlockBytes);
    __m128i c = load(bytes + 2 * kBlockBytes);
    __m128i d = load(bytes + 3 * kBlockBytes);
    for (const unsigned char* end = bytes + count; (bytes += kStrideBytes) != end;) {
        a = fold(a, acrossStride, load(bytes));
        b = fold(b, acrossStride, load(bytes + kBlockBytes));
        c = fold(c, acrossStride, load(bytes + 2 * kBlockBytes));
        d = fold(d, acrossStride, load(bytes + 3 * kBlockBytes));
    }
    return fold(fold(fold(a, acrossBlock, b), acrossBlock, c), acrossBlock, d);
}

QX_CARRY_LESS std::uint32_t updateCarryLess(std::uint32_t state, const unsigned char* bytes,
                                            std::size_t count) noexcept {
    const std::size_t folded = count - count % kStrideBytes;
    if (folded == 0)
        return updateWithTables(state, bytes, count);
    std::array<unsigned char, kBlockBytes> block;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(block.data()), foldStrides(state, bytes, folded));
    state = updateWithTables(0, block.data(), block.size());
    return updateWithTables(state, bytes + folded, count - folded);
}

bool hasCarryLess() noexcept {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

const bool processorHasCarryLess = hasCarryLess();
bool useCarryLess = processorHasCarryLess;

}  // namespace

std::uint32_t updateCrc32(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept {
    return ~(useCarryLess ? updateCarryLess(~crc, bytes, count) : updateWithTables(~crc, bytes, count));
}

bool forceCrcTables(bool tablesOnly) noexcept {
    useCarryLess = processorHasCarryLess && !tablesOnly;
    return processorHasCarryLess;
}

}  // namespace qx
