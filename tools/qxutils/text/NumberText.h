#pragma once

#include <optional>
#include <string_view>

// Numbers as the command line gives them.

namespace qx::tool {

// The integer that a text is as a whole; nothing for any other text and for what does not fit.
std::optional<int> parseInteger(std::string_view text);

}  // namespace qx::tool
