#pragma once

#include "watch/StopRequest.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Raw files that arrive in a folder.

namespace qx::tool {

// What tells that a file was written again.
struct FileState {
    std::int64_t bytes = 0;
    std::filesystem::file_time_type time{};

    bool operator==(const FileState&) const = default;
};

// Nothing for what is no file, or is gone.
std::optional<FileState> stateOf(const std::string& path);

// The files of a folder whose names end in ".raw". Throws a ToolError when the folder is gone.
std::map<std::string, FileState> rawFilesIn(const std::string& folder);

[[noreturn]] void throwFolderGone(const std::string& folder);

class FolderWatch {
public:
    virtual ~FolderWatch() = default;

    // Waits for raw files that were written, or came under their names, and returns the names. A file that is still
    // being written comes again when that ends. None when the program is to stop. Throws a ToolError when the folder is
    // gone.
    virtual std::vector<std::string> next(const StopRequest& stop) = 0;
};

// By what the system tells, or, where it tells nothing or is not to be asked, by looking again and again. The files
// that are there already come first when they are wanted.
enum class WatchBy { Notices, Looking };
std::unique_ptr<FolderWatch> watchFolder(const std::string& folder, bool wantsExisting, WatchBy way);

}  // namespace qx::tool
