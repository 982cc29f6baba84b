#include "files/InputFile.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "files/WholeFile.h"
#include "text/FileName.h"

#include <cerrno>
#include <string_view>
#include <system_error>

namespace qx::tool {
namespace {

std::string lastReason() {
    return std::generic_category().message(errno);
}

}  // namespace

InputFile::InputFile(const std::string& path, const std::string& wanted) : path_(path) {
    requireName(path, wanted);
    if (const std::optional<int> stream = streamOfInput(path))
        file_ = openStream(*stream);
    else
        open(wanted);
    if (!file_.isOpen())
        throw ToolError(path + ": cannot be opened (" + lastReason() + "); check that you may read it");
    if (isDirectory(file_))
        throw ToolError(path + ": is a directory; give " + wanted);
    bytes_ = bytesLeft(file_);
    protectInput(path);
}

void InputFile::open(const std::string& wanted) {
    fileBytes(path_, wanted, kFileOrStream);
    file_ = openToRead(toPath(path_));
}

std::size_t InputFile::read(char* bytes, std::size_t size) {
    std::size_t count = 0;
    while (count < size) {
        const std::optional<std::size_t> more = file_.read(bytes + count, size - count);
        if (!more)
            throw ToolError(path_ + ": cannot be read (" + lastReason() + "); check the disk or what feeds it");
        if (*more == 0)
            break;
        count += *more;
    }
    bytesRead_ += static_cast<std::int64_t>(count);
    return count;
}

std::string readText(const std::string& path, const std::string& wanted, std::int64_t mostBytes) {
    constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";  // that some editors put first
    std::string text = readWhole(path, wanted, mostBytes);
    if (text.starts_with(kUtf8Mark))
        text.erase(0, kUtf8Mark.size());
    return text;
}

std::string readSettings(const std::string& path, const std::string& wanted) {
    constexpr std::int64_t kMaxBytes = 1 << 20;
    std::string text = readText(path, wanted, kMaxBytes);
    if (!isPlainText(text))
        throw ToolError(path + ": holds bytes that are no text in UTF-8; give " + wanted);
    return text;
}

std::string readWhole(const std::string& path, const std::string& wanted, std::int64_t mostBytes) {
    constexpr std::int64_t kPiece = 1 << 16;
    InputFile file(path, wanted);
    const auto requireRoom = [&](std::int64_t bytes) {
        if (bytes > mostBytes)
            throw ToolError(path + ": longer than " + std::to_string(mostBytes) + " bytes; give " + wanted);
    };
    std::string content;
    std::int64_t next = file.bytes().value_or(0);
    requireRoom(next);
    // One byte more tells whether it ends.
    for (++next; next > 0; next = std::ssize(content) < next ? 0 : std::ssize(content) + kPiece) {
        appendValues(content, file, next - std::ssize(content));
        requireRoom(std::ssize(content));
    }
    return content;
}

}  // namespace qx::tool
