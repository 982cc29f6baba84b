#include "platform/FileSystem.h"

#ifndef _WIN32

#include "platform/NativePath.h"
#include "platform/Replacement.h"

#include <cerrno>
#include <cstring>
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

bool isDirectory(int descriptor) noexcept {
    struct stat status {};
    return fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode);
}

std::uint64_t creationTicks(const struct statx& status) noexcept {
    return ticks((status.stx_mask & STATX_BTIME) != 0 ? status.stx_btime : status.stx_mtime);
}

constexpr std::uint32_t lowHalf(std::uint64_t value) noexcept {
    return static_cast<std::uint32_t>(value);
}

constexpr std::uint32_t highHalf(std::uint64_t value) noexcept {
    return static_cast<std::uint32_t>(value >> 32);
}

QxFileTime fileTime(std::uint64_t ticks) noexcept {
    return {lowHalf(ticks), highHalf(ticks)};
}

std::uint32_t attributesOf(const struct statx& status) noexcept {
    constexpr std::uint32_t kReadOnly = 0x01;
    constexpr std::uint32_t kDirectory = 0x10;
    constexpr std::uint32_t kNormal = 0x80;
    const std::uint32_t attributes =
        (S_ISDIR(status.stx_mode) ? kDirectory : 0) | ((status.stx_mode & 0222) == 0 ? kReadOnly : 0);
    return attributes != 0 ? attributes : kNormal;
}

// A pipe does not wait for its other end.
int openNow(const char* path, int flags) noexcept {
    return open(path, flags | O_CLOEXEC | O_NONBLOCK, 0666);
}

struct OpenedFile {
    int descriptor;
    bool isNew = false;
};

// Leaves the content: without a stream the file stays as it was.
OpenedFile openToWrite(const char* path) noexcept {
    const int existing = openNow(path, O_WRONLY);
    if (existing >= 0 || errno != ENOENT)
        return {existing};
    const int made = openNow(path, O_WRONLY | O_CREAT | O_EXCL);
    if (made >= 0 || errno != EEXIST)
        return {made, made >= 0};
    // A link that leads nowhere yet, or made by somebody else meanwhile.
    return {openNow(path, O_WRONLY | O_CREAT)};
}

// A device or a pipe has nothing to be emptied.
bool empty(int descriptor) noexcept {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && (!S_ISREG(status.st_mode) || ftruncate(descriptor, 0) == 0);
}

// No path can name an entry with a '\\': it separates there, so that another file would be meant.
bool isListed(const char* entry) noexcept {
    return std::strchr(entry, '\\') == nullptr && !isReplacementName(entry);
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

void deleteFile(const char* path) noexcept {
    unlink(NativePath(path).c_str());
}

File openFile(const char* path, OpenMode mode) noexcept {
    static constexpr const char* kStreams[] = {"rb", "wb", "r", "w"};
    const bool isRead = mode == OpenMode::ReadBinary || mode == OpenMode::ReadText;
    const NativePath native(path);
    const OpenedFile opened = isRead ? OpenedFile{openNow(native.c_str(), O_RDONLY)} : openToWrite(native.c_str());
    const int descriptor = opened.descriptor;
    if (descriptor < 0)
        return nullptr;
    File file(isDirectory(descriptor) ? nullptr : fdopen(descriptor, kStreams[static_cast<int>(mode)]));
    if (!file)
        close(descriptor);
    if (!file || !(isRead || empty(descriptor))) {
        if (opened.isNew)
            unlink(native.c_str());
        return nullptr;
    }
    // Only the opening does not wait.
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    if (mode != OpenMode::ReadText)
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
    const dirent* found = nullptr;
    bool failed = false;
    struct statx status {};
};

DirectoryListing::DirectoryListing(const char* directory) noexcept : state_(new (std::nothrow) State) {
    // As with a pattern, no text names the current directory.
    if (state_ && directory != nullptr)
        state_->stream = opendir(*directory != '\0' ? NativePath(directory).c_str() : ".");
}

DirectoryListing::~DirectoryListing() = default;

bool DirectoryListing::started() const noexcept {
    return state_ && state_->stream != nullptr;
}

bool DirectoryListing::next(DirectoryEntry& entry) noexcept {
    // An entry that vanishes between the listing and the look at it is passed over.
    while (started()) {
        errno = 0;
        const dirent* const found = state_->found = readdir(state_->stream);
        if (found == nullptr) {
            state_->failed = errno != 0;
            return false;
        }
        struct statx& status = state_->status;
        if (!isListed(found->d_name) || !statusOf(dirfd(state_->stream), found->d_name, status))
            continue;
        entry = {found->d_name, S_ISDIR(status.stx_mode), static_cast<std::int64_t>(status.stx_size),
                 creationTicks(status), ticks(status.stx_mtime)};
        return true;
    }
    return false;
}

bool DirectoryListing::succeeded() const noexcept {
    return started() && !state_->failed;
}

DirectoryRecord DirectoryListing::record() const noexcept {
    DirectoryRecord record{};
    if (!started() || state_->found == nullptr)
        return record;
    const struct statx& status = state_->status;
    record.dwFileAttributes = attributesOf(status);
    record.ftCreationTime = fileTime(creationTicks(status));
    record.ftLastAccessTime = fileTime(ticks(status.stx_atime));
    record.ftLastWriteTime = fileTime(ticks(status.stx_mtime));
    record.nFileSizeHigh = highHalf(status.stx_size);
    record.nFileSizeLow = lowHalf(status.stx_size);
    std::strncpy(record.cFileName, state_->found->d_name, sizeof record.cFileName - 1);
    return record;
}

}  // namespace qx

#endif
