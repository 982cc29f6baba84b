#pragma once

#include <string>

namespace qx::tool {

// Sets the virtual detector from a TOML file; throws a ToolError when it cannot be read or says something wrong.
void loadDetectorFile(const std::string& file);

}  // namespace qx::tool
