#pragma once

#include "common/Shape.h"

#include <string>
#include <vector>

namespace qx::tool {

// What a defect file of either kind holds. The shape is the image's as the header tells it, not checked.
struct DefectLists {
    Shape shape;
    std::vector<Point> points;
    std::vector<std::vector<Point>> clusters;
    std::vector<int> rows;
    std::vector<int> columns;
};

// Throws a ToolError when the file cannot be read or is no defect file.
DefectLists loadDefectLists(const std::string& path);

}  // namespace qx::tool
