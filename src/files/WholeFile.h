#pragma once

#include <cstddef>

namespace qx {

// How writing a file went.
struct FileWriting {
    bool isOpened;
    std::size_t count;  // bytes that the file took
    bool isWhole;       // whether all of them are under the file's name
};

// Writes the whole content of a file: beside it first where that is possible (Replacement), so that a failure leaves
// the old content, and in its place otherwise, where it leaves what was written.
FileWriting writeWholeFile(const char* path, const char* bytes, std::size_t size) noexcept;

}  // namespace qx
