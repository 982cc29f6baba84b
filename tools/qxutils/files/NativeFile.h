#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// Files as the operating system keeps them. Nothing here throws but for want of memory: a failure is told by the result
// and errno.

namespace qx::tool {

// An open file or stream.
class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

    // Up to size bytes: 0 at the end, nothing on failure.
    std::optional<std::size_t> read(char* bytes, std::size_t size);
    bool write(std::string_view bytes);
    bool close();

private:
    int number_;
};

Descriptor openToRead(const std::filesystem::path& path);

// Fails when there is a file of that name.
Descriptor createNew(const std::filesystem::path& path);

// Whether the last of these failed because the disk is full.
bool lacksRoom();

// Empties a file, or creates it.
Descriptor openInPlace(const std::filesystem::path& path);

// The stream of the process with this number, as it stands, in binary.
Descriptor openStream(int number);

// Standard input for "-", and the stream that a name such as /dev/stdin or /dev/fd/63 stands for.
std::optional<int> streamOfInput(const std::string& name);
std::optional<int> streamOfOutput(const std::string& name);

// What is left of an open regular file in bytes; nothing for a stream.
std::optional<std::int64_t> bytesLeft(const Descriptor& file);

bool isDirectory(const Descriptor& file);

bool mayWrite(const std::filesystem::path& path);

// Gives an open new file the owner, where that is allowed, and the mode of the one that it is going to replace.
void takeMode(const Descriptor& file, const std::filesystem::path& replaced);

// Puts a file under another name in one step, in the place of one that has it or failing for it.
bool moveFile(const std::filesystem::path& from, const std::filesystem::path& to, bool mayReplace);

// Asks for large pages in memory that is about to be filled for the first time: an image takes thousands of small ones,
// each by a fault that costs more than to read what goes there.
void preferLargePages(void* memory, std::size_t bytes) noexcept;

unsigned long processNumber();

// The arguments of main: in UTF-8 on Windows, whatever the process's code page, and as they are elsewhere.
char** nativeArguments(char** arguments);

// Whether narrow texts, which the library takes, can name every file.
bool takesNamesInAnyScript();

// Lets removeNow, which may do nothing but remove files and folders, run when the process is told to end.
void onInterruption(void (*removeNow)() noexcept);

// While it lives the process is told to end only by what cannot wait. For the library's writing of files, which it
// keeps under names of its own until they are whole. One at a time.
class InterruptionPause {
public:
    InterruptionPause();
    ~InterruptionPause();
    InterruptionPause(const InterruptionPause&) = delete;
    InterruptionPause& operator=(const InterruptionPause&) = delete;
};

template <class Work>
auto withoutInterruption(const Work& work) {
    const InterruptionPause pause;
    return work();
}

// They may run in a signal's handler; a folder has to be empty.
void removeFile(const std::filesystem::path::value_type* path) noexcept;
void removeFolder(const std::filesystem::path::value_type* path) noexcept;

}  // namespace qx::tool
