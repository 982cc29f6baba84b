#pragma once

#include "platform/FileSystem.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace qx {

// A file that is written beside another one, in the same directory, and takes its place when it is complete: who opens
// the name sees the whole old content or the whole new one. The other file need not exist.
//
// There is none for what would not be the same afterwards, and where no second file can be made: a directory, a device,
// a pipe, a file of several names or of rights that cannot be given, one that may not be written, a link that leads
// nowhere (on Windows any link), a directory in which no file may be created. A link to a file stays, and that file is
// replaced.
class Replacement {
public:
    explicit Replacement(const char* path) noexcept;
    // Removes what did not take its place.
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Where to write, without a buffer; null when there is none.
    std::FILE* file() const noexcept { return file_.get(); }

    // Closes the file; false when something that was written got lost.
    bool close() noexcept;

    // Puts the closed file in its place, with the other one's permissions. False when that one stays as it was.
    bool takePlace() noexcept;

private:
    using Path = std::array<char, 1024>;

    // The file to be replaced; false when there is nothing to name it, or no room for the text.
    bool setTarget(std::string_view path) noexcept;
    // A name for another file beside the target, one that other processes hardly choose; false when there is no room.
    bool nameBeside(std::uint32_t process, Path& name) const noexcept;

    // Creates such a file, on Windows with the directory's permissions; its descriptor, or -1.
    int createBeside(int permissions = 0) noexcept;

    Path target_{};
    Path beside_{};  // empty when there is no file to be removed
    File file_;
};

// Whether a file of that name is written beside another one, or was when its writer died: listings pass over it.
bool isReplacementName(std::string_view name) noexcept;

}  // namespace qx
