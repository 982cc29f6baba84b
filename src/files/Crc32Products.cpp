#include "files/Crc32Paths.h"
#include "files/Crc32Polynomial.h"

#include <array>
#include <immintrin.h>

// A block of 128 bits is moved behind later bytes by multiplying its halves with the powers of x by which they lie
// apart; the product is congruent and as long as a block again. Only the last block is reduced, by the tables.

namespace qx {
namespace {

#define QX_PRODUCTS __attribute__((target("pclmul,sse4.1")))
#define QX_WIDE_PRODUCTS __attribute__((target("pclmul,sse4.1,avx512f,vpclmulqdq")))

constexpr std::size_t kBlockBytes = 16;
constexpr std::size_t kStrideBytes = 4 * kBlockBytes;
constexpr std::size_t kWideBytes = 64;
constexpr std::size_t kWideStrideBytes = 4 * kWideBytes;

// Factors of a block's first and second half for a distance in bytes. A reflected product lies one bit too low, hence
// the shift.
struct Factors {
    long long first;
    long long second;
};

constexpr Factors factorsOver(std::size_t bytes) {
    const int bits = static_cast<int>(8 * bytes);
    return {static_cast<long long>(powerOfX(bits + 32)) << 1, static_cast<long long>(powerOfX(bits - 32)) << 1};
}

constexpr Factors kOverBlock = factorsOver(kBlockBytes);
constexpr Factors kOverStride = factorsOver(kStrideBytes);
constexpr Factors kOverWide = factorsOver(kWideBytes);
constexpr Factors kOverWideStride = factorsOver(kWideStrideBytes);

QX_PRODUCTS __m128i load(const unsigned char* bytes) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

QX_PRODUCTS __m128i move(__m128i block, Factors factors, __m128i next) noexcept {
    const __m128i pair = _mm_set_epi64x(factors.second, factors.first);
    const __m128i first = _mm_clmulepi64_si128(block, pair, 0x00);
    const __m128i second = _mm_clmulepi64_si128(block, pair, 0x11);
    return _mm_xor_si128(_mm_xor_si128(first, second), next);
}

QX_PRODUCTS __m128i joinBlocks(__m128i a, __m128i b, __m128i c, __m128i d) noexcept {
    return move(move(move(a, kOverBlock, b), kOverBlock, c), kOverBlock, d);
}

// The state after a block that the state before it is already part of.
QX_PRODUCTS std::uint32_t reduce(__m128i block) noexcept {
    std::array<unsigned char, kBlockBytes> bytes;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes.data()), block);
    return advanceByTables(0, bytes.data(), bytes.size());
}

QX_WIDE_PRODUCTS __m512i loadWide(const unsigned char* bytes) noexcept {
    return _mm512_loadu_si512(bytes);
}

QX_WIDE_PRODUCTS __m512i moveWide(__m512i blocks, Factors factors, __m512i next) noexcept {
    const __m512i pairs = _mm512_set4_epi64(factors.second, factors.first, factors.second, factors.first);
    const __m512i first = _mm512_clmulepi64_epi128(blocks, pairs, 0x00);
    const __m512i second = _mm512_clmulepi64_epi128(blocks, pairs, 0x11);
    constexpr int kXorOfThree = 0x96;
    return _mm512_ternarylogic_epi64(first, second, next, kXorOfThree);
}

}  // namespace

QX_PRODUCTS std::uint32_t advanceByProducts(std::uint32_t state, const unsigned char* bytes,
                                            std::size_t count) noexcept {
    if (count < kStrideBytes)
        return advanceByTables(state, bytes, count);
    __m128i a = _mm_xor_si128(load(bytes), _mm_cvtsi32_si128(static_cast<int>(state)));
    __m128i b = load(bytes + kBlockBytes);
    __m128i c = load(bytes + 2 * kBlockBytes);
    __m128i d = load(bytes + 3 * kBlockBytes);
    for (;;) {
        bytes += kStrideBytes;
        count -= kStrideBytes;
        if (count < kStrideBytes)
            break;
        a = move(a, kOverStride, load(bytes));
        b = move(b, kOverStride, load(bytes + kBlockBytes));
        c = move(c, kOverStride, load(bytes + 2 * kBlockBytes));
        d = move(d, kOverStride, load(bytes + 3 * kBlockBytes));
    }
    return advanceByTables(reduce(joinBlocks(a, b, c, d)), bytes, count);
}

QX_WIDE_PRODUCTS std::uint32_t advanceByWideProducts(std::uint32_t state, const unsigned char* bytes,
                                                     std::size_t count) noexcept {
    if (count < kWideStrideBytes)
        return advanceByProducts(state, bytes, count);
    __m512i a = _mm512_xor_si512(loadWide(bytes), _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(state))));
    __m512i b = loadWide(bytes + kWideBytes);
    __m512i c = loadWide(bytes + 2 * kWideBytes);
    __m512i d = loadWide(bytes + 3 * kWideBytes);
    for (;;) {
        bytes += kWideStrideBytes;
        count -= kWideStrideBytes;
        if (count < kWideStrideBytes)
            break;
        a = moveWide(a, kOverWideStride, loadWide(bytes));
        b = moveWide(b, kOverWideStride, loadWide(bytes + kWideBytes));
        c = moveWide(c, kOverWideStride, loadWide(bytes + 2 * kWideBytes));
        d = moveWide(d, kOverWideStride, loadWide(bytes + 3 * kWideBytes));
    }
    const __m512i joined = moveWide(moveWide(moveWide(a, kOverWide, b), kOverWide, c), kOverWide, d);
    const __m128i block = joinBlocks(_mm512_extracti32x4_epi32(joined, 0), _mm512_extracti32x4_epi32(joined, 1),
                                     _mm512_extracti32x4_epi32(joined, 2), _mm512_extracti32x4_epi32(joined, 3));
    return advanceByProducts(reduce(block), bytes, count);
}

bool hasProducts() noexcept {
    __builtin_cpu_init();
    return __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
}

bool hasWideProducts() noexcept {
    return hasProducts() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vpclmulqdq");
}

}  // namespace qx
