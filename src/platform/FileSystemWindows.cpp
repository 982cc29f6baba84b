#include "platform/FileSystem.h"

#ifdef _WIN32

#include "platform/NativePath.h"
#include "platform/Replacement.h"

#include <cstring>
#include <fcntl.h>
#include <io.h>
#include <new>
#include <windows.h>

namespace qx {
namespace {

std::uint64_t ticks(const FILETIME& time) noexcept {
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

// Lets a file be replaced while it is read, which fopen does not.
std::FILE* openForReading(const char* path, bool isText) noexcept {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file =
        CreateFileA(path, GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr;
    const int flags = _O_RDONLY | _O_NOINHERIT | (isText ? _O_TEXT : _O_BINARY);
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(file), flags);
    if (descriptor < 0) {
        CloseHandle(file);
        return nullptr;
    }
    std::FILE* const stream = _fdopen(descriptor, isText ? "r" : "rb");
    if (stream == nullptr)
        _close(descriptor);
    return stream;
}

// A drive without a medium is an answer, not a question to the user.
class QuietDrives {
public:
    QuietDrives() noexcept { SetThreadErrorMode(SEM_FAILCRITICALERRORS, &before_); }
    ~QuietDrives() { SetThreadErrorMode(before_, nullptr); }
    QuietDrives(const QuietDrives&) = delete;
    QuietDrives& operator=(const QuietDrives&) = delete;

private:
    DWORD before_ = 0;
};

std::FILE* open(const char* path, OpenMode mode) noexcept {
    switch (mode) {
    case OpenMode::ReadBinary:
    case OpenMode::ReadText:
        return openForReading(path, mode == OpenMode::ReadText);
    case OpenMode::WriteBinary:
        return std::fopen(path, "wb");
    default:
        return std::fopen(path, "w");
    }
}

}  // namespace

// As PathFileExistsA tests it, whose library takes longer to load than this one.
bool pathExists(const char* path) noexcept {
    const QuietDrives quiet;
    return GetFileAttributesA(NativePath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool isRegularFile(const char* path) noexcept {
    const DWORD attributes = GetFileAttributesA(NativePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

bool createDirectory(const char* path) noexcept {
    return CreateDirectoryA(NativePath(path).c_str(), nullptr) != 0;
}

void deleteFile(const char* path) noexcept {
    DeleteFileA(NativePath(path).c_str());
}

File openFile(const char* path, OpenMode mode) noexcept {
    File file(open(NativePath(path).c_str(), mode));
    if (file && mode != OpenMode::ReadText)
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

std::int64_t fileLength(std::FILE* file) noexcept {
    if (_fseeki64(file, 0, SEEK_END) != 0)
        return -1;
    const std::int64_t length = _ftelli64(file);
    return _fseeki64(file, 0, SEEK_SET) == 0 ? length : -1;
}

struct DirectoryListing::State {
    ~State() {
        if (handle != INVALID_HANDLE_VALUE)
            FindClose(handle);
    }
    HANDLE handle = INVALID_HANDLE_VALUE;
    WIN32_FIND_DATAA found{};
    bool pending = false;
    bool failed = false;
};

DirectoryListing::DirectoryListing(const char* directory) noexcept : state_(new (std::nothrow) State) {
    char pattern[MAX_PATH + 2] = {};
    if (!state_ || directory == nullptr || std::strlen(directory) > MAX_PATH)
        return;
    std::strcpy(pattern, directory);
    std::strcat(pattern, "*");
    state_->handle = FindFirstFileA(pattern, &state_->found);
    state_->pending = state_->handle != INVALID_HANDLE_VALUE;
}

DirectoryListing::~DirectoryListing() = default;

bool DirectoryListing::started() const noexcept {
    return state_ && state_->handle != INVALID_HANDLE_VALUE;
}

bool DirectoryListing::next(DirectoryEntry& entry) noexcept {
    if (!started())
        return false;
    do {
        if (!state_->pending && FindNextFileA(state_->handle, &state_->found) == 0) {
            state_->failed = GetLastError() != ERROR_NO_MORE_FILES;
            return false;
        }
        state_->pending = false;
    } while (isReplacementName(state_->found.cFileName));
    const WIN32_FIND_DATAA& found = state_->found;
    entry = {found.cFileName, (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
             static_cast<std::int64_t>((static_cast<std::uint64_t>(found.nFileSizeHigh) << 32) | found.nFileSizeLow),
             ticks(found.ftCreationTime), ticks(found.ftLastWriteTime)};
    return true;
}

bool DirectoryListing::succeeded() const noexcept {
    return started() && !state_->failed;
}

DirectoryRecord DirectoryListing::record() const noexcept {
    return started() ? state_->found : DirectoryRecord{};
}

}  // namespace qx

#endif
