#pragma once

#include "platform/DirectoryRecord.h"

#include <cstdint>
#include <cstdio>
#include <memory>

namespace qx {

// Paths are the library's own ('\' separates, see NativePath) in the encoding that QxUtils/Files.h states.

// Whether a file or a directory of that name exists.
bool pathExists(const char* path) noexcept;

// Whether the path names a file with content of its own: no directory, no device.
bool isRegularFile(const char* path) noexcept;

// Creates one directory; its parent must exist.
bool createDirectory(const char* path) noexcept;

// Deletes a file, never a directory.
void deleteFile(const char* path) noexcept;

struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

enum class OpenMode { ReadBinary, WriteBinary, ReadText, WriteText };

// Opens a file; null when it cannot be opened or is a directory. It has no buffer of its own, so that every read and
// write reports what it did, except for reading text. A pipe does not wait for its other end.
File openFile(const char* path, OpenMode mode) noexcept;

// The length of an open file in bytes, or -1. The position returns to the start.
std::int64_t fileLength(std::FILE* file) noexcept;

struct DirectoryEntry {
    const char* name;  // valid until the next entry is read
    bool isDirectory;
    std::int64_t size;
    std::uint64_t creationTime;      // 100 ns since 1601-01-01 UTC; the modification time where none is kept
    std::uint64_t modificationTime;  // 100 ns since 1601-01-01 UTC
};

// Walks the entries of a directory, "." and ".." included. A file that is written beside another one (Replacement) is
// passed over, and elsewhere than on Windows a name with a '\' in it: no path can name that entry.
class DirectoryListing {
public:
    // directory ends with a separator.
    explicit DirectoryListing(const char* directory) noexcept;
    ~DirectoryListing();
    DirectoryListing(const DirectoryListing&) = delete;
    DirectoryListing& operator=(const DirectoryListing&) = delete;

    bool started() const noexcept;
    bool next(DirectoryEntry& entry) noexcept;

    // Whether the directory could be listed, as far as next() went: a failure ends the entries early.
    bool succeeded() const noexcept;

    // The entry that was read last, as the operating system's record.
    DirectoryRecord record() const noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace qx
