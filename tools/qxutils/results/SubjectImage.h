#pragma once

#include "image/RawImage.h"
#include "results/Record.h"

#include <optional>
#include <string>

namespace qx::tool {

// A raw image file that records are about: read once, when it is first needed, and kept.
class SubjectImage {
public:
    SubjectImage(std::string file, const Shape& shape);

    const std::string& file() const { return file_; }
    const Shape& shape() const { return shape_; }

    // Each throws a ToolError for a file that cannot be read, or is not of the size that the shape asks for.
    const LoadedImage& counts();
    const FloatImage& floats();

    // With the CRC-32 of what was read.
    const Subject& subjectOfCounts();
    const Subject& subjectOfFloats();

private:
    std::string file_;
    Shape shape_;
    std::optional<LoadedImage> counts_;
    std::optional<FloatImage> floats_;
    std::optional<Subject> subject_;
};

}  // namespace qx::tool
