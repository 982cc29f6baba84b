#pragma once

#include "image/RawImage.h"
#include "image/Region.h"
#include "options/BatchOptions.h"

#include <optional>
#include <string>
#include <vector>

// The options that commands on raw images share.

namespace CLI {
class App;
}

namespace qx::tool {

// Of the pictures that go into a folder.
inline constexpr const char* kPictureEnding = ".png";

// One raw 16-bit image and where what is made of it goes.
struct ImageFiles {
    std::string file;
    std::optional<std::string> output;
    std::optional<std::string> picture;

    std::vector<std::string> outputs() const;
};

// What a command that turns raw 16-bit images into other ones is told.
struct ImageOptions {
    BatchOptions batch;
    std::string shape;
    std::optional<std::string> output;  // none for a command that writes pictures alone
    std::optional<std::string> picture;
    std::optional<std::string> zoom;

    // The names of one file. Throws a ToolError for one that cannot be written to without harm.
    ImageFiles filesFor(const std::string& file) const;

    // The part of the image that pictures show.
    Region shownPart(const RawImage& image) const { return parseRegion(zoom, image.shape); }
};

// Runs a command that makes one record of each image: its files are named before the first one is read.
ExitCode runImages(const ImageOptions& options, const std::string& command,
                   const std::function<Record(const RawImage& image, const ImageFiles& files)>& work);

// Refuses the name of a picture that is empty or that of the file it is made from.
void requirePictureName(const std::string& picture, const std::string& file);

void addShapeOption(CLI::App& command, std::string& shape);

// FILE... with the options of a batch, and --shape.
void addInput(CLI::App& command, ImageOptions& options);

// -o and --png; --zoom needs --png.
void addOutputs(CLI::App& command, ImageOptions& options, const std::string& pictured);
void addZoom(CLI::App& command, ImageOptions& options);

}  // namespace qx::tool
