// Functions of the C library are replaced below, so headers must not define checked ones of their names.
#undef _FORTIFY_SOURCE

#include "FaultyRuntime.h"

#include "fault/AllocationOperators.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unwind.h>

namespace {

using qx::test::Fault;

// Operations until the one that fails; below 1 none does.
long untilFailure = 0;
Fault failingKind = Fault::Memory;
const char* failed = nullptr;

// Where the project's libraries lie.
struct Range {
    std::uintptr_t first;
    std::uintptr_t end;
    bool isLibrary;
};
std::array<Range, 64> ranges{};
std::size_t rangeCount = 0;

int addObject(dl_phdr_info* object, std::size_t, void*) {
    const char* const name = std::strstr(object->dlpi_name, "/libQx");
    for (int i = 0; name != nullptr && i < object->dlpi_phnum && rangeCount < ranges.size(); ++i) {
        const auto& segment = object->dlpi_phdr[i];
        const std::uintptr_t first = object->dlpi_addr + segment.p_vaddr;
        if (segment.p_type == PT_LOAD)
            ranges[rangeCount++] = {first, first + segment.p_memsz, std::strncmp(name, "/libQxUtils", 11) == 0};
    }
    return 0;
}

// Looks outwards for the first of them.
_Unwind_Reason_Code look(_Unwind_Context* frame, void* isLibrary) {
    const std::uintptr_t address = _Unwind_GetIP(frame);
    for (std::size_t i = 0; i < rangeCount; ++i)
        if (address >= ranges[i].first && address < ranges[i].end) {
            *static_cast<bool*>(isLibrary) = ranges[i].isLibrary;
            return _URC_END_OF_STACK;
        }
    return _URC_NO_REASON;
}

bool isAskedByLibrary() {
    bool isLibrary = false;
    _Unwind_Backtrace(look, &isLibrary);
    return isLibrary;
}

bool failsNow(Fault kind, const char* name) noexcept {
    if (untilFailure < 1 || kind != failingKind || !isAskedByLibrary() || --untilFailure > 0)
        return false;
    failed = name;
    errno = kind == Fault::Memory ? ENOMEM : EIO;
    return true;
}

bool fileFails(const char* name) noexcept {
    return failsNow(Fault::Files, name);
}

template <class Function>
Function* real(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define QX_REAL(function) real(&::function, #function)

// A stream that is read takes no character, and remembers the attempt as its error.
void spoil(std::FILE* file) {
    std::fputc(0, file);
}

}  // namespace

void* qx::test::allocate(std::size_t size) noexcept {
    return failsNow(Fault::Memory, "new") ? nullptr : std::malloc(size != 0 ? size : 1);
}

// In front of the C library's.
#pragma GCC visibility push(default)
extern "C" {

void* realloc(void* memory, std::size_t size) noexcept {
    static const auto function = QX_REAL(realloc);
    return failsNow(Fault::Memory, "realloc") ? nullptr : function(memory, size);
}

int open(const char* path, int flags, ...) {
    static const auto function = QX_REAL(open);
    std::va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fileFails("open") ? -1 : function(path, flags, mode);
}

std::FILE* fdopen(int descriptor, const char* mode) noexcept {
    static const auto function = QX_REAL(fdopen);
    return fileFails("fdopen") ? nullptr : function(descriptor, mode);
}

std::size_t fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
    static const auto function = QX_REAL(fread);
    if (!fileFails("fread"))
        return function(bytes, size, count, file);
    const std::size_t half = function(bytes, size, count / 2, file);
    spoil(file);
    return half;
}

char* fgets(char* text, int size, std::FILE* file) {
    static const auto function = QX_REAL(fgets);
    if (!fileFails("fgets"))
        return function(text, size, file);
    spoil(file);
    return nullptr;
}

int fgetc(std::FILE* file) {
    static const auto function = QX_REAL(fgetc);
    if (!fileFails("fgetc"))
        return function(file);
    spoil(file);
    return EOF;
}

std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file) {
    static const auto function = QX_REAL(fwrite);
    return function(bytes, size, fileFails("fwrite") ? count / 2 : count, file);
}

ssize_t write(int descriptor, const void* bytes, std::size_t count) {
    static const auto function = QX_REAL(write);
    return fileFails("write") ? -1 : function(descriptor, bytes, count);
}

int fseeko(std::FILE* file, off_t offset, int origin) {
    static const auto function = QX_REAL(fseeko);
    return fileFails("fseeko") ? -1 : function(file, offset, origin);
}

off_t ftello(std::FILE* file) {
    static const auto function = QX_REAL(ftello);
    return fileFails("ftello") ? -1 : function(file);
}

int fclose(std::FILE* file) {
    static const auto function = QX_REAL(fclose);
    const bool fails = fileFails("fclose");
    // Where the stream cannot write, nothing can get lost.
    const bool isLost = fails && ftruncate(fileno(file), 0) == 0;
    const int result = function(file);
    return fails || isLost ? EOF : result;
}

int rename(const char* from, const char* to) noexcept {
    static const auto function = QX_REAL(rename);
    return fileFails("rename") ? -1 : function(from, to);
}

int mkdir(const char* path, mode_t mode) noexcept {
    static const auto function = QX_REAL(mkdir);
    return fileFails("mkdir") ? -1 : function(path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept {
    static const auto function = QX_REAL(fchmod);
    return fileFails("fchmod") ? -1 : function(descriptor, mode);
}

DIR* opendir(const char* path) {
    static const auto function = QX_REAL(opendir);
    return fileFails("opendir") ? nullptr : function(path);
}

dirent* readdir(DIR* directory) {
    static const auto function = QX_REAL(readdir);
    return fileFails("readdir") ? nullptr : function(directory);
}

}  // extern "C"
#pragma GCC visibility pop

namespace qx::test {

void failOperation(Fault kind, long number) {
    if (rangeCount == 0)
        dl_iterate_phdr(addObject, nullptr);
    failed = nullptr;
    failingKind = kind;
    untilFailure = number;
}

const char* stopFailing() {
    untilFailure = 0;
    return failed;
}

}  // namespace qx::test
