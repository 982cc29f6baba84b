#include "watch/FolderLook.h"

#include <utility>

namespace qx::tool {
namespace {

constexpr int kPauseMs = 500;

bool holds(const std::map<std::string, FileState>& files, const std::pair<const std::string, FileState>& file) {
    const auto found = files.find(file.first);
    return found != files.end() && found->second == file.second;
}

}  // namespace

FolderLook::FolderLook(std::string folder, bool wantsExisting)
    : folder_(std::move(folder)), seen_(rawFilesIn(folder_)) {
    if (!wantsExisting)
        told_ = seen_;
}

std::vector<std::string> FolderLook::next(const StopRequest& stop) {
    std::vector<std::string> names;
    while (names.empty() && !stop.waitMs(kPauseMs))
        names = look();
    return names;
}

std::vector<std::string> FolderLook::look() {
    std::map<std::string, FileState> now = rawFilesIn(folder_);
    std::vector<std::string> names;
    for (const auto& file : now) {
        if (holds(seen_, file) && !holds(told_, file)) {
            names.push_back(file.first);
            told_[file.first] = file.second;
        }
    }
    seen_ = std::move(now);
    return names;
}

}  // namespace qx::tool
