#pragma once

#include "picture/Canvas.h"
#include "picture/Preview.h"

#include <string>

namespace qx::tool {

// Both throw a ToolError when the file cannot be written.
void writePng(const std::string& path, const GreyPicture& picture);
void writePng(const std::string& path, const Canvas& canvas);

}  // namespace qx::tool
