#include "options/ImageOptions.h"

#include "batch/OutputNames.h"
#include "files/FileAccess.h"
#include "results/Subject.h"

#include <CLI/CLI.hpp>

namespace qx::tool {

std::vector<std::string> ImageFiles::outputs() const {
    std::vector<std::string> names;
    for (const std::optional<std::string>& name : {output, picture}) {
        if (name)
            names.push_back(*name);
    }
    return names;
}

ImageFiles ImageOptions::filesFor(const std::string& file) const {
    ImageFiles files{file, std::nullopt, std::nullopt};
    if (output) {
        files.output = outputFor(*output, file);
        requireName(*files.output, "the image file to write");
    }
    if (picture) {
        files.picture = outputFor(*picture, file, kPictureEnding);
        requireName(*files.picture, "the picture file to write");
    }
    requireDistinct(files.outputs(), {file});
    return files;
}

ExitCode runImages(const ImageOptions& options, const std::string& command,
                   const std::function<Record(const RawImage& image, const ImageFiles& files)>& work) {
    const Shape shape = parseShape(options.shape);
    // A mistake is told once and not for each file.
    parseRegion(options.zoom, shape);
    const auto judge = [&](const std::string& file) {
        const ImageFiles files = options.filesFor(file);
        const LoadedImage loaded = loadImageFile(file, shape);
        Record record = aboutFile(
            file, [&] { return work(loaded.image, files); }, files.outputs());
        record.subject = options.batch.results.tellContent() ? subjectOf(file, loaded) : Subject{file};
        return std::vector{record};
    };
    const auto prepare = [&options](const std::vector<std::string>& files) {
        if (options.output)
            prepareOutputs(*options.output, files);
        if (options.picture)
            prepareOutputs(*options.picture, files, kPictureEnding);
    };
    return runBatch(options.batch, command, judge, printNamedTexts, prepare);
}

void requirePictureName(const std::string& picture, const std::string& file) {
    requireName(picture, "the picture file to write");
    requireOtherFile(picture, file);
}

void addShapeOption(CLI::App& command, std::string& shape) {
    command.add_option("--shape", shape, kShapeHelp)->type_name("WxH")->required();
}

void addInput(CLI::App& command, ImageOptions& options) {
    addBatchOptions(command, options.batch, "Raw 16-bit images");
    addShapeOption(command, options.shape);
}

void addOutputs(CLI::App& command, ImageOptions& options, const std::string& pictured) {
    command.add_option("-o,--output", options.output, "Raw image to write, or a folder for several")
        ->type_name("FILE")
        ->required();
    command.add_option("--png", options.picture, pictured + ", PNG or SVG by its name, or a folder for several")
        ->type_name("FILE");
}

void addZoom(CLI::App& command, ImageOptions& options) {
    command
        .add_option("--zoom", options.zoom,
                    "WIDTHxHEIGHT+X+Y: the part that the picture shows; all of it when left out")
        ->type_name("WxH+X+Y")
        ->needs(command.get_option("--png"));
}

}  // namespace qx::tool
