#include "text/TextWidth.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace qx::tool {
namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Bytes of the character at the beginning of a text.
std::size_t firstBytes(std::string_view text) {
    constexpr std::size_t kMostBytes = 4;
    std::size_t bytes = 1;
    while (bytes < std::min(text.size(), kMostBytes) && continuesCharacter(text[bytes]))
        ++bytes;
    return bytes;
}

struct CodeRange {
    std::uint32_t first;
    std::uint32_t last;
};

// Those of the East Asian scripts and of pictures, which fill two places each.
constexpr CodeRange kWide[] = {{0x1100, 0x115F},  {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xA960, 0xA97F},
                               {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},
                               {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF},
                               {0x20000, 0x3FFFD}};

// Those that stand on the character before them.
constexpr CodeRange kCombining[] = {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
                                    {0x20D0, 0x20FF}, {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};

bool isIn(std::span<const CodeRange> ranges, std::uint32_t code) {
    return std::ranges::any_of(ranges,
                               [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

// Places that one character takes.
std::size_t placesOf(std::string_view character) {
    // The bits of a first byte that are not its length, and six of each further one.
    std::uint32_t code = static_cast<unsigned char>(character.front()) & (0xFFU >> character.size());
    for (const char byte : character.substr(1))
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    return isIn(kCombining, code) ? 0 : isIn(kWide, code) ? 2 : 1;
}

// Bytes of as much of a text as width takes, of one character at least.
std::size_t bytesWithin(std::string_view text, std::size_t width) {
    std::size_t bytes = firstBytes(text);
    std::size_t places = placesOf(text.substr(0, bytes));
    while (bytes < text.size()) {
        const std::string_view next = text.substr(bytes, firstBytes(text.substr(bytes)));
        places += placesOf(next);
        if (places > width)
            break;
        bytes += next.size();
    }
    return bytes;
}

std::vector<std::string_view> wordsOf(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t begin = 0; (begin = text.find_first_not_of(' ', begin)) != std::string_view::npos;) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = end;
    }
    return words;
}

void appendCut(std::vector<std::string>& lines, std::string_view word, std::size_t width) {
    for (std::size_t bytes = 0; !word.empty(); word.remove_prefix(bytes)) {
        bytes = bytesWithin(word, width);
        const std::size_t folder = word.substr(0, bytes).find_last_of("/\\");
        if (bytes < word.size() && folder != std::string_view::npos && folder >= bytes / 2)
            bytes = folder + 1;
        lines.emplace_back(word.substr(0, bytes));
    }
}

}  // namespace

std::size_t textWidth(std::string_view text) {
    std::size_t places = 0;
    for (std::size_t bytes = 0; !text.empty(); text.remove_prefix(bytes)) {
        bytes = firstBytes(text);
        places += placesOf(text.substr(0, bytes));
    }
    return places;
}

std::size_t widestWord(std::string_view text) {
    std::size_t widest = 0;
    for (const std::string_view word : wordsOf(text))
        widest = std::max(widest, textWidth(word));
    return widest;
}

std::vector<std::string> wrapText(std::string_view text, std::size_t width) {
    if (textWidth(text) <= width)
        return {std::string(text)};
    std::vector<std::string> lines;
    for (const std::string_view word : wordsOf(text)) {
        if (!lines.empty() && textWidth(lines.back()) + 1 + textWidth(word) <= width)
            lines.back().append(" ").append(word);
        else
            appendCut(lines, word, std::max<std::size_t>(width, 1));
    }
    return lines;
}

std::string joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words)
        text.append(text.empty() ? "" : between).append(word);
    return text;
}

}  // namespace qx::tool
