#include "platform/FileSystem.h"

#ifdef _WIN32

#include "platform/NativePath.h"

#include <cstring>
#include <new>
#include <shlwapi.h>
#include <windows.h>

namespace qx {
namespace {

std::uint64_t ticks(const FILETIME& time) noexcept {
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

}  // namespace

bool pathExists(const char* path) noexcept {
    return PathFileExistsA(NativePath(path).c_str()) != 0;
}

bool isRegularFile(const char* path) noexcept {
    const DWORD attributes = GetFileAttributesA(NativePath(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

bool createDirectory(const char* path) noexcept {
    return CreateDirectoryA(NativePath(path).c_str(), nullptr) != 0;
}

bool deleteFile(const char* path) noexcept {
    return DeleteFileA(NativePath(path).c_str()) != 0;
}

File openFile(const char* path, OpenMode mode) noexcept {
    static constexpr const char* kModes[] = {"rb", "wb", "r", "w"};
    File file(std::fopen(NativePath(path).c_str(), kModes[static_cast<int>(mode)]));
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
    if (!state_->pending && FindNextFileA(state_->handle, &state_->found) == 0)
        return false;
    state_->pending = false;
    const WIN32_FIND_DATAA& found = state_->found;
    entry = {found.cFileName, (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
             static_cast<std::int64_t>((static_cast<std::uint64_t>(found.nFileSizeHigh) << 32) | found.nFileSizeLow),
             ticks(found.ftCreationTime), ticks(found.ftLastWriteTime)};
    return true;
}

DirectoryRecord DirectoryListing::record() const noexcept {
    return started() ? state_->found : DirectoryRecord{};
}

}  // namespace qx

#endif
