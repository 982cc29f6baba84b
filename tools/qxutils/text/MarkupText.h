#pragma once

#include <string>

namespace qx::tool {

// A text as it can stand in HTML and XML, between tags and in attributes; bytes that are no UTF-8, and control
// characters, are replaced.
std::string markupText(const std::string& text);

}  // namespace qx::tool
