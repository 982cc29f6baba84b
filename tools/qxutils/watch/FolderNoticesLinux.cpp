#ifdef __linux__

#include "watch/FolderNotices.h"

#include "text/FileName.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <poll.h>
#include <string>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace qx::tool {
namespace {

constexpr std::uint32_t kArrivals = IN_CLOSE_WRITE | IN_MOVED_TO;
constexpr std::uint32_t kFolderLeft = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

class Notices : public FolderWatch {
public:
    // Takes the descriptor over.
    Notices(std::string folder, int descriptor, std::map<std::string, FileState> before)
        : folder_(std::move(folder)), descriptor_(descriptor), before_(std::move(before)) {}
    ~Notices() override { close(descriptor_); }

    std::vector<std::string> next(const StopRequest& stop) override {
        names_.clear();
        do {
            if (std::exchange(mustLook_, false))
                addFilesThere();
            if (names_.empty() && isStopped(stop))
                return {};
            readNotices();
        } while (names_.empty());
        return std::move(names_);
    }

private:
    bool isStopped(const StopRequest& stop) const {
        std::array<pollfd, 2> sources = {{{descriptor_, POLLIN, 0}, {stop.descriptor(), POLLIN, 0}}};
        if (poll(sources.data(), sources.size(), -1) < 0 && errno != EINTR)
            throwFolderGone(folder_);
        return stop.isMade();
    }

    // All but those that were there before and have not changed.
    void addFilesThere() {
        for (const auto& [name, state] : rawFilesIn(folder_)) {
            const auto found = before_.find(name);
            if (found == before_.end() || found->second != state)
                add(name);
        }
    }

    void add(const std::string& name) {
        if (std::ranges::find(names_, name) == names_.end())
            names_.push_back(name);
    }

    void readNotices() {
        alignas(inotify_event) std::array<char, 16384> bytes;
        const ssize_t length = read(descriptor_, bytes.data(), bytes.size());
        for (ssize_t place = 0; place < length;) {
            const char* const next = bytes.data() + place;
            inotify_event event{};
            std::memcpy(&event, next, sizeof event);
            take(event, event.len > 0 ? next + sizeof event : "");
            place += static_cast<ssize_t>(sizeof event + event.len);
        }
    }

    void take(const inotify_event& event, const std::string& name) {
        if ((event.mask & kFolderLeft) != 0)
            throwFolderGone(folder_);
        // Some notices were lost.
        if ((event.mask & IN_Q_OVERFLOW) != 0)
            mustLook_ = true;
        const bool arrives = (event.mask & kArrivals) != 0 || ((event.mask & IN_CREATE) != 0 && isLink(name));
        if (arrives && hasEnding(name, ".raw"))
            add(name);
    }

    // Nothing is written through the name of a link: no notice follows.
    bool isLink(const std::string& name) const {
        std::error_code error;
        const std::filesystem::path file = toPath(folder_ + '/' + name);
        return std::filesystem::is_symlink(file, error) || std::filesystem::hard_link_count(file, error) > 1;
    }

    std::string folder_;
    int descriptor_;
    std::map<std::string, FileState> before_;
    bool mustLook_ = true;
    std::vector<std::string> names_;
};

}  // namespace

std::unique_ptr<FolderWatch> noticesOf(const std::string& folder, bool wantsExisting) {
    // Listed before the system is asked for notices: what comes in between is found by the first look.
    std::map<std::string, FileState> before;
    if (!wantsExisting)
        before = rawFilesIn(folder);
    const int descriptor = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (descriptor < 0)
        return nullptr;
    const std::uint32_t wanted = kArrivals | IN_CREATE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
    if (inotify_add_watch(descriptor, folder.c_str(), wanted) < 0) {
        close(descriptor);
        return nullptr;
    }
    return std::make_unique<Notices>(folder, descriptor, std::move(before));
}

}  // namespace qx::tool

#endif
