#pragma once

#include "image/RawImage.h"
#include "image/Region.h"

#include <optional>
#include <string>
#include <vector>

// The options that commands on raw images share.

namespace CLI {
class App;
}

namespace qx::tool {

// What a command that turns one raw 16-bit image into another one is told.
struct ImageOptions {
    std::string file;
    std::string shape;
    std::string output;
    std::optional<std::string> picture;
    std::optional<std::string> zoom;

    RawImage load() const;

    // The part of the image that pictures show.
    Region shownPart(const RawImage& image) const { return parseRegion(zoom, image.shape); }

    // The image and, where there is one, the picture.
    std::vector<std::string> outputs() const;

    // Both throw a ToolError for a name that cannot be written to without harm.
    void requireOutputs() const;
    void requirePicture() const;
};

// Refuses the name of a picture that is empty or that of the file it is made from.
void requirePictureName(const std::string& picture, const std::string& file);

void addShapeOption(CLI::App& command, std::string& shape);

// FILE and --shape.
void addInput(CLI::App& command, std::string& file, std::string& shape);

// Those of ImageOptions; --zoom needs --png.
void addInput(CLI::App& command, ImageOptions& options);
void addOutputs(CLI::App& command, ImageOptions& options, const std::string& pictured);
void addZoom(CLI::App& command, ImageOptions& options);

}  // namespace qx::tool
