#include "QxUtils/Files.h"

#include "files/Base64Encoding.h"
#include "kernels/VectorLevel.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace {

using qx::kBase64Alphabet;
using qx::kBase64Bytes;
using qx::kBase64Characters;

constexpr char kPadding = '=';
constexpr std::uint8_t kNotInAlphabet = 255;

std::size_t encodeGroups(const unsigned char* bytes, std::size_t length, char* characters) noexcept {
    const std::size_t shuffled =
        qx::vectorLevel() >= qx::VectorLevel::V3 ? qx::encodeByShuffles(bytes, length, characters) : 0;
    return shuffled + qx::encodeByTable(bytes + shuffled * kBase64Bytes, length - shuffled * kBase64Bytes,
                                        characters + shuffled * kBase64Characters);
}

// A group that lacks one or two bytes.
void encodeRest(const unsigned char* bytes, std::size_t length, char* characters) noexcept {
    const std::array<unsigned char, kBase64Bytes> padded = {bytes[0], length > 1 ? bytes[1] : std::uint8_t{0}, 0};
    qx::encodeByTable(padded.data(), padded.size(), characters);
    std::memset(characters + length + 1, kPadding, kBase64Bytes - length);
}

constexpr std::array<std::uint8_t, 256> makeIndices() {
    std::array<std::uint8_t, 256> indices{};
    indices.fill(kNotInAlphabet);
    for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i)
        indices[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<std::uint8_t>(i);
    return indices;
}

constexpr std::array<std::uint8_t, 256> kIndices = makeIndices();

// Four characters of a text, and what they are worth; behind the text's end follow zeros.
struct Group {
    std::array<char, kBase64Characters> characters{};
    std::array<unsigned, kBase64Characters> indices{};

    explicit Group(const char*& text) noexcept {
        for (std::size_t i = 0; i < kBase64Characters; ++i) {
            characters[i] = *text;
            indices[i] = kIndices[static_cast<unsigned char>(*text)];
            text += *text != '\0';
        }
    }
};

}  // namespace

char* base64_encode(const char* source, char* destination, int length) {
    if (destination == nullptr)
        return destination;
    const auto* const bytes = reinterpret_cast<const unsigned char*>(source);
    const std::size_t count = source != nullptr && length > 0 ? static_cast<std::size_t>(length) : 0;
    const std::size_t groups = encodeGroups(bytes, count, destination);
    char* end = destination + groups * kBase64Characters;
    if (const std::size_t rest = count - groups * kBase64Bytes; rest > 0) {
        encodeRest(bytes + groups * kBase64Bytes, rest, end);
        end += kBase64Characters;
    }
    *end = '\0';
    return destination;
}

int base64_decode(const char* source, char* destination) {
    if (source == nullptr || destination == nullptr)
        return 0;
    std::size_t count = 0;
    const auto put = [&](unsigned byte) { destination[count++] = static_cast<char>(byte & 0xFF); };
    while (*source != '\0') {
        // Kept: nothing is skipped or refused; line ends and padding decode to bytes as well.
        const auto [characters, index] = Group(source);
        put(index[0] << 2 | (index[1] >> 4 & 0x03));
        if (characters[2] == kPadding)
            break;
        put(index[1] << 4 | (index[2] >> 2 & 0x0F));
        if (characters[3] == kPadding)
            break;
        put(index[2] << 6 | (index[3] & 0x3F));
    }
    return static_cast<int>(count);
}
