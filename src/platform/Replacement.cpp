#include "platform/Replacement.h"

#include <atomic>
#include <cstdio>

namespace qx {
namespace {

// So short a name that a path with room for an image's name has room for this one.
constexpr std::string_view kPrefix = ".qx-";
constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kDigitCount = 6;
constexpr std::uint32_t kNumbers = 1u << (4 * kDigitCount);

#ifdef _WIN32
constexpr std::string_view kSeparators = "\\/:";
#else
constexpr std::string_view kSeparators = "/";
#endif

std::atomic<std::uint32_t> named = 0;

}  // namespace

Replacement::~Replacement() {
    file_.reset();
    if (beside_[0] != '\0')
        std::remove(beside_.data());
}

bool Replacement::close() noexcept {
    return std::fclose(file_.release()) == 0;
}

bool Replacement::setTarget(std::string_view path) noexcept {
    if (path.size() >= target_.size() || path.find_last_of(kSeparators) + 1 == path.size())
        return false;
    path.copy(target_.data(), path.size());
    return true;
}

bool Replacement::nameBeside(std::uint32_t process, Path& name) const noexcept {
    // An odd factor: processes that live at the same time begin far from each other.
    constexpr std::uint32_t kFactor = 0x9E3779B1;
    const unsigned number = (process * kFactor + named++) % kNumbers;
    const std::string_view target = target_.data();
    // Without a separator npos + 1: no character.
    const std::size_t directory = target.find_last_of(kSeparators) + 1;
    if (directory + kPrefix.size() + kDigitCount >= name.size())
        return false;
    target.copy(name.data(), directory);
    std::snprintf(name.data() + directory, name.size() - directory, "%s%06x", kPrefix.data(), number);
    return true;
}

bool isReplacementName(std::string_view name) noexcept {
    return name.size() == kPrefix.size() + kDigitCount && name.starts_with(kPrefix) &&
           name.find_first_not_of(kDigits, kPrefix.size()) == name.npos;
}

}  // namespace qx
