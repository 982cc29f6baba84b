// Goes before the C library and lets one call of a program fail. QX_FAULT names the kind and the number: "memory:17",
// the 17th allocation, "memory:17+", that one and all later ones, or "files:3", the third call about a file or folder.
// The file that QX_FAULT_COUNT names gets the calls of both kinds, a line each. What a program starts is left alone.

// Checked functions of the C library would be defined by its headers.
#undef _FORTIFY_SOURCE

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

// Of every file that the program makes.
constexpr mode_t kNewFileMode = 0666;

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

__attribute__((destructor)) void tellCount() {
    const char* const path = std::getenv("QX_FAULT_COUNT");
    if (path == nullptr || childMark() != nullptr)
        return;
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%ld\n%ld\n", memory.calls.load(), files.calls.load());
    const long file = syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, kNewFileMode);
    syscall(SYS_write, file, line, length);
}

}  // namespace

// The C library's own.
#define QX_NEXT(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))

// Replaces a function by one that may fail with this result instead of going on with this call.
#define QX_FAILING(kind, Result, failure, name, parameters, call)                                                      \
    Result name parameters {                                                                                           \
        return fails(kind) ? failure : call;                                                                           \
    }
#define QX_FILE_CALL(Result, failure, name, parameters, arguments)                                                     \
    QX_FAILING(files, Result, failure, name, parameters, QX_NEXT(name) arguments)

extern "C" {

QX_FAILING(memory, void*, nullptr, malloc, (std::size_t size), __libc_malloc(size))
QX_FAILING(memory, void*, nullptr, calloc, (std::size_t count, std::size_t size), __libc_calloc(count, size))
QX_FAILING(memory, void*, nullptr, realloc, (void* old, std::size_t size), __libc_realloc(old, size))
QX_FAILING(memory, void*, nullptr, aligned_alloc, (std::size_t unit, std::size_t size), __libc_memalign(unit, size))

QX_FILE_CALL(int, -1, open, (const char* path, int flags, ...),
             (path, flags, (flags & O_CREAT) != 0 ? kNewFileMode : 0))
QX_FILE_CALL(int, -1, open64, (const char* path, int flags, ...),
             (path, flags, (flags & O_CREAT) != 0 ? kNewFileMode : 0))
QX_FILE_CALL(ssize_t, -1, pread64, (int descriptor, void* bytes, std::size_t size, off64_t place),
             (descriptor, bytes, size, place))
QX_FILE_CALL(ssize_t, -1, pwrite64, (int descriptor, const void* bytes, std::size_t size, off64_t place),
             (descriptor, bytes, size, place))
QX_FILE_CALL(int, -1, fdatasync, (int descriptor), (descriptor))
QX_FILE_CALL(ssize_t, -1, read, (int descriptor, void* bytes, std::size_t size), (descriptor, bytes, size))
QX_FILE_CALL(ssize_t, -1, writev, (int descriptor, const iovec* pieces, int count), (descriptor, pieces, count))
QX_FILE_CALL(int, -1, rename, (const char* from, const char* to) noexcept, (from, to))
QX_FILE_CALL(int, -1, link, (const char* from, const char* to) noexcept, (from, to))
QX_FILE_CALL(int, -1, mkdir, (const char* path, mode_t mode) noexcept, (path, mode))
QX_FILE_CALL(DIR*, nullptr, opendir, (const char* path), (path))
QX_FILE_CALL(dirent*, nullptr, readdir, (DIR * folder), (folder))
QX_FILE_CALL(FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
QX_FILE_CALL(FILE*, nullptr, fdopen, (int descriptor, const char* mode) noexcept, (descriptor, mode))
QX_FILE_CALL(std::size_t, 0, fread, (void* bytes, std::size_t size, std::size_t count, FILE* file),
             (bytes, size, count, file))

// What is told on standard error has no other place to go.
ssize_t write(int descriptor, const void* bytes, std::size_t size) {
    return descriptor != STDERR_FILENO && fails(files) ? -1 : QX_NEXT(write)(descriptor, bytes, size);
}

std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count, FILE* file) {
    const bool isTold = file == stderr || file == stdout;
    return !isTold && fails(files) ? 0 : QX_NEXT(fwrite)(bytes, size, count, file);
}

// What fails to be closed is closed.
int close(int descriptor) {
    const int result = QX_NEXT(close)(descriptor);
    return fails(files) ? -1 : result;
}

int fclose(FILE* file) {
    const int result = QX_NEXT(fclose)(file);
    return fails(files) ? EOF : result;
}

}  // extern "C"
