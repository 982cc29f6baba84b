#include "QxUtils/Files.h"

#include "kernels/Base64Kernels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace {

using qx::kBase64Bytes;
using qx::kBase64Characters;

constexpr std::string_view kAlphabet = qx::kBase64Alphabet;
constexpr char kPadding = '=';
constexpr std::uint8_t kNotInAlphabet = 255;

// A group that lacks one or two bytes.
void encodeRest(const unsigned char* bytes, int length, char* characters) noexcept {
    std::array<unsigned char, kBase64Bytes> padded{};
    std::copy_n(bytes, length, padded.begin());
    qx::base64Kernels().encode(padded.data(), 1, characters);
    std::fill_n(characters + length + 1, kBase64Bytes - length, kPadding);
}

constexpr std::array<std::uint8_t, 256> makeIndices() {
    std::array<std::uint8_t, 256> indices{};
    indices.fill(kNotInAlphabet);
    for (std::size_t i = 0; i < kAlphabet.size(); ++i)
        indices[static_cast<unsigned char>(kAlphabet[i])] = static_cast<std::uint8_t>(i);
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
    const int count = source != nullptr && length > 0 ? length : 0;
    const std::ptrdiff_t groups = count / kBase64Bytes;
    qx::base64Kernels().encode(bytes, groups, destination);
    char* end = destination + groups * kBase64Characters;
    if (const int rest = count % kBase64Bytes; rest > 0) {
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
