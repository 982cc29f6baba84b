#include "commands/Subcommand.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "picture/Comparison.h"
#include "picture/PngWriter.h"
#include "text/NumberText.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <new>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct ResizeOptions {
    ImageOptions files;
    std::string to;
    std::optional<int> type;
};

Shape standardShape(const std::string& text, int type) {
    const std::optional<int> index = parseInteger(text);
    Shape shape;
    if (!index || getIntepolationSize(shape.width, shape.height, *index, type) != StatusOk) {
        throw ToolError("\"" + text + "\" is no size; give WIDTHxHEIGHT or the index of a standard size from 1 to 4",
                        ExitCode::Usage);
    }
    return shape;
}

Shape wantedShape(const ResizeOptions& options) {
    const std::optional<Shape> given = readShape(options.to);
    if (given && options.type)
        throw ToolError("--type needs a standard size; give --to an index from 1 to 4", ExitCode::Usage);
    const Shape shape = given ? *given : standardShape(options.to, options.type.value_or(0));
    if (shape.width == 1 || shape.height == 1)
        throw ToolError("--to " + options.to + ": one row or column has no spacing; give sides from 2",
                        ExitCode::Usage);
    return shape;
}

// The addresses that interpImg2D takes are those of the first pixels, whatever their type says.
WORD** firstPixel(RawImage& image) {
    return reinterpret_cast<WORD**>(image.pixels.data());
}

RawImage resizedOver(WORD before, RawImage& image, const Shape& shape) {
    RawImage resized = filledImage<WORD>(shape, before);
    interpImg2D(firstPixel(resized), shape.height, shape.width, firstPixel(image), image.shape.height,
                image.shape.width);
    return resized;
}

// Without memory the library leaves what was there before, which an image may be made of as well, but not of both.
RawImage resize(RawImage image, const Shape& shape) {
    for (const WORD before : {WORD{0}, WORD{1}}) {
        RawImage resized = resizedOver(before, image, shape);
        if (std::ranges::any_of(resized.pixels, [before](WORD pixel) { return pixel != before; }))
            return resized;
    }
    throw std::bad_alloc();
}

std::string spacing(int from, int to) {
    return formatNumber(static_cast<double>(from - 1) / (to - 1), 4);
}

Record sizesOf(const Shape& from, const Shape& to) {
    TextTable table({"image", "width, pixels", "height, pixels", "column spacing, pixels", "row spacing, pixels"});
    table.addRow({"before", std::to_string(from.width), std::to_string(from.height), "1.0000", "1.0000"});
    table.addRow({"after", std::to_string(to.width), std::to_string(to.height), spacing(from.width, to.width),
                  spacing(from.height, to.height)});
    TextStream text;
    table.print(text);
    Record record;
    record.measures = {{"width after", double(to.width), "pixels"}, {"height after", double(to.height), "pixels"}};
    record.text = text.str();
    return record;
}

Drawing drawResized(const RawImage& before, const RawImage& after, const Region& region) {
    const GreyWindow window = windowOf(before, region);
    return drawComparison(
        {compared(before, window, toText(before.shape)), compared(after, window, toText(after.shape))}, region, 2);
}

ExitCode runResize(const ResizeOptions& options) {
    const Shape shape = wantedShape(options);
    return runImages(options.files, "resize", [&](const RawImage& image, const ImageFiles& files) {
        const Region region = options.files.shownPart(image);
        const RawImage resized = resize(image, shape);
        saveRawImage(files.output.value(), resized);
        if (files.picture)
            writePicture(*files.picture, drawResized(image, resized, region));
        return sizesOf(image.shape, shape);
    });
}

}  // namespace

void addResizeCommand(CLI::App& app, Command& chosen) {
    auto [command, options] =
        addSubcommand<ResizeOptions>(app, chosen, "resize", "Resample raw 16-bit images by cubic splines", runResize);
    addInput(command, options.files);
    command
        .add_option(
            "--to", options.to,
            "A shape as for --shape, or the index of a standard size from 1 to 4, whose first number is the width")
        ->type_name("WxH")
        ->required();
    command.add_option("--type", options.type, "Detector type of a standard size; 4 and 9 make it a square")
        ->check(wholeNumber());
    addOutputs(command, options.files, "Picture of the image before and after");
    addZoom(command, options.files);
}

}  // namespace qx::tool
