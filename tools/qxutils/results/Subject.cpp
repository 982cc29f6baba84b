#include "results/Subject.h"

#include "files/ContentCrc.h"
#include "files/InputFile.h"
#include "files/NamedInput.h"
#include "text/DateText.h"
#include "text/FileName.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

std::chrono::system_clock::time_point systemTime(fs::file_time_type time) {
    return std::chrono::time_point_cast<std::chrono::system_clock::duration>(std::chrono::file_clock::to_sys(time));
}

// A stream tells its length when it was read.
Subject withContent(Subject subject, std::int64_t bytes, std::uint32_t crc) {
    subject.bytes = bytes;
    subject.crc = crc;
    return subject;
}

template <class Pixel>
Subject ofPixels(const std::string& file, const Image<Pixel>& image) {
    const std::string_view bytes = pixelBytes(image);
    return withContent(subjectOf(file, image.shape), std::ssize(bytes), contentCrc(bytes));
}

}  // namespace

Subject subjectOf(const std::string& file, std::optional<Shape> shape) {
    Subject subject{file};
    subject.shape = shape;
    std::error_code error;
    const fs::path path = toPath(file);
    if (!fs::is_regular_file(path, error))
        return subject;
    if (const auto bytes = fs::file_size(path, error); !error)
        subject.bytes = static_cast<std::int64_t>(bytes);
    if (const auto time = fs::last_write_time(path, error); !error)
        subject.time = timeText(systemTime(time));
    return subject;
}

Subject subjectOf(const NamedInput& input, bool tellsContent) {
    Subject subject = subjectOf(input.name());
    subject.file = input.file();
    if (input.isCopy())
        subject.time.clear();
    if (!tellsContent)
        return subject;
    InputFile content(input.name(), "a file");
    std::array<char, 1 << 16> piece;
    std::uint32_t crc = 0;
    for (std::size_t got = piece.size(); got == piece.size();) {
        got = content.read(piece.data(), piece.size());
        crc = contentCrc({piece.data(), got}, crc);
    }
    return withContent(subject, content.bytesRead(), crc);
}

Subject subjectOf(const std::string& file, const LoadedImage& loaded) {
    return withContent(subjectOf(file, loaded.image.shape), std::ssize(loaded.header) + loaded.image.shape.pixelBytes(),
                       loaded.contentCrc());
}

Subject subjectOf(const std::string& file, const FloatImage& image) {
    return ofPixels(file, image);
}

Subject subjectOf(const std::string& file, const LongImage& image) {
    return ofPixels(file, image);
}

}  // namespace qx::tool
