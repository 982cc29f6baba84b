#pragma once

#include "picture/Drawing.h"
#include "picture/Preview.h"

#include <string>

// Pictures as files.

namespace qx::tool {

// The bytes of a PNG.
std::string encodePng(const GreyPicture& picture);

// The drawing at twice the resolution of its logical pixels; in shades of grey when it has no colour.
std::string encodePng(const Drawing& drawing);

// Writes a plain picture as a PNG. Throws a ToolError when the name is that of an SVG or the file cannot be written, as
// the next one does.
void writePng(const std::string& path, const GreyPicture& picture);

// Writes a drawing as an SVG when the name ends in .svg, and as a PNG otherwise.
void writePicture(const std::string& path, const Drawing& drawing);

}  // namespace qx::tool
