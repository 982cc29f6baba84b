#pragma once

// Vectors of the level that a kernel source is compiled for. Arithmetic is written with the compiler's vector
// operators; only the conversions between element widths are spelled out. Everything is local to the including
// source: an inline function shared between levels would carry one level's instructions into the others.

#include <cstdint>
#include <immintrin.h>

namespace {

#if defined(__AVX512F__)
constexpr int kVectorBytes = 64;
#elif defined(__AVX2__)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif

constexpr int kLanes = kVectorBytes / 4;

typedef std::int16_t Shorts __attribute__((vector_size(kVectorBytes)));
typedef std::uint32_t Uints __attribute__((vector_size(kVectorBytes)));
typedef std::int32_t Ints __attribute__((vector_size(kVectorBytes)));
typedef float Floats __attribute__((vector_size(kVectorBytes)));
typedef double Doubles __attribute__((vector_size(kVectorBytes)));

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

inline Floats toFloats(Ints v) {
    return __builtin_convertvector(v, Floats);
}

}  // namespace
