#include "image/ImageFiles.h"

#include "common/FileAccess.h"

#include <CLI/CLI.hpp>

namespace qx::tool {

RawImage ImageFiles::load() const {
    return loadRawImage(file, parseShape(shape));
}

void ImageFiles::requireOutputs() const {
    requireName(output, "the image file to write");
    requireOtherFile(output, file);
    requirePicture();
    if (picture)
        requireOtherFile(*picture, output);
}

void ImageFiles::requirePicture() const {
    if (!picture)
        return;
    requireName(*picture, "the PNG file to write");
    requireOtherFile(*picture, file);
}

void addInput(CLI::App& command, ImageFiles& files) {
    command.add_option("FILE", files.file, "Raw 16-bit image")->required();
    command.add_option("--shape", files.shape, "WIDTHxHEIGHT in pixels")->required();
}

void addOutputs(CLI::App& command, ImageFiles& files, const std::string& pictured) {
    command.add_option("-o,--output", files.output, "Raw image to write")->required();
    command.add_option("--png", files.picture, pictured);
}

void addZoom(CLI::App& command, std::optional<std::string>& zoom) {
    command.add_option("--zoom", zoom, "WIDTHxHEIGHT+X+Y: the part that the picture shows; all of it when left out")
        ->needs(command.get_option("--png"));
}

}  // namespace qx::tool
