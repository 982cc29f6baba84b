#include "files/Base64Encoding.h"

#include <array>
#include <cstdint>
#include <cstring>

// Twelve bits make two characters, looked up at once.

namespace qx {
namespace {

using CharacterPair = std::array<char, 2>;

constexpr std::array<CharacterPair, 4096> makePairs() {
    std::array<CharacterPair, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {kBase64Alphabet[bits >> 6], kBase64Alphabet[bits & 0x3F]};
    return pairs;
}

constexpr std::array<CharacterPair, 4096> kPairs = makePairs();

}  // namespace

std::size_t encodeByTable(const unsigned char* bytes, std::size_t length, char* characters) noexcept {
    const std::size_t groups = length / kBase64Bytes;
    for (std::size_t group = 0; group < groups; ++group, bytes += kBase64Bytes, characters += kBase64Characters) {
        const std::uint32_t bits =
            static_cast<std::uint32_t>(bytes[0]) << 16 | static_cast<std::uint32_t>(bytes[1]) << 8 | bytes[2];
        std::memcpy(characters, &kPairs[bits >> 12], sizeof(CharacterPair));
        std::memcpy(characters + 2, &kPairs[bits & 0xFFF], sizeof(CharacterPair));
    }
    return groups;
}

}  // namespace qx
