#include "reference/files/PlainBase64.h"

#include <string_view>

namespace qx::plain {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

unsigned indexOf(char character) {
    const std::size_t index = kAlphabet.find(character);
    return index == std::string_view::npos ? 255u : static_cast<unsigned>(index);
}

}  // namespace

char* encodeBase64(const char* source, char* destination, int length) {
    char* out = destination;
    for (int left = length; left > 0; left -= 3) {
        unsigned bytes[3] = {};
        for (int i = 0; i < 3 && i < left; ++i)
            bytes[i] = static_cast<unsigned char>(*source++);
        *out++ = kAlphabet[bytes[0] >> 2];
        *out++ = kAlphabet[(bytes[0] & 3u) << 4 | bytes[1] >> 4];
        *out++ = left < 2 ? '=' : kAlphabet[(bytes[1] & 15u) << 2 | bytes[2] >> 6];
        *out++ = left < 3 ? '=' : kAlphabet[bytes[2] & 63u];
    }
    *out = '\0';
    return destination;
}

std::string encodedBase64(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    return encodeBase64(bytes.data(), text.data(), static_cast<int>(bytes.size()));
}

std::string decodedBase64(const std::string& text) {
    const std::string_view characters = text.c_str();
    std::string bytes;
    for (std::size_t i = 0; i < characters.size(); i += 4) {
        const auto at = [&](std::size_t k) { return i + k < characters.size() ? characters[i + k] : '\0'; };
        const unsigned index[4] = {indexOf(at(0)), indexOf(at(1)), indexOf(at(2)), indexOf(at(3))};
        bytes += static_cast<char>(index[0] << 2 | (index[1] >> 4 & 3u));
        if (at(2) == '=')
            break;
        bytes += static_cast<char>(index[1] << 4 | (index[2] >> 2 & 15u));
        if (at(3) == '=')
            break;
        bytes += static_cast<char>(index[2] << 6 | (index[3] & 63u));
    }
    return bytes;
}

}  // namespace qx::plain
