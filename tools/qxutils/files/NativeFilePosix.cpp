#ifndef _WIN32

#include "files/NativeFile.h"

#include "text/NumberText.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <initializer_list>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qx::tool {
namespace {

constexpr std::array kInterruptions = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

void (*removeAtEnd)() noexcept = nullptr;

sigset_t maskBeforePause;

// The default action follows, so that the caller sees what ended the program.
void endBySignal(int signal) {
    removeAtEnd();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// What was ignored for the whole process, as nohup does, stays so.
void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = handler;
    sigaction(signal, &action, nullptr);
}

std::optional<int> streamOf(const std::string& name) {
    for (const std::string folder : {"/dev/fd/", "/proc/self/fd/"}) {
        const std::optional<int> number =
            name.starts_with(folder) ? parseInteger(name.substr(folder.size())) : std::nullopt;
        if (number && *number >= 0)
            return number;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::size_t> Descriptor::read(char* bytes, std::size_t size) {
    ssize_t count = -1;
    do {
        count = ::read(number_, bytes, size);
    } while (count < 0 && errno == EINTR);
    return count < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(count));
}

bool Descriptor::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(number_, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

bool Descriptor::close() {
    return !isOpen() || ::close(std::exchange(number_, -1)) == 0;
}

Descriptor openToRead(const std::filesystem::path& path) {
    return Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
}

Descriptor createNew(const std::filesystem::path& path) {
    return Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
}

bool lacksRoom() {
    return errno == ENOSPC || errno == EDQUOT;
}

Descriptor openInPlace(const std::filesystem::path& path) {
    return Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, 0666));
}

Descriptor openStream(int number) {
    return Descriptor(::fcntl(number, F_DUPFD_CLOEXEC, 0));
}

std::optional<int> streamOfInput(const std::string& name) {
    return name == "-" || name == "/dev/stdin" ? STDIN_FILENO : streamOf(name);
}

std::optional<int> streamOfOutput(const std::string& name) {
    if (name == "/dev/stderr")
        return STDERR_FILENO;
    return name == "/dev/stdout" ? STDOUT_FILENO : streamOf(name);
}

std::optional<std::int64_t> bytesLeft(const Descriptor& file) {
    struct stat status {};
    if (::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    const off_t place = ::lseek(file.number(), 0, SEEK_CUR);
    return place < 0 ? std::nullopt : std::optional<std::int64_t>(status.st_size - place);
}

bool isDirectory(const Descriptor& file) {
    struct stat status {};
    return ::fstat(file.number(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool mayWrite(const std::filesystem::path& path) {
    return ::access(path.c_str(), W_OK) == 0;
}

void takeMode(const Descriptor& file, const std::filesystem::path& replaced) {
    constexpr mode_t kModeBits = 07777;
    struct stat status {};
    if (::stat(replaced.c_str(), &status) != 0)
        return;
    // A change of the owner takes bits of the mode away.
    const bool isOwned = ::fchown(file.number(), status.st_uid, status.st_gid) == 0;
    ::fchmod(file.number(), status.st_mode & (isOwned ? kModeBits : kModeBits & ~(S_ISUID | S_ISGID)));
}

bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to, bool mayReplace) {
    if (mayReplace)
        return std::rename(from.c_str(), to.c_str()) == 0;
    // A second name never replaces one; a file system without second names takes the first.
    if (::link(from.c_str(), to.c_str()) == 0)
        return ::unlink(from.c_str()) == 0;
    return errno != EEXIST && ::access(to.c_str(), F_OK) != 0 && std::rename(from.c_str(), to.c_str()) == 0;
}

unsigned long processNumber() {
    return static_cast<unsigned long>(::getpid());
}

char** nativeArguments(char** arguments) {
    return arguments;
}

bool takesNamesInAnyScript() {
    return true;
}

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
    const auto begin = (reinterpret_cast<std::uintptr_t>(memory) + kLargePage - 1) & ~(kLargePage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(memory) + bytes) & ~(kLargePage - 1);
    if (begin < end)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
}

void onInterruption(void (*removeNow)() noexcept) {
    removeAtEnd = removeNow;
    for (const int signal : kInterruptions)
        handle(signal, endBySignal);
}

InterruptionPause::InterruptionPause() {
    sigset_t interruptions;
    sigemptyset(&interruptions);
    for (const int signal : kInterruptions)
        sigaddset(&interruptions, signal);
    pthread_sigmask(SIG_BLOCK, &interruptions, &maskBeforePause);
}

InterruptionPause::~InterruptionPause() {
    pthread_sigmask(SIG_SETMASK, &maskBeforePause, nullptr);
}

void removeFile(const std::filesystem::path::value_type* path) noexcept {
    ::unlink(path);
}

void removeFolder(const std::filesystem::path::value_type* path) noexcept {
    ::rmdir(path);
}

}  // namespace qx::tool

#endif
