#include "platform/Replacement.h"

#ifdef _WIN32

#include "platform/NativePath.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace qx {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool isDevice(std::string_view path) noexcept {
    return path.starts_with("\\\\.\\") || path.starts_with("//./");
}

// Whether another file can stand for it: a plain one with a single name, which may be written.
bool isReplaceable(const char* path, BY_HANDLE_FILE_INFORMATION& information) noexcept {
    constexpr DWORD kPlain = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    const HANDLE file = CreateFileA(path, GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    const bool isFile = GetFileType(file) == FILE_TYPE_DISK && GetFileInformationByHandle(file, &information) != 0;
    CloseHandle(file);
    return isFile && (information.dwFileAttributes & ~kPlain) == 0 && information.nNumberOfLinks == 1;
}

}  // namespace

Replacement::Replacement(const char* path) noexcept {
    const NativePath native(path);
    if (isDevice(native.c_str()) || !setTarget(native.c_str()))
        return;
    const DWORD attributes = GetFileAttributesA(target_.data());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (!exists && GetLastError() != ERROR_FILE_NOT_FOUND)
        return;
    BY_HANDLE_FILE_INFORMATION replaced{};
    // A link is opened as what it leads to, which has other attributes.
    constexpr DWORD kNoFile = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE;
    if (exists && ((attributes & kNoFile) != 0 || !isReplaceable(target_.data(), replaced)))
        return;
    const int descriptor = createBeside();
    if (descriptor < 0)
        return;
    if (exists)
        SetFileTime(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)), &replaced.ftCreationTime, nullptr, nullptr);
    file_.reset(_fdopen(descriptor, "wb"));
    if (file_)
        std::setvbuf(file_.get(), nullptr, _IONBF, 0);
    else
        _close(descriptor);
}

int Replacement::createBeside(int) noexcept {
    constexpr int kMostNames = 100;
    HANDLE file = INVALID_HANDLE_VALUE;
    Path name{};
    for (int names = 0; names < kMostNames && nameBeside(GetCurrentProcessId(), name); ++names) {
        file = CreateFileA(name.data(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS)
            break;
    }
    if (file == INVALID_HANDLE_VALUE)
        return -1;
    beside_ = name;
    const int descriptor = _open_osfhandle(reinterpret_cast<std::intptr_t>(file), _O_WRONLY | _O_NOINHERIT | _O_BINARY);
    if (descriptor < 0)
        CloseHandle(file);
    return descriptor;
}

bool Replacement::takePlace() noexcept {
    // A file that is open cannot be replaced everywhere. Who only reads it is done soon.
    constexpr int kMostAttempts = 20;
    for (int attempts = 0; attempts < kMostAttempts; ++attempts) {
        if (MoveFileExA(beside_.data(), target_.data(), MOVEFILE_REPLACE_EXISTING) != 0) {
            beside_.fill('\0');
            return true;
        }
        if (GetLastError() != ERROR_ACCESS_DENIED && GetLastError() != ERROR_SHARING_VIOLATION)
            break;
        Sleep(1);
    }
    return false;
}

}  // namespace qx

#endif
