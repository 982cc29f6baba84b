#include "platform/SharedAppend.h"

#include "platform/NativePath.h"

#ifdef _WIN32
#include <new>
#include <string>
#include <windows.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace qx {

#ifdef _WIN32

namespace {

// A byte far behind any content stands for the file's end: locking it keeps other writers out but not readers.
constexpr DWORD kLockOffsetHigh = 0x7FFFFFFF;

std::string withPlatformLineEnds(std::string_view text) {
    std::string result;
    result.reserve(text.size() + 2);
    for (const char c : text) {
        if (c == '\n')
            result += '\r';
        result += c;
    }
    return result;
}

// Without the lock, on a file system that has none, the line is written all the same: losing it would be worse.
bool writeLocked(HANDLE file, const std::string& bytes) noexcept {
    OVERLAPPED region{};
    region.OffsetHigh = kLockOffsetHigh;
    const bool locked = LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &region) != 0;
    DWORD written = 0;
    const bool ok = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0;
    if (locked)
        UnlockFileEx(file, 0, 1, 0, &region);
    return ok && written == bytes.size();
}

}  // namespace

bool appendShared(const char* path, std::string_view text) noexcept {
    try {
        const std::string bytes = withPlatformLineEnds(text);
        const NativePath native(path);
        // Locking asks for the right to read.
        constexpr DWORD kAccess = FILE_READ_DATA | FILE_APPEND_DATA | SYNCHRONIZE;
        HANDLE file = CreateFileA(native.c_str(), kAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        const bool ok = writeLocked(file, bytes);
        CloseHandle(file);
        return ok;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

#else

bool appendShared(const char* path, std::string_view text) noexcept {
    const NativePath native(path);
    const int file = open(native.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (file < 0)
        return false;
    const ssize_t written = write(file, text.data(), text.size());
    close(file);
    return written >= 0 && static_cast<std::size_t>(written) == text.size();
}

#endif

}  // namespace qx
