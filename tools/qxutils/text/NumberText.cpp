#include "text/NumberText.h"

#include <charconv>
#include <system_error>

namespace qx::tool {

std::optional<int> parseInteger(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

}  // namespace qx::tool
