#pragma once

// What VectorLanes.h leaves to the processor, for x86-64: vectors of 16 bytes, with AVX2 of 32, with AVX-512 of 64.

#include "kernels/levels/LaneTypes.h"

#include <immintrin.h>

namespace {

// Operations that have one name a width.
#if defined(__AVX512F__)
#define QX_WIDE(operation) _mm512_##operation
typedef __m512i Bits;
#elif defined(__AVX2__)
#define QX_WIDE(operation) _mm256_##operation
typedef __m256i Bits;
#else
#define QX_WIDE(operation) _mm_##operation
typedef __m128i Bits;
#endif

#if defined(__AVX512F__)

inline Shorts loadShorts(const std::uint16_t* values) {
    return Shorts(_mm512_loadu_si512(values));
}
inline Shorts differenceSaturated(Shorts a, Shorts b) {
    return Shorts(_mm512_subs_epi16(__m512i(a), __m512i(b)));
}
inline Uints sumOfProductPairs(Shorts a, Shorts b) {
    return Uints(_mm512_madd_epi16(__m512i(a), __m512i(b)));
}
inline Ints loadPixels(const std::uint16_t* pixels) {
    return Ints(_mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels))));
}
inline Ints loadInts(const void* values) {
    return Ints(_mm512_loadu_si512(values));
}
// From each place on, two 16-bit values.
inline Ints gatherPairs(const std::uint16_t* values, Ints places) {
    return Ints(_mm512_i32gather_epi32(__m512i(places), values, 2));
}
inline Doubles loadAsDoubles(const float* values) {
    return _mm512_cvtps_pd(_mm256_loadu_ps(values));
}
inline Doubles lowDoubles(Floats v) {
    return _mm512_cvtps_pd(_mm512_castps512_ps256(v));
}
inline Doubles highDoubles(Floats v) {
    return _mm512_cvtps_pd(_mm512_extractf32x8_ps(v, 1));
}
inline Doubles lowDoubles(Ints v) {
    return _mm512_cvtepi32_pd(_mm512_castsi512_si256(__m512i(v)));
}
inline Doubles highDoubles(Ints v) {
    return _mm512_cvtepi32_pd(_mm512_extracti32x8_epi32(__m512i(v), 1));
}

#elif defined(__AVX2__)

inline Shorts loadShorts(const std::uint16_t* values) {
    return Shorts(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(values)));
}
inline Shorts differenceSaturated(Shorts a, Shorts b) {
    return Shorts(_mm256_subs_epi16(__m256i(a), __m256i(b)));
}
inline Uints sumOfProductPairs(Shorts a, Shorts b) {
    return Uints(_mm256_madd_epi16(__m256i(a), __m256i(b)));
}
inline Ints loadPixels(const std::uint16_t* pixels) {
    return Ints(_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels))));
}
inline Ints loadInts(const void* values) {
    return Ints(_mm256_loadu_si256(static_cast<const __m256i*>(values)));
}
inline Ints gatherPairs(const std::uint16_t* values, Ints places) {
    return Ints(_mm256_i32gather_epi32(reinterpret_cast<const int*>(values), __m256i(places), 2));
}
inline Doubles loadAsDoubles(const float* values) {
    return _mm256_cvtps_pd(_mm_loadu_ps(values));
}
inline Doubles lowDoubles(Floats v) {
    return _mm256_cvtps_pd(_mm256_castps256_ps128(v));
}
inline Doubles highDoubles(Floats v) {
    return _mm256_cvtps_pd(_mm256_extractf128_ps(v, 1));
}
inline Doubles lowDoubles(Ints v) {
    return _mm256_cvtepi32_pd(_mm256_castsi256_si128(__m256i(v)));
}
inline Doubles highDoubles(Ints v) {
    return _mm256_cvtepi32_pd(_mm256_extracti128_si256(__m256i(v), 1));
}

#else

inline Shorts loadShorts(const std::uint16_t* values) {
    return Shorts(_mm_loadu_si128(reinterpret_cast<const __m128i*>(values)));
}
inline Shorts differenceSaturated(Shorts a, Shorts b) {
    return Shorts(_mm_subs_epi16(__m128i(a), __m128i(b)));
}
inline Uints sumOfProductPairs(Shorts a, Shorts b) {
    return Uints(_mm_madd_epi16(__m128i(a), __m128i(b)));
}
inline Ints loadPixels(const std::uint16_t* pixels) {
    const __m128i half = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pixels));
    return Ints(_mm_unpacklo_epi16(half, _mm_setzero_si128()));
}
inline Ints loadInts(const void* values) {
    return Ints(_mm_loadu_si128(static_cast<const __m128i*>(values)));
}
inline Doubles loadAsDoubles(const float* values) {
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(values))));
}
inline Doubles lowDoubles(Floats v) {
    return _mm_cvtps_pd(v);
}
inline Doubles highDoubles(Floats v) {
    return _mm_cvtps_pd(_mm_movehl_ps(v, v));
}
inline Doubles lowDoubles(Ints v) {
    return _mm_cvtepi32_pd(__m128i(v));
}
inline Doubles highDoubles(Ints v) {
    return _mm_cvtepi32_pd(_mm_unpackhi_epi64(__m128i(v), __m128i(v)));
}

#endif

// Sums and differences of unsigned 16-bit lanes that stop at their ends.
inline Bits unsignedSum(Bits a, Bits b) {
    return QX_WIDE(adds_epu16)(a, b);
}
inline Bits unsignedDifference(Bits a, Bits b) {
    return QX_WIDE(subs_epu16)(a, b);
}

// Of unsigned 16-bit lanes.
#if defined(__AVX2__)
inline Bits smallerShorts(Bits a, Bits b) {
    return QX_WIDE(min_epu16)(a, b);
}
inline Bits largerShorts(Bits a, Bits b) {
    return QX_WIDE(max_epu16)(a, b);
}
#else
inline Bits smallerShorts(Bits a, Bits b) {
    return _mm_sub_epi16(a, _mm_subs_epu16(a, b));
}
inline Bits largerShorts(Bits a, Bits b) {
    return _mm_add_epi16(b, _mm_subs_epu16(a, b));
}
#endif

// The second where they are equal or one is not a number.
inline Floats smallerOf(Floats a, Floats b) {
    return Floats(QX_WIDE(min_ps)(a, b));
}
inline Floats largerOf(Floats a, Floats b) {
    return Floats(QX_WIDE(max_ps)(a, b));
}
inline Doubles largerOf(Doubles a, Doubles b) {
    return Doubles(QX_WIDE(max_pd)(a, b));
}

// What does not fit becomes the lowest integer.
inline Ints truncatedInts(Floats values) {
    return Ints(QX_WIDE(cvttps_epi32)(values));
}

// Integers close to the values, in their order. What is too low becomes the lowest integer.
inline Ints closeInts(Floats values) {
    return Ints(QX_WIDE(cvtps_epi32)(values));
}

// The elements of both vectors in turn, from the first or second halves of their pieces.
inline Bits lowShortsOf(Bits a, Bits b) {
    return QX_WIDE(unpacklo_epi16)(a, b);
}
inline Bits highShortsOf(Bits a, Bits b) {
    return QX_WIDE(unpackhi_epi16)(a, b);
}
inline Bits lowIntsOf(Bits a, Bits b) {
    return QX_WIDE(unpacklo_epi32)(a, b);
}
inline Bits highIntsOf(Bits a, Bits b) {
    return QX_WIDE(unpackhi_epi32)(a, b);
}
inline Bits lowLongsOf(Bits a, Bits b) {
    return QX_WIDE(unpacklo_epi64)(a, b);
}
inline Bits highLongsOf(Bits a, Bits b) {
    return QX_WIDE(unpackhi_epi64)(a, b);
}

// Two vectors of numbers 0..65535 as pixels side by side.
inline void storePixels(std::uint16_t* pixels, Ints low, Ints high) {
#if defined(__AVX512F__)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), _mm512_cvtepi32_epi16(__m512i(low)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + kLanes), _mm512_cvtepi32_epi16(__m512i(high)));
#elif defined(__AVX2__)
    const __m256i packed = _mm256_packus_epi32(__m256i(low), __m256i(high));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels), _mm256_permute4x64_epi64(packed, 0xD8));
#else
    // Packing saturates as signed numbers.
    const __m128i packed = _mm_packs_epi32(__m128i(low - 32768), __m128i(high - 32768));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), _mm_xor_si128(packed, _mm_set1_epi16(-32768)));
#endif
}

// Four vectors of integers as bytes side by side; those beyond a byte's ends become the ends.
inline void storeBytes(std::int8_t* bytes, const Ints* four) {
#if defined(__AVX512F__)
    for (int i = 0; i < 4; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + i * kLanes), _mm512_cvtsepi32_epi8(__m512i(four[i])));
#elif defined(__AVX2__)
    const __m256i low = _mm256_packs_epi32(__m256i(four[0]), __m256i(four[1]));
    const __m256i high = _mm256_packs_epi32(__m256i(four[2]), __m256i(four[3]));
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i packed = _mm256_permutevar8x32_epi32(_mm256_packs_epi16(low, high), order);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), packed);
#else
    const __m128i low = _mm_packs_epi32(__m128i(four[0]), __m128i(four[1]));
    const __m128i high = _mm_packs_epi32(__m128i(four[2]), __m128i(four[3]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), _mm_packs_epi16(low, high));
#endif
}

// Vectors of pieces that lie `stride` bytes apart.
inline Bits loadPieces(const void* first, std::ptrdiff_t stride) {
    const auto piece = [&](int i) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(static_cast<const char*>(first) + i * stride));
    };
#if defined(__AVX512F__)
    const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(piece(0)), piece(1), 1);
    const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(piece(2)), piece(3), 1);
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
#elif defined(__AVX2__)
    return _mm256_inserti128_si256(_mm256_castsi128_si256(piece(0)), piece(1), 1);
#else
    return piece(0);
#endif
}

// Exchanges piece j of v[i] and piece i of v[j].
inline void transposePieces(Bits* v) {
#if defined(__AVX512F__)
    const Bits a = _mm512_shuffle_i64x2(v[0], v[1], 0x44);
    const Bits b = _mm512_shuffle_i64x2(v[0], v[1], 0xEE);
    const Bits c = _mm512_shuffle_i64x2(v[2], v[3], 0x44);
    const Bits d = _mm512_shuffle_i64x2(v[2], v[3], 0xEE);
    v[0] = _mm512_shuffle_i64x2(a, c, 0x88);
    v[1] = _mm512_shuffle_i64x2(a, c, 0xDD);
    v[2] = _mm512_shuffle_i64x2(b, d, 0x88);
    v[3] = _mm512_shuffle_i64x2(b, d, 0xDD);
#elif defined(__AVX2__)
    const Bits first = v[0];
    v[0] = _mm256_permute2x128_si256(first, v[1], 0x20);
    v[1] = _mm256_permute2x128_si256(first, v[1], 0x31);
#else
    static_cast<void>(v);
#endif
}

// count + 1 in the lanes where a < b.
inline Ints countLess(Ints count, Ints a, Ints b) {
#if defined(__AVX512F__)
    const __mmask16 less = _mm512_cmplt_epi32_mask(__m512i(a), __m512i(b));
    return Ints(_mm512_mask_add_epi32(__m512i(count), less, __m512i(count), _mm512_set1_epi32(1)));
#else
    return count - (a < b);
#endif
}

// count + 1 in the lanes where a < b, of signed 16-bit lanes.
inline Shorts countLess(Shorts count, Shorts a, Shorts b) {
#if defined(__AVX512F__)
    const __mmask32 less = _mm512_cmplt_epi16_mask(__m512i(a), __m512i(b));
    return Shorts(_mm512_mask_add_epi16(__m512i(count), less, __m512i(count), _mm512_set1_epi16(1)));
#else
    return count - (a < b);
#endif
}

// count + 1 in the lanes where a < b, of signed bytes; counts go on beyond 127.
inline Bytes countLess(Bytes count, Bytes a, Bytes b) {
#if defined(__AVX512F__)
    const __mmask64 less = _mm512_cmplt_epi8_mask(__m512i(a), __m512i(b));
    return Bytes(_mm512_mask_add_epi8(__m512i(count), less, __m512i(count), _mm512_set1_epi8(1)));
#else
    return Bytes(UnsignedBytes(count) - UnsignedBytes(a < b));
#endif
}

// A bit for each byte that is the same in both.
inline std::uint64_t bitsOfEqual(Bytes a, Bytes b) {
#if defined(__AVX512F__)
    return _mm512_cmpeq_epi8_mask(__m512i(a), __m512i(b));
#elif defined(__AVX2__)
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(__m256i(a == b)));
#else
    return static_cast<std::uint32_t>(_mm_movemask_epi8(__m128i(a == b)));
#endif
}

// Whether a comparison holds in any lane.
inline bool anyLane(Ints mask) {
#if defined(__AVX512F__)
    return _mm512_test_epi32_mask(__m512i(mask), __m512i(mask)) != 0;
#elif defined(__AVX2__)
    return _mm256_movemask_ps(__m256(mask)) != 0;
#else
    return _mm_movemask_ps(__m128(mask)) != 0;
#endif
}

// One value from all lanes, by an operation on two vectors of any width.
typedef std::int32_t FourInts __attribute__((vector_size(16)));
template <class Operation>
inline std::int32_t folded(Ints v, Operation operation) {
#if defined(__AVX512F__)
    const __m256i low = _mm512_castsi512_si256(__m512i(v));
    const __m256i high = _mm512_extracti32x8_epi32(__m512i(v), 1);
    typedef std::int32_t EightInts __attribute__((vector_size(32)));
    const EightInts half = operation(EightInts(low), EightInts(high));
#elif defined(__AVX2__)
    const Ints half = v;
#endif
#if defined(__AVX2__)
    const __m256i wide = __m256i(half);
    const FourInts four =
        operation(FourInts(_mm256_castsi256_si128(wide)), FourInts(_mm256_extracti128_si256(wide, 1)));
#else
    const FourInts four = v;
#endif
    const FourInts two = operation(four, FourInts(_mm_shuffle_epi32(__m128i(four), 0x4E)));
    const FourInts one = operation(two, FourInts(_mm_shuffle_epi32(__m128i(two), 0xB1)));
    return _mm_cvtsi128_si32(__m128i(one));
}

#undef QX_WIDE

}  // namespace
