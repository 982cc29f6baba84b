#pragma once

#include "common/Shape.h"
#include "files/NamedInput.h"

#include <optional>
#include <vector>

namespace qx::tool {

// What a defect file of either kind holds. The shape is the image's as the header tells it, not checked.
struct DefectLists {
    Shape shape;
    std::vector<Point> points;
    std::vector<std::vector<Point>> clusters;
    std::vector<int> rows;
    std::vector<int> columns;

    // The shape, if an image may have it.
    std::optional<Shape> imageShape() const;
};

inline constexpr const char* kDefectFileWanted = "a defect file";

// Throws a ToolError when it is no defect file.
DefectLists loadDefectLists(const NamedInput& input);

}  // namespace qx::tool
