#include "commands/ImageOptions.h"
#include "commands/Subcommand.h"
#include "image/RawImage.h"
#include "picture/PngWriter.h"
#include "picture/Preview.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

namespace qx::tool {
namespace {

struct PreviewOptions {
    std::string file;
    std::string shape;
    std::string output;
    PercentileWindow window;
    int maxWidth = 1024;
};

ExitCode writePreview(const PreviewOptions& options) {
    if (options.window.low >= options.window.high)
        throw ToolError("--low must be below --high", ExitCode::Usage);
    const RawImage image = loadRawImage(options.file, parseShape(options.shape));
    requirePictureName(options.output, options.file);
    const GreyPicture picture = makePreview(image, options.window, options.maxWidth);
    writePng(options.output, picture);
    std::cout << options.output << ": " << toText(picture.shape) << '\n';
    return ExitCode::Passed;
}

}  // namespace

void addPreviewCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<PreviewOptions>(app, chosen, "preview", "Turn a raw image into a PNG picture", writePreview);
    addInput(command, options.file, options.shape);
    command.add_option("-o,--output", options.output, "PNG file to write")->required();
    const CLI::Range percent(0.0, 100.0);
    command.add_option("--low", options.window.low, "Percentile shown black")->check(percent)->capture_default_str();
    command.add_option("--high", options.window.high, "Percentile shown white")->check(percent)->capture_default_str();
    command.add_option("--max-width", options.maxWidth, "Widest picture in pixels")
        ->check(CLI::Range(1, kMaxSide))
        ->capture_default_str();
}

}  // namespace qx::tool
