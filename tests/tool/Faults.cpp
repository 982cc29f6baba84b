// Goes before the C library and lets one call of a program fail. QX_FAULT names the kind and the number: "memory:17",
// the 17th allocation, "memory:17+", that one and all later ones, or "files:3", the third call about a file or folder.
// The file that QX_FAULT_COUNT names gets the calls of both kinds, a line each. What a program starts is left alone.

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
extern char** environ;
}

namespace {

// The calls of one kind, and those of them that fail.
struct Kind {
    const char* name;
    int error;
    std::atomic<long> calls = 0;
    long first = 0;
    long last = 0;

    void readOrder() {
        const char* const order = std::getenv("QX_FAULT");
        const std::size_t length = std::strlen(name);
        if (order == nullptr || std::strncmp(order, name, length) != 0)
            return;
        char* end = nullptr;
        first = std::strtol(order + length + 1, &end, 10);
        last = *end == '+' ? LONG_MAX : first;
    }
};

Kind memory{"memory", ENOMEM};
Kind files{"files", EIO};

const char* childMark() {
    return std::getenv("QXUTILS_CHILD_PROCESS");
}

// Takes no memory itself; before the program's own start there is no environment.
bool fails(Kind& kind) {
    static std::atomic<bool> isReady = false;
    if (environ == nullptr || childMark() != nullptr)
        return false;
    if (!isReady.exchange(true)) {
        memory.readOrder();
        files.readOrder();
    }
    const long number = ++kind.calls;
    if (number < kind.first || number > kind.last)
        return false;
    errno = kind.error;
    return true;
}

template <class... Arguments>
auto ask(long number, Arguments... arguments) {
    return fails(files) ? -1 : syscall(number, arguments...);
}

__attribute__((destructor)) void tellCount() {
    const char* const path = std::getenv("QX_FAULT_COUNT");
    if (path == nullptr || childMark() != nullptr)
        return;
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%ld\n%ld\n", memory.calls.load(), files.calls.load());
    const long file = syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    syscall(SYS_write, file, line, length);
}

}  // namespace

// The C library's own.
#define QX_NEXT(name) (reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name)))

extern "C" {

void* malloc(std::size_t size) {
    return fails(memory) ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    return fails(memory) ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* old, std::size_t size) {
    return fails(memory) ? nullptr : __libc_realloc(old, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return fails(memory) ? nullptr : __libc_memalign(alignment, size);
}

// The callers give a mode or not; what is not given is not used.
int open(const char* path, int flags, ...) {
    __builtin_va_list arguments;
    __builtin_va_start(arguments, flags);
    const unsigned mode = (flags & O_CREAT) != 0 ? __builtin_va_arg(arguments, unsigned) : 0;
    __builtin_va_end(arguments);
    return static_cast<int>(ask(SYS_openat, AT_FDCWD, path, flags, mode));
}

ssize_t read(int descriptor, void* bytes, std::size_t size) {
    return ask(SYS_read, descriptor, bytes, size);
}

// What is told on standard error has no other place to go.
ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    return descriptor == STDERR_FILENO ? syscall(SYS_write, descriptor, bytes, size)
                                       : ask(SYS_write, descriptor, bytes, size);
}

ssize_t writev(int descriptor, const iovec* pieces, int count) {
    return ask(SYS_writev, descriptor, pieces, count);
}

// What fails to be closed is closed.
int close(int descriptor) {
    const long result = syscall(SYS_close, descriptor);
    return fails(files) ? -1 : static_cast<int>(result);
}

int rename(const char* from, const char* to) noexcept {
    return static_cast<int>(ask(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int link(const char* from, const char* to) noexcept {
    return static_cast<int>(ask(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int mkdir(const char* path, mode_t mode) noexcept {
    return static_cast<int>(ask(SYS_mkdirat, AT_FDCWD, path, mode));
}

DIR* opendir(const char* path) {
    return fails(files) ? nullptr : QX_NEXT(opendir)(path);
}

dirent* readdir(DIR* folder) {
    return fails(files) ? nullptr : QX_NEXT(readdir)(folder);
}

FILE* fopen64(const char* path, const char* mode) {
    return fails(files) ? nullptr : QX_NEXT(fopen64)(path, mode);
}

FILE* fdopen(int descriptor, const char* mode) noexcept {
    return fails(files) ? nullptr : QX_NEXT(fdopen)(descriptor, mode);
}

std::size_t fread(void* bytes, std::size_t size, std::size_t count, FILE* file) {
    return fails(files) ? 0 : QX_NEXT(fread)(bytes, size, count, file);
}

std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count, FILE* file) {
    const bool isTold = file == stderr || file == stdout;
    return !isTold && fails(files) ? 0 : QX_NEXT(fwrite)(bytes, size, count, file);
}

int fclose(FILE* file) {
    const int result = QX_NEXT(fclose)(file);
    return fails(files) ? EOF : result;
}

}  // extern "C"
