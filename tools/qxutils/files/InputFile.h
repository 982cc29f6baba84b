#pragma once

#include "files/MakeRoom.h"
#include "files/NativeFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Files and streams as the tool reads them itself. Every function throws a ToolError of one line that names the file
// and says what to do.

namespace qx::tool {

// A file, or standard input where the name is "-" or one such as /dev/stdin or /dev/fd/63, read once from its front.
class InputFile {
public:
    // wanted says what to give, as in "a raw image file". A directory, a device or a pipe with a name is refused
    // without being opened: a pipe might never end.
    InputFile(const std::string& path, const std::string& wanted);

    // What there is to read; nothing for a stream, which does not tell.
    std::optional<std::int64_t> bytes() const { return bytes_; }

    // Returns how many bytes were read, fewer than size only at the end.
    std::size_t read(char* bytes, std::size_t size);

    // Of all reads together.
    std::int64_t bytesRead() const { return bytesRead_; }

private:
    void open(const std::string& wanted);

    std::string path_;
    Descriptor file_;
    std::optional<std::int64_t> bytes_;
    std::int64_t bytesRead_ = 0;
};

// The file's next values, count of them unless it ends before. Resizing would fill them with zeros first; here no
// value is touched twice outside the cache.
template <class Values>
void appendValues(Values& values, InputFile& file, std::int64_t count) {
    using Value = typename Values::value_type;
    constexpr std::int64_t kPieceValues = (std::int64_t{1} << 18) / std::int64_t{sizeof(Value)};
    const auto piece = std::make_unique_for_overwrite<Value[]>(static_cast<std::size_t>(std::min(kPieceValues, count)));
    makeRoom(values, static_cast<std::size_t>(count));
    for (std::int64_t left = count; left > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min(left, kPieceValues));
        const std::size_t got = file.read(reinterpret_cast<char*>(piece.get()), wanted * sizeof(Value)) / sizeof(Value);
        values.insert(values.end(), piece.get(), piece.get() + got);
        left = got < wanted ? 0 : left - static_cast<std::int64_t>(got);
    }
}

// The text of a file with settings: of 1 MiB at most, in UTF-8, without control characters.
std::string readSettings(const std::string& path, const std::string& wanted);

// The text of a file or stream that may not be longer than this, without the mark of UTF-8.
std::string readText(const std::string& path, const std::string& wanted, std::int64_t mostBytes);

// All of a file or stream that may not be longer than this.
std::string readWhole(const std::string& path, const std::string& wanted, std::int64_t mostBytes);

}  // namespace qx::tool
