#include "text/TextWidth.h"

#include <algorithm>

namespace qx::tool {
namespace {

bool continuesCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Bytes of the character at the beginning of a text.
std::size_t firstBytes(std::string_view text) {
    std::size_t bytes = 1;
    while (bytes < text.size() && continuesCharacter(text[bytes]))
        ++bytes;
    return bytes;
}

// Bytes of as much of a text as width takes.
std::size_t bytesWithin(std::string_view text, std::size_t width) {
    std::size_t bytes = 0;
    for (; bytes < text.size() && width > 0; --width)
        bytes += firstBytes(text.substr(bytes));
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
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char byte) { return !continuesCharacter(byte); }));
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
