#include "commands/Subcommand.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "picture/PngWriter.h"
#include "picture/Preview.h"
#include "picture/Tiles.h"
#include "text/FileName.h"

#include <CLI/CLI.hpp>

#include <string>

namespace qx::tool {
namespace {

struct PreviewOptions {
    ImageOptions files;
    PercentileWindow window;
    int maxWidth = 1024;
    bool isPlain = false;
};

ExitCode writePreviews(const PreviewOptions& options) {
    if (options.window.low >= options.window.high)
        throw ToolError("--low must be below --high", ExitCode::Usage);
    return runImages(options.files, "preview", [&options](const RawImage& image, const ImageFiles& files) {
        const Preview preview = makePreview(image, options.window, options.maxWidth);
        const Shape shape = preview.picture.shape;
        if (options.isPlain)
            writePng(files.picture.value(), preview.picture);
        else
            writePicture(files.picture.value(), drawPreview(preview, toText(image.shape) + " pixels"));
        Record record;
        record.measures = {{"width", static_cast<double>(shape.width), "pixels"},
                           {"height", static_cast<double>(shape.height), "pixels"},
                           {"black", preview.window.black, "counts"},
                           {"white", preview.window.white, "counts"}};
        record.text = printable(*files.picture) + ": " + toText(shape) + '\n';
        return record;
    });
}

}  // namespace

void addPreviewCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<PreviewOptions>(
        app, chosen, "preview", "Turn raw images into pictures that tell their black and white", writePreviews);
    addInput(command, options.files);
    command
        .add_option("-o,--output", options.files.picture,
                    "Picture to write, PNG or SVG by its name, or a folder for several")
        ->type_name("FILE")
        ->required();
    const CLI::Validator percent = numberWithin(0.0, 100.0);
    command.add_option("--low", options.window.low, "Percentile shown black")->check(percent)->capture_default_str();
    command.add_option("--high", options.window.high, "Percentile shown white")->check(percent)->capture_default_str();
    command.add_option("--max-width", options.maxWidth, "Widest picture in pixels")
        ->check(numberWithin(1, kMaxSide))
        ->capture_default_str();
    command.add_flag("--plain", options.isPlain, "The pixels alone, as a PNG");
}

}  // namespace qx::tool
