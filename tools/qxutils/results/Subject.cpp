#include "results/Subject.h"

#include "common/ContentCrc.h"
#include "common/FileName.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <system_error>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

std::string timeText(fs::file_time_type time) {
    const auto seconds =
        std::chrono::floor<std::chrono::seconds>(std::chrono::file_clock::to_sys(time)).time_since_epoch().count();
    const auto whole = static_cast<std::time_t>(seconds);
    std::tm parts{};
#if defined(_WIN32)
    if (gmtime_s(&parts, &whole) != 0)
        return "";
#else
    if (gmtime_r(&whole, &parts) == nullptr)
        return "";
#endif
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts)};
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
        subject.time = timeText(time);
    return subject;
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
