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

int decodeBase64(const char* source, char* destination) {
    int count = 0;
    while (*source != '\0') {
        char group[4] = {};
        for (int i = 0; i < 4 && *source != '\0'; ++i)
            group[i] = *source++;
        const unsigned index[4] = {indexOf(group[0]), indexOf(group[1]), indexOf(group[2]), indexOf(group[3])};
        destination[count++] = static_cast<char>(index[0] << 2 | (index[1] >> 4 & 3u));
        if (group[2] == '=')
            break;
        destination[count++] = static_cast<char>(index[1] << 4 | (index[2] >> 2 & 15u));
        if (group[3] == '=')
            break;
        destination[count++] = static_cast<char>(index[2] << 6 | (index[3] & 63u));
    }
    return count;
}

std::string encodedBase64(const std::string& bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    return encodeBase64(bytes.data(), text.data(), static_cast<int>(bytes.size()));
}

std::string decodedBase64(const std::string& text) {
    std::string bytes((text.size() + 3) / 4 * 3, '\0');
    bytes.resize(static_cast<std::size_t>(decodeBase64(text.c_str(), bytes.data())));
    return bytes;
}

}  // namespace qx::plain
