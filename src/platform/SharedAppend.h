#pragma once

#include <string_view>

namespace qx {

// Appends text to a file in one write, creating the file when missing, with the platform's line ends. Other processes
// may do the same at the same time: nothing is lost or torn. Returns false when the text could not be written.
bool appendShared(const char* path, std::string_view text) noexcept;

}  // namespace qx
