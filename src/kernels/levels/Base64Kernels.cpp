#include "kernels/Base64Kernels.h"

#include <cstdint>
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace qx {
namespace {

// Twelve bits make two characters, looked up at once.
struct CharacterPairs {
    char of[4096][2];
};

consteval CharacterPairs makePairs() {
    CharacterPairs pairs{};
    for (int bits = 0; bits < 4096; ++bits) {
        pairs.of[bits][0] = kBase64Alphabet[bits >> 6];
        pairs.of[bits][1] = kBase64Alphabet[bits & 0x3F];
    }
    return pairs;
}

constexpr CharacterPairs kPairs = makePairs();

void encodeByTable(const unsigned char* bytes, std::ptrdiff_t groups, char* characters) {
    for (std::ptrdiff_t group = 0; group < groups; ++group, bytes += kBase64Bytes, characters += kBase64Characters) {
        const unsigned bits = unsigned{bytes[0]} << 16 | unsigned{bytes[1]} << 8 | bytes[2];
        __builtin_memcpy(characters, kPairs.of[bits >> 12], 2);
        __builtin_memcpy(characters + 2, kPairs.of[bits & 0xFFF], 2);
    }
}

#if defined(__AVX2__)

// W. Mula, D. Lemire: Faster Base64 Encoding and Decoding Using AVX2 Instructions, ACM Transactions on the Web 12
// (2018): 24 bytes are spread over 32 lanes, six bits each, and an index becomes a character by an offset that depends
// on the range it is in.

constexpr int kStepGroups = 8;
constexpr int kHalfBytes = kStepGroups / 2 * kBase64Bytes;
constexpr int kReadGroups = 10;  // the second half's load goes beyond its bytes
static_assert(kHalfBytes + sizeof(__m128i) <= kReadGroups * kBase64Bytes);

__m256i load(const unsigned char* bytes) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + kHalfBytes));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}

// The four indices of each group, a byte each.
__m256i indicesOf(__m256i bytes) {
    const __m256i order = _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10));
    const __m256i groups = _mm256_shuffle_epi8(bytes, order);
    // A product with a power of two shifts; each 16-bit lane holds two indices that need different shifts.
    const __m256i firstAndThird =
        _mm256_mulhi_epu16(_mm256_and_si256(groups, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
    const __m256i secondAndFourth =
        _mm256_mullo_epi16(_mm256_and_si256(groups, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
    return _mm256_or_si256(firstAndThird, secondAndFourth);
}

__m256i charactersOf(__m256i indices) {
    // Ranges: 0 small letters, 1 to 10 a digit each, 11 and 12 the signs, 13 capital letters.
    constexpr char kSmall = 'a' - 26;
    constexpr char kDigit = '0' - 52;
    constexpr char kPlus = '+' - 62;
    constexpr char kSlash = '/' - 63;
    const __m256i offsets =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(kSmall, kDigit, kDigit, kDigit, kDigit, kDigit, kDigit, kDigit,
                                                  kDigit, kDigit, kDigit, kPlus, kSlash, 'A', 0, 0));
    const __m256i capital = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), indices);
    const __m256i range = _mm256_or_si256(_mm256_subs_epu8(indices, _mm256_set1_epi8(51)),
                                          _mm256_and_si256(capital, _mm256_set1_epi8(13)));
    return _mm256_add_epi8(indices, _mm256_shuffle_epi8(offsets, range));
}

void encode(const unsigned char* bytes, std::ptrdiff_t groups, char* characters) noexcept {
    for (; groups >= kReadGroups; groups -= kStepGroups) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(characters), charactersOf(indicesOf(load(bytes))));
        bytes += kStepGroups * kBase64Bytes;
        characters += kStepGroups * kBase64Characters;
    }
    encodeByTable(bytes, groups, characters);
}

#else

void encode(const unsigned char* bytes, std::ptrdiff_t groups, char* characters) noexcept {
    encodeByTable(bytes, groups, characters);
}

#endif

}  // namespace

QX_TABLE_OF_LEVEL(Base64Kernels) = {encode};

}  // namespace qx
