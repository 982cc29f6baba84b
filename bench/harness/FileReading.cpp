#include "harness/FileReading.h"

#include <fcntl.h>
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
    OpenFile open(file);
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const ssize_t count = open.read(std::span(bytes).subspan(filled));
        if (count <= 0)
            throw lastError(file);
        filled += static_cast<std::size_t>(count);
    }
    return bytes;
}

}  // namespace qx::bench
