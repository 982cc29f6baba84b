#include "platform/FileSystem.h"

#ifndef _WIN32

#include "platform/NativePath.h"

#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace qx {
namespace {

constexpr std::uint64_t kTicksPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

std::uint64_t ticks(const struct statx_timestamp& time) noexcept {
    return (static_cast<std::uint64_t>(time.tv_sec) + kSecondsFrom1601To1970) * kTicksPerSecond + time.tv_nsec / 100;
}

// A link counts as what it points to, and as itself when that is missing.
bool statusOf(int directory, const char* name, struct statx& status) noexcept {
    constexpr unsigned kFields = STATX_BASIC_STATS | STATX_BTIME;
    return statx(directory, name, 0, kFields, &status) == 0 ||
           statx(directory, name, AT_SYMLINK_NOFOLLOW, kFields, &status) == 0;
}

bool isDirectory(std::FILE* file) noexcept {
    struct stat status {};
    return fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode);
}

}  // namespace

bool pathExists(const char* path) noexcept {
    struct stat status {};
    return stat(NativePath(path).c_str(), &status) == 0;
}

bool isRegularFile(const char* path) noexcept {
    struct stat status {};
    return stat(NativePath(path).c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool createDirectory(const char* path) noexcept {
    return mkdir(NativePath(path).c_str(), 0777) == 0;
}

bool deleteFile(const char* path) noexcept {
    return unlink(NativePath(path).c_str()) == 0;
}

File openFile(const char* path, OpenMode mode) noexcept {
    static constexpr const char* kModes[] = {"rbe", "wbe", "we"};
    File file(std::fopen(NativePath(path).c_str(), kModes[static_cast<int>(mode)]));
    if (file && isDirectory(file.get()))
        file.reset();
    if (file)
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

std::int64_t fileLength(std::FILE* file) noexcept {
    if (fseeko(file, 0, SEEK_END) != 0)
        return -1;
    const std::int64_t length = ftello(file);
    return fseeko(file, 0, SEEK_SET) == 0 ? length : -1;
}

struct DirectoryListing::State {
    ~State() {
        if (stream != nullptr)
            closedir(stream);
    }
    DIR* stream = nullptr;
};

DirectoryListing::DirectoryListing(const char* directory) noexcept : state_(new (std::nothrow) State) {
    if (state_)
        state_->stream = opendir(NativePath(directory).c_str());
}

DirectoryListing::~DirectoryListing() = default;

bool DirectoryListing::started() const noexcept {
    return state_ && state_->stream != nullptr;
}

bool DirectoryListing::next(DirectoryEntry& entry) noexcept {
    // An entry that vanishes between the listing and the look at it is passed over.
    while (started()) {
        const dirent* found = readdir(state_->stream);
        if (found == nullptr)
            return false;
        struct statx status {};
        if (!statusOf(dirfd(state_->stream), found->d_name, status))
            continue;
        const bool hasBirthTime = (status.stx_mask & STATX_BTIME) != 0;
        entry = {found->d_name, S_ISDIR(status.stx_mode), static_cast<std::int64_t>(status.stx_size),
                 ticks(hasBirthTime ? status.stx_btime : status.stx_mtime), ticks(status.stx_mtime)};
        return true;
    }
    return false;
}

}  // namespace qx

#endif
