#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"
#include "platform/Console.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <string_view>

namespace {

constexpr std::size_t kNumberCapacity = 50;

// The decimal number at the start of a text, limited to the range of int; 0 when there is none.
int leadingNumber(const char* text) {
    return static_cast<int>(std::clamp<long long>(std::strtoll(text, nullptr, 10), INT_MIN, INT_MAX));
}

}  // namespace

int getGainExpTime(const char* fileName) {
    if (fileName == nullptr)
        return StatusNullArgument;
    constexpr std::string_view kBefore = "ms-";
    constexpr std::string_view kAfter = "-mA";
    const std::string_view name = fileName;
    const std::size_t before = name.find(kBefore);
    const std::size_t end = name.find(kAfter);
    if (before == name.npos || end == name.npos || end < before + kBefore.size())
        return StatusWrongParameter;
    const std::string_view number = name.substr(before + kBefore.size(), end - before - kBefore.size());
    // Kept: no status, the process ends.
    if (number.size() >= kNumberCapacity)
        qx::fatalError("getGainExpTime: 50 or more characters between \"ms-\" and \"-mA\"");
    std::array<char, kNumberCapacity> digits{};
    number.copy(digits.data(), number.size());
    return leadingNumber(digits.data());
}
