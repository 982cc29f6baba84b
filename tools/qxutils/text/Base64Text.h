#pragma once

#include <string>
#include <string_view>

namespace qx::tool {

std::string base64Text(std::string_view bytes);

}  // namespace qx::tool
