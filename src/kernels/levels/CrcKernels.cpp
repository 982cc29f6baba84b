#include "kernels/CrcKernels.h"

#if defined(__PCLMUL__)
#include <immintrin.h>
#endif

// The state is a CRC without its final complement. Arithmetic is that of polynomials over GF(2) modulo the CRC-32
// polynomial; bits are reflected: bit 31 of a state stands for x^0. Powers and tables are made by the compiler.

namespace qx {
namespace {

constexpr std::uint32_t timesX(std::uint32_t value) {
    constexpr std::uint32_t kPolynomial = 0xEDB88320;
    return (value >> 1) ^ ((value & 1) != 0 ? kPolynomial : 0);
}

// By tables, everywhere. Words are looked up byte by byte, each byte independently of the others. Several interleaved
// streams of words do not wait for each other: word k of every group belongs to stream k, so a stream's state has to be
// moved across the other streams' words as well, which its tables do.

constexpr int kWordBytes = 8;
constexpr int kStreams = 5;
constexpr int kGroupBytes = kStreams * kWordBytes;

// Entry [i][b] is the part that byte i of a word, if it is b, has in the state `distance` bytes after the word's start.
struct WordTables {
    std::uint32_t at[kWordBytes][256];
};

consteval WordTables makeWordTables(int distance) {
    WordTables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t state = byte;
        for (int behind = 1; behind <= distance; ++behind) {
            for (int bit = 0; bit < 8; ++bit)
                state = timesX(state);
            if (behind > distance - kWordBytes)
                tables.at[distance - behind][byte] = state;
        }
    }
    return tables;
}

constexpr WordTables kAcrossWord = makeWordTables(kWordBytes);
constexpr WordTables kAcrossGroup = makeWordTables(kGroupBytes);

std::uint32_t advanceByte(std::uint32_t state, unsigned char byte) {
    return (state >> 8) ^ kAcrossWord.at[kWordBytes - 1][(state ^ byte) & 0xFF];
}

[[gnu::always_inline]] inline std::uint32_t advanceWord(const WordTables& tables, std::uint32_t state,
                                                        const unsigned char* bytes) {
    std::uint64_t word;
    __builtin_memcpy(&word, bytes, kWordBytes);
    word ^= state;
    std::uint32_t next = 0;
#pragma GCC unroll 8
    for (int i = 0; i < kWordBytes; ++i)
        next ^= tables.at[i][(word >> (8 * i)) & 0xFF];
    return next;
}

// count is a multiple of the group, at least one.
std::uint32_t advanceGroups(std::uint32_t state, const unsigned char* bytes, std::size_t count) {
    std::uint32_t states[kStreams] = {state};
    for (; count > kGroupBytes; count -= kGroupBytes, bytes += kGroupBytes) {
#pragma GCC unroll 5
        for (int k = 0; k < kStreams; ++k)
            states[k] = advanceWord(kAcrossGroup, states[k], bytes + k * kWordBytes);
    }
    // The last group joins the streams word by word.
    std::uint32_t joined = 0;
    for (int k = 0; k < kStreams; ++k)
        joined = advanceWord(kAcrossWord, joined ^ states[k], bytes + k * kWordBytes);
    return joined;
}

std::uint32_t advanceByTables(std::uint32_t state, const unsigned char* bytes, std::size_t count) {
    const std::size_t grouped = count - count % kGroupBytes;
    if (grouped > 0)
        state = advanceGroups(state, bytes, grouped);
    for (std::size_t i = grouped; i < count; ++i)
        state = advanceByte(state, bytes[i]);
    return state;
}

#if defined(__PCLMUL__)

// By products without carry. A block of 128 bits is moved behind later bytes by multiplying its halves with the powers
// of x by which they lie apart; the product is congruent and as long as a block again. Four vectors of blocks are in
// flight; they are joined when fewer bytes are left. Only the last block is reduced, by the tables.

// x^exponent.
constexpr std::uint32_t powerOfX(int exponent) {
    std::uint32_t value = 0x80000000;
    for (int i = 0; i < exponent; ++i)
        value = timesX(value);
    return value;
}

// Factors of a block's first and second half for a distance in bytes. A reflected product lies one bit too low, hence
// the shift.
struct Factors {
    long long first;
    long long second;
};

constexpr Factors factorsOver(int bytes) {
    return {static_cast<long long>(powerOfX(8 * bytes + 32)) << 1, static_cast<long long>(powerOfX(8 * bytes - 32))
                                                                       << 1};
}

struct OneBlock {
    __m128i bits;

    static OneBlock load(const unsigned char* bytes) {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes))};
    }
    OneBlock withState(std::uint32_t state) const {
        return {_mm_xor_si128(bits, _mm_cvtsi32_si128(static_cast<int>(state)))};
    }
    OneBlock moved(Factors factors, OneBlock next) const {
        const __m128i pair = _mm_set_epi64x(factors.second, factors.first);
        const __m128i first = _mm_clmulepi64_si128(bits, pair, 0x00);
        const __m128i second = _mm_clmulepi64_si128(bits, pair, 0x11);
        return {_mm_xor_si128(_mm_xor_si128(first, second), next.bits)};
    }
};

template <class Blocks>
Blocks joined(Blocks a, Blocks b, Blocks c, Blocks d) {
    constexpr Factors kOverVector = factorsOver(sizeof(Blocks));
    return a.moved(kOverVector, b).moved(kOverVector, c).moved(kOverVector, d);
}

// Bytes that four vectors hold.
template <class Blocks>
constexpr std::size_t kStride = 4 * sizeof(Blocks);

// Takes as many bytes as whole strides hold, at least one of them, into one vector.
template <class Blocks>
Blocks takeStrides(std::uint32_t state, const unsigned char*& bytes, std::size_t& count) {
    constexpr Factors kOverStride = factorsOver(kStride<Blocks>);
    const auto at = [&bytes](int i) { return Blocks::load(bytes + i * static_cast<int>(sizeof(Blocks))); };
    Blocks a = at(0).withState(state);
    Blocks b = at(1);
    Blocks c = at(2);
    Blocks d = at(3);
    for (;;) {
        bytes += kStride<Blocks>;
        count -= kStride<Blocks>;
        if (count < kStride<Blocks>)
            return joined(a, b, c, d);
        a = a.moved(kOverStride, at(0));
        b = b.moved(kOverStride, at(1));
        c = c.moved(kOverStride, at(2));
        d = d.moved(kOverStride, at(3));
    }
}

// The state after a block that the state before it is already part of.
std::uint32_t reduced(OneBlock block) {
    unsigned char bytes[sizeof block];
    __builtin_memcpy(bytes, &block, sizeof block);
    return advanceByTables(0, bytes, sizeof bytes);
}

#if defined(__VPCLMULQDQ__) && defined(__AVX512F__)

struct FourBlocks {
    __m512i bits;

    static FourBlocks load(const unsigned char* bytes) { return {_mm512_loadu_si512(bytes)}; }
    FourBlocks withState(std::uint32_t state) const {
        return {_mm512_xor_si512(bits, _mm512_zextsi128_si512(_mm_cvtsi32_si128(static_cast<int>(state))))};
    }
    FourBlocks moved(Factors factors, FourBlocks next) const {
        const __m512i pairs = _mm512_set4_epi64(factors.second, factors.first, factors.second, factors.first);
        const __m512i first = _mm512_clmulepi64_epi128(bits, pairs, 0x00);
        const __m512i second = _mm512_clmulepi64_epi128(bits, pairs, 0x11);
        constexpr int kXorOfThree = 0x96;
        return {_mm512_ternarylogic_epi64(first, second, next.bits, kXorOfThree)};
    }
    OneBlock joined() const {
        return qx::joined(OneBlock{_mm512_extracti32x4_epi32(bits, 0)}, OneBlock{_mm512_extracti32x4_epi32(bits, 1)},
                          OneBlock{_mm512_extracti32x4_epi32(bits, 2)}, OneBlock{_mm512_extracti32x4_epi32(bits, 3)});
    }
};

void takeWideStrides(std::uint32_t& state, const unsigned char*& bytes, std::size_t& count) {
    if (count >= kStride<FourBlocks>)
        state = reduced(takeStrides<FourBlocks>(state, bytes, count).joined());
}

#else

void takeWideStrides(std::uint32_t&, const unsigned char*&, std::size_t&) {}

#endif

std::uint32_t advance(std::uint32_t state, const unsigned char* bytes, std::size_t count) {
    takeWideStrides(state, bytes, count);
    if (count >= kStride<OneBlock>)
        state = reduced(takeStrides<OneBlock>(state, bytes, count));
    return advanceByTables(state, bytes, count);
}

#else

std::uint32_t advance(std::uint32_t state, const unsigned char* bytes, std::size_t count) {
    return advanceByTables(state, bytes, count);
}

#endif

std::uint32_t update(std::uint32_t crc, const unsigned char* bytes, std::size_t count) noexcept {
    return ~advance(~crc, bytes, count);
}

}  // namespace

QX_TABLE_OF_LEVEL(CrcKernels) = {update};

}  // namespace qx
