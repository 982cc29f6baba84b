#include "results/Subject.h"

#include <chrono>
#include <ctime>
#include <filesystem>
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

}  // namespace

Subject subjectOf(const std::string& file, std::optional<Shape> shape) {
    Subject subject{file};
    subject.shape = shape;
    std::error_code error;
    if (!fs::is_regular_file(file, error))
        return subject;
    if (const auto bytes = fs::file_size(file, error); !error)
        subject.bytes = static_cast<std::int64_t>(bytes);
    if (const auto time = fs::last_write_time(file, error); !error)
        subject.time = timeText(time);
    return subject;
}

}  // namespace qx::tool
