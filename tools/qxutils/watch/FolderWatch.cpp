#include "watch/FolderWatch.h"

#include "common/ToolError.h"
#include "text/FileName.h"
#include "watch/FolderLook.h"
#include "watch/FolderNotices.h"

#include <system_error>

namespace qx::tool {

namespace fs = std::filesystem;

std::optional<FileState> stateOf(const std::string& path) {
    std::error_code error;
    const fs::path file = toPath(path);
    if (!fs::is_regular_file(file, error))
        return std::nullopt;
    const std::uintmax_t bytes = fs::file_size(file, error);
    if (error)
        return std::nullopt;
    const fs::file_time_type time = fs::last_write_time(file, error);
    if (error)
        return std::nullopt;
    return FileState{static_cast<std::int64_t>(bytes), time};
}

std::map<std::string, FileState> rawFilesIn(const std::string& folder) {
    std::map<std::string, FileState> files;
    std::error_code error;
    for (fs::directory_iterator entry(toPath(folder), error), end; !error && entry != end; entry.increment(error)) {
        const std::string name = toName(entry->path().filename());
        const std::optional<FileState> state = hasEnding(name, ".raw") ? stateOf(toName(entry->path())) : std::nullopt;
        if (state)
            files.emplace(name, *state);
    }
    if (error)
        throwFolderGone(folder);
    return files;
}

void throwFolderGone(const std::string& folder) {
    throw ToolError(folder + ": is gone, or may not be read any more; start again when it is back");
}

std::unique_ptr<FolderWatch> watchFolder(const std::string& folder, bool wantsExisting, WatchBy way) {
    if (way == WatchBy::Notices) {
        if (auto notices = noticesOf(folder, wantsExisting))
            return notices;
    }
    return std::make_unique<FolderLook>(folder, wantsExisting);
}

}  // namespace qx::tool
