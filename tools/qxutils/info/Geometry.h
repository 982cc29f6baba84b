#pragma once

#include "common/Shape.h"

#include <cstdint>
#include <optional>
#include <vector>

// Which shapes a raw file without a word about its size may have.

namespace qx::tool {

// A shape that a raw file of some size could have.
struct Geometry {
    Shape shape;
    bool hasHeader = false;
    bool isCommonPanel = false;
};

// Shapes that fit a file's size: those of common panels first, then other factor pairs whose sides are multiples of
// 32 and whose aspect is plausible.
std::vector<Geometry> plausibleGeometries(std::int64_t fileBytes);

// The geometry to take when nobody says: the only common panel that fits.
std::optional<Geometry> unambiguousGeometry(const std::vector<Geometry>& geometries);

}  // namespace qx::tool
