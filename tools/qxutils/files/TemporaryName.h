#pragma once

#include <filesystem>

namespace qx::tool {

// The name of a file, or of a folder of such files, that must not stay: it is removed with the object, and when the
// process is interrupted. A process keeps a few of them at once; what is beyond that, or longer than a path can be,
// goes with the object alone.
class TemporaryName {
public:
    explicit TemporaryName(std::filesystem::path path);
    ~TemporaryName();
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    int slot_;
};

// Removes those of this process; may run at any moment, in a signal's handler too.
void removeTemporaryFiles() noexcept;

// A name in the same folder that no other file has, not longer than a file system allows.
std::filesystem::path nameBeside(const std::filesystem::path& file);

}  // namespace qx::tool
