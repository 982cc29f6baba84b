#pragma once

#include "common/Shape.h"

#include <QxUtils/Records.h>

#include <string>

namespace qx::tool {

// Writes a defect file of the classic kind, which a virtual detector can deliver. Positions are below 32768.
void writeClassicDefects(const std::string& path, const Shape& shape, const VectorDefect& defects);

}  // namespace qx::tool
