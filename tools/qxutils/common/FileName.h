#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Names of files as the command line gives them: UTF-8 on Windows, and bytes of any kind elsewhere.

namespace qx::tool {

// A narrow text that is made into a path directly may be read in another code page.
std::filesystem::path toPath(const std::string& name);
std::string toName(const std::filesystem::path& path);

// A text for one line of a terminal: what is no printable UTF-8, control characters among it, stands as \xNN.
std::string printable(std::string_view text);

}  // namespace qx::tool
