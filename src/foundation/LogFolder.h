#pragma once

#include "foundation/JoinedPath.h"

namespace qx {

// The folder of the daily logs below the kit's work directory.
class LogFolder {
public:
    LogFolder() noexcept;

    const char* path() const noexcept { return path_.c_str(); }

    // Whether there is a work directory, and its path is short enough.
    bool hasPath() const noexcept { return *path_.c_str() != '\0'; }
    bool exists() const noexcept;

private:
    explicit LogFolder(const char* workDirectory) noexcept;

    JoinedPath path_;
};

}  // namespace qx
