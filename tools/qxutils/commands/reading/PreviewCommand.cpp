#include "commands/Subcommand.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "picture/PngWriter.h"
#include "picture/Preview.h"
#include "text/FileName.h"

#include <CLI/CLI.hpp>

#include <string>

namespace qx::tool {
namespace {

struct PreviewOptions {
    ImageOptions files;
    PercentileWindow window;
    int maxWidth = 1024;
};

ExitCode writePreviews(const PreviewOptions& options) {
    if (options.window.low >= options.window.high)
        throw ToolError("--low must be below --high", ExitCode::Usage);
    return runImages(options.files, "preview", [&options](const RawImage& image, const ImageFiles& files) {
        const GreyPicture picture = makePreview(image, options.window, options.maxWidth);
        writePng(files.picture.value(), picture);
        Record record;
        record.measures = {{"width", static_cast<double>(picture.shape.width), "pixels"},
                           {"height", static_cast<double>(picture.shape.height), "pixels"}};
        record.text = printable(*files.picture) + ": " + toText(picture.shape) + '\n';
        return record;
    });
}

}  // namespace

void addPreviewCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<PreviewOptions>(app, chosen, "preview", "Turn raw images into PNG pictures", writePreviews);
    addInput(command, options.files);
    command.add_option("-o,--output", options.files.picture, "PNG file to write, or a folder for several")
        ->type_name("FILE")
        ->required();
    const CLI::Validator percent = numberWithin(0.0, 100.0);
    command.add_option("--low", options.window.low, "Percentile shown black")->check(percent)->capture_default_str();
    command.add_option("--high", options.window.high, "Percentile shown white")->check(percent)->capture_default_str();
    command.add_option("--max-width", options.maxWidth, "Widest picture in pixels")
        ->check(numberWithin(1, kMaxSide))
        ->capture_default_str();
}

}  // namespace qx::tool
