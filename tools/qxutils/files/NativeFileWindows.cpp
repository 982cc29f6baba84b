#ifdef _WIN32

#include "files/NativeFile.h"

#include <algorithm>
#include <fcntl.h>
#include <io.h>
#include <iterator>
#include <mutex>
#include <share.h>
#include <sys/stat.h>
#include <vector>
#include <windows.h>

// Of the C runtime, which declares them nowhere.
struct RuntimeStart {
    int newMode;
};
extern "C" int _dowildcard;
extern "C" int __wgetmainargs(int*, wchar_t***, wchar_t***, int, RuntimeStart*);

namespace qx::tool {
namespace {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;

// The runtime counts in int.
constexpr std::size_t kMostBytesAtOnce = 1 << 30;

void (*removeAtEnd)() noexcept = nullptr;

// Held by what the end has to wait for.
std::mutex pauseMutex;

std::string toUtf8(const wchar_t* wide) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
    text.resize(text.size() - 1);
    return text;
}

// In a thread of its own.
BOOL WINAPI endByConsole(DWORD /*event*/) {
    removeAtEnd();
    return FALSE;
}

BOOL WINAPI endAfterPause(DWORD /*event*/) {
    const std::lock_guard wait(pauseMutex);
    return FALSE;
}

// A file that is open can be removed by another thread, the one that the console's handler runs in.
Descriptor create(const std::filesystem::path& path, DWORD disposition) {
    const HANDLE handle = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                      disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return Descriptor();
    return Descriptor(_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY));
}

}  // namespace

std::optional<std::size_t> Descriptor::read(char* bytes, std::size_t size) {
    const int count = _read(number_, bytes, static_cast<unsigned>(std::min(size, kMostBytesAtOnce)));
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
}

bool Descriptor::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const int count =
            _write(number_, bytes.data(), static_cast<unsigned>(std::min(bytes.size(), kMostBytesAtOnce)));
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool Descriptor::close() {
    return !isOpen() || _close(std::exchange(number_, -1)) == 0;
}

Descriptor openToRead(const std::filesystem::path& path) {
    return Descriptor(_wsopen(path.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT, _SH_DENYNO));
}

Descriptor createNew(const std::filesystem::path& path) {
    return create(path, CREATE_NEW);
}

bool lacksRoom() {
    return GetLastError() == ERROR_DISK_FULL;
}

Descriptor openInPlace(const std::filesystem::path& path) {
    return create(path, CREATE_ALWAYS);
}

Descriptor openStream(int number) {
    const int copy = _dup(number);
    if (copy >= 0)
        _setmode(copy, _O_BINARY);
    return Descriptor(copy);
}

std::optional<int> streamOfInput(const std::string& name) {
    return name == "-" || name == "/dev/stdin" ? std::optional(kStandardInput) : std::nullopt;
}

std::optional<int> streamOfOutput(const std::string& name) {
    return name == "/dev/stdout" ? std::optional(kStandardOutput) : std::nullopt;
}

std::optional<std::int64_t> bytesLeft(const Descriptor& file) {
    struct _stat64 status {};
    if (_fstat64(file.number(), &status) != 0 || (status.st_mode & _S_IFMT) != _S_IFREG)
        return std::nullopt;
    const std::int64_t place = _telli64(file.number());
    return place < 0 ? std::nullopt : std::optional(status.st_size - place);
}

bool isDirectory(const Descriptor& file) {
    struct _stat64 status {};
    return _fstat64(file.number(), &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFDIR;
}

bool mayWrite(const std::filesystem::path& path) {
    constexpr int kWrite = 2;
    return _waccess(path.c_str(), kWrite) == 0;
}

// A folder hands its rights down to the files in it.
void takeMode(const Descriptor& /*file*/, const std::filesystem::path& /*replaced*/) {}

bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to, bool mayReplace) {
    return MoveFileExW(from.c_str(), to.c_str(), mayReplace ? MOVEFILE_REPLACE_EXISTING : 0) != 0;
}

unsigned long processNumber() {
    return GetCurrentProcessId();
}

// Read as the runtime read them for main, wildcards included.
char** nativeArguments(char** arguments) {
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    int count = 0;
    wchar_t** wide = nullptr;
    wchar_t** environment = nullptr;
    RuntimeStart start{};
    if (__wgetmainargs(&count, &wide, &environment, _dowildcard, &start) != 0)
        return arguments;
    for (int i = 0; i < count; ++i)
        texts.push_back(toUtf8(wide[i]));
    std::ranges::transform(texts, std::back_inserter(pointers), [](std::string& text) { return text.data(); });
    pointers.push_back(nullptr);
    return pointers.data();
}

bool takesNamesInAnyScript() {
    return GetACP() == CP_UTF8;
}

// Small ones take a fault for many at once.
void preferLargePages(void* /*memory*/, std::size_t /*bytes*/) noexcept {}

void onInterruption(void (*removeNow)() noexcept) {
    removeAtEnd = removeNow;
    SetConsoleCtrlHandler(endByConsole, TRUE);
}

InterruptionPause::InterruptionPause() {
    static const BOOL handled = SetConsoleCtrlHandler(endAfterPause, TRUE);
    static_cast<void>(handled);
    pauseMutex.lock();
}

InterruptionPause::~InterruptionPause() {
    pauseMutex.unlock();
}

void removeFile(const std::filesystem::path::value_type* path) noexcept {
    DeleteFileW(path);
}

void removeFolder(const std::filesystem::path::value_type* path) noexcept {
    RemoveDirectoryW(path);
}

}  // namespace qx::tool

#endif
