#include "harness/FileReading.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace qx::bench {

namespace {

std::system_error lastError(const std::filesystem::path& path) {
    return {errno, std::generic_category(), path.string()};
}

class OpenFile {
public:
    explicit OpenFile(const std::filesystem::path& path) : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (descriptor_ < 0)
            throw lastError(path);
    }
    ~OpenFile() { ::close(descriptor_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    ssize_t read(std::span<std::uint8_t> buffer) { return ::read(descriptor_, buffer.data(), buffer.size()); }

private:
    int descriptor_;
};

void fill(const std::filesystem::path& file, std::span<std::uint8_t> bytes) {
    OpenFile open(file);
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = open.read(bytes.subspan(filled));
        if (count <= 0)
            throw lastError(file);
        filled += static_cast<std::size_t>(count);
    }
}

}  // namespace

std::int64_t readInPieces(const std::filesystem::path& file, std::vector<std::uint8_t>& buffer,
                          const std::function<void(std::span<const std::uint8_t>)>& piece) {
    OpenFile open(file);
    std::int64_t total = 0;
    ssize_t count;
    while ((count = open.read(buffer)) > 0) {
        piece(std::span(buffer).first(static_cast<std::size_t>(count)));
        total += count;
    }
    if (count < 0)
        throw lastError(file);
    return total;
}

std::vector<std::uint8_t> readWhole(const std::filesystem::path& file) {
    std::vector<std::uint8_t> bytes(std::filesystem::file_size(file));
    fill(file, bytes);
    return bytes;
}

void readToFreshMemory(const std::filesystem::path& file) {
    const std::size_t size = std::filesystem::file_size(file);
    void* const memory = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
        throw lastError(file);
    fill(file, {static_cast<std::uint8_t*>(memory), size});
    ::munmap(memory, size);
}

}  // namespace qx::bench
