#include "text/FileName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>

namespace qx::tool {
namespace {

constexpr std::uint32_t kFirstSurrogate = 0xD800;
constexpr std::uint32_t kLastSurrogate = 0xDFFF;
constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

// The bytes of a sequence that begins so, and the smallest code point that needs as many.
struct Lead {
    unsigned mask;
    unsigned value;
    std::size_t bytes;
    std::uint32_t smallest;
};

constexpr std::array<Lead, 4> kLeads = {
    {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};

bool isControl(std::uint32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0);
}

enum class Controls { Refused, Taken };

// Bytes of the character that the text begins with, or 0.
std::size_t characterBytes(std::string_view text, Controls controls = Controls::Refused) {
    const unsigned first = static_cast<unsigned char>(text.front());
    const auto lead = std::ranges::find_if(kLeads, [=](const Lead& kind) { return (first & kind.mask) == kind.value; });
    if (lead == kLeads.end() || text.size() < lead->bytes)
        return 0;
    std::uint32_t point = first & ~lead->mask;
    for (const char next : text.substr(1, lead->bytes - 1)) {
        const unsigned byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80)
            return 0;
        point = point << 6 | (byte & 0x3FU);
    }
    const bool isSurrogate = point >= kFirstSurrogate && point <= kLastSurrogate;
    const bool isRefused = controls == Controls::Refused && isControl(point);
    return point < lead->smallest || point > kLastCodePoint || isSurrogate || isRefused ? 0 : lead->bytes;
}

// Hands over the pieces of the text as a terminal shows them, with other bytes than those of characters as \xNN.
template <class Take>
void visitPrintable(std::string_view text, Take take, Controls controls = Controls::Refused) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    while (!text.empty()) {
        const std::size_t bytes = characterBytes(text, controls);
        const unsigned value = static_cast<unsigned char>(text.front());
        const std::array escaped = {'\\', 'x', kDigits[value >> 4], kDigits[value & 0xF]};
        take(bytes == 0 ? std::string_view(escaped.data(), escaped.size()) : text.substr(0, bytes));
        text.remove_prefix(std::max<std::size_t>(bytes, 1));
    }
}

}  // namespace

std::filesystem::path toPath(const std::string& name) {
    return {std::u8string(name.begin(), name.end())};
}

std::string toName(const std::filesystem::path& path) {
    const std::u8string name = path.generic_u8string();
    return {name.begin(), name.end()};
}

std::string printable(std::string_view text) {
    std::string line;
    visitPrintable(text, [&line](std::string_view piece) { line += piece; });
    return line;
}

std::string inUtf8(std::string_view text) {
    std::string line;
    visitPrintable(
        text, [&line](std::string_view piece) { line += piece; }, Controls::Taken);
    return line;
}

bool isPlainText(std::string_view text) {
    while (!text.empty()) {
        const bool isSpace = text.front() == '\t' || text.front() == '\n' || text.front() == '\r';
        const std::size_t bytes = isSpace ? 1 : characterBytes(text);
        if (bytes == 0)
            return false;
        text.remove_prefix(bytes);
    }
    return true;
}

bool hasEnding(std::string_view name, std::string_view ending) {
    const auto isSame = [](unsigned char first, unsigned char second) {
        return std::tolower(first) == std::tolower(second);
    };
    return name.size() >= ending.size() && std::ranges::equal(name.substr(name.size() - ending.size()), ending, isSame);
}

void printErrorLine(const char* message) noexcept {
    try {
        std::fprintf(stderr, "qxutils: %s\n", printable(message).c_str());
    } catch (const std::bad_alloc&) {
        std::fputs("qxutils: ", stderr);
        visitPrintable(message, [](std::string_view piece) { std::fwrite(piece.data(), 1, piece.size(), stderr); });
        std::fputs("\n", stderr);
    }
}

}  // namespace qx::tool
