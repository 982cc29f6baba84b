#include "files/Base64Encoding.h"

#include <immintrin.h>

// W. Mula, D. Lemire: Faster Base64 Encoding and Decoding Using AVX2 Instructions, ACM Transactions on the Web 12
// (2018): 24 bytes are spread over 32 lanes, six bits each, and an index becomes a character by an offset that depends
// on the range it is in.

namespace qx {
namespace {

#define QX_SHUFFLES __attribute__((target("avx2")))

constexpr std::size_t kHalfBytes = 12;
constexpr std::size_t kStepGroups = 8;
constexpr std::size_t kReadBytes = kHalfBytes + 16;  // the second half's load goes beyond its bytes

QX_SHUFFLES __m256i load(const unsigned char* bytes) noexcept {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + kHalfBytes));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// The four indices of each group, a byte each.
QX_SHUFFLES __m256i indices(__m256i bytes) noexcept {
    const __m256i order = _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    const __m256i groups = _mm256_shuffle_epi8(bytes, order);
    // A product with a power of two shifts; each 16-bit lane holds two indices that need different shifts.
    const __m256i firstAndThird =
        _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i secondAndFourth =
        _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(firstAndThird, secondAndFourth);
}

QX_SHUFFLES __m256i charactersOf(__m256i index) noexcept {
    // Ranges: 0 small letters, 1 to 10 a digit each, 11 and 12 the signs, 13 capital letters.
    constexpr char kSmall = 'a' - 26;
    constexpr char kDigit = '0' - 52;
    constexpr char kPlus = '+' - 62;
    constexpr char kSlash = '/' - 63;
    const __m256i offsets =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(kSmall, kDigit, kDigit, kDigit, kDigit, kDigit, kDigit, kDigit,
                                                  kDigit, kDigit, kDigit, kPlus, kSlash, 'A', 0, 0));
    const __m256i capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), index);
    const __m256i range =
        _mm256_or_si256(_mm256_subs_epu8(index, _mm256_set1_epi8(51)), _mm256_and_si256(capital, _mm256_set1_epi8(13)));
    return _mm256_add_epi8(index, _mm256_shuffle_epi8(offsets, range));
}

}  // namespace

QX_SHUFFLES std::size_t encodeByShuffles(const unsigned char* bytes, std::size_t length, char* characters) noexcept {
    std::size_t groups = 0;
    for (; length - groups * kBase64Bytes >= kReadBytes; groups += kStepGroups) {
        const __m256i encoded = charactersOf(indices(load(bytes + groups * kBase64Bytes)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(characters + groups * kBase64Characters), encoded);
    }
    return groups;
}

}  // namespace qx
