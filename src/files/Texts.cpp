#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <string_view>

namespace {

constexpr int kPieces = 40;
constexpr std::size_t kPieceCapacity = 100;
constexpr std::size_t kTextCapacity = 4000;

// The text before the next separator, which is taken off as well.
std::string_view takeField(std::string_view& rest, char separator) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return field;
}

int cutInto(char* const* pieces, std::string_view text, char separator, int& count) {
    count = 0;
    if (text.size() >= kTextCapacity)
        return StatusWrongParameter;
    while (!text.empty()) {
        const std::string_view piece = takeField(text, separator);
        if (count == kPieces || piece.size() >= kPieceCapacity)
            return StatusWrongParameter;
        piece.copy(pieces[count], piece.size());
        ++count;
    }
    return StatusOk;
}

// Whether a field of an address is a number 0 .. 255 without leading zeros.
bool isAddressField(std::string_view field) {
    struct Range {
        unsigned lowest;
        unsigned highest;
    };
    static constexpr Range kRanges[] = {{0, 9}, {10, 99}, {100, 255}};
    if (field.empty() || field.size() > std::size(kRanges))
        return false;
    // Kept: what is no digit counts as its distance from '0'. Bytes from 128 on lie below it, whether or not the
    // processor's characters have a sign.
    unsigned value = 0;
    for (const char character : field)
        value = value * 10 + static_cast<unsigned>(static_cast<signed char>(character) - '0');
    const Range range = kRanges[field.size() - 1];
    return value >= range.lowest && value <= range.highest;
}

}  // namespace

int CutString(char**& out, const char* text, char separator, int& count) {
    std::unique_ptr<char[]> characters(new (std::nothrow) char[kPieces * kPieceCapacity]());
    std::unique_ptr<char*[]> pieces(new (std::nothrow) char*[kPieces]);
    if (!characters || !pieces)
        return StatusAllocationFailed;
    for (int i = 0; i < kPieces; ++i)
        pieces[i] = characters.get() + i * kPieceCapacity;
    characters.release();
    out = pieces.release();
    // Kept: the caller gets the pieces, and has to release them, whatever is returned from here on.
    return text != nullptr ? cutInto(out, text, separator, count) : StatusNullArgument;
}

void getStrPos(const char* text, const char* pattern, int textLength, int patternLength, int& position) {
    position = -1;
    if (text == nullptr || pattern == nullptr || textLength <= patternLength)
        return;
    if (patternLength <= 0) {
        position = 0;
        return;
    }
    // Kept: the last position is not tried, as if the text were a character shorter.
    const std::string_view tried(text, textLength - 1);
    const std::size_t found = tried.find(std::string_view(pattern, patternLength));
    position = found != tried.npos ? static_cast<int>(found) : -1;
}

int checkIP(const char* address) {
    constexpr int kFields = 4;
    if (address == nullptr)
        return StatusNullArgument;
    std::string_view rest = address;
    if (std::count(rest.begin(), rest.end(), '.') != kFields - 1)
        return StatusWrongParameter;
    for (int field = 0; field < kFields; ++field)
        if (!isAddressField(takeField(rest, '.')))
            return StatusWrongParameter;
    return StatusOk;
}
