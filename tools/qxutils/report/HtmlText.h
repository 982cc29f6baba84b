#pragma once

#include <string>

namespace qx::tool {

// A text as it can stand in a page, between tags and in attributes; bytes that are no UTF-8, and control characters,
// are replaced.
std::string htmlText(const std::string& text);

}  // namespace qx::tool
