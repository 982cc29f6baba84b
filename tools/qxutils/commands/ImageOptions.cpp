#include "commands/ImageOptions.h"

#include "common/FileAccess.h"

#include <CLI/CLI.hpp>

namespace qx::tool {

RawImage ImageOptions::load() const {
    return loadRawImage(file, parseShape(shape));
}

void ImageOptions::requireOutputs() const {
    requireName(output, "the image file to write");
    requireOtherFile(output, file);
    requirePicture();
    if (picture)
        requireOtherFile(*picture, output);
}

void ImageOptions::requirePicture() const {
    if (picture)
        requirePictureName(*picture, file);
}

void requirePictureName(const std::string& picture, const std::string& file) {
    requireName(picture, "the PNG file to write");
    requireOtherFile(picture, file);
}

void addShapeOption(CLI::App& command, std::string& shape) {
    command.add_option("--shape", shape, "WIDTHxHEIGHT in pixels")->required();
}

void addInput(CLI::App& command, std::string& file, std::string& shape) {
    command.add_option("FILE", file, "Raw 16-bit image")->required();
    addShapeOption(command, shape);
}

void addInput(CLI::App& command, ImageOptions& options) {
    addInput(command, options.file, options.shape);
}

void addOutputs(CLI::App& command, ImageOptions& options, const std::string& pictured) {
    command.add_option("-o,--output", options.output, "Raw image to write")->required();
    command.add_option("--png", options.picture, pictured + ", PNG or SVG by its name");
}

void addZoom(CLI::App& command, ImageOptions& options) {
    command
        .add_option("--zoom", options.zoom,
                    "WIDTHxHEIGHT+X+Y: the part that the picture shows; all of it when left out")
        ->needs(command.get_option("--png"));
}

}  // namespace qx::tool
