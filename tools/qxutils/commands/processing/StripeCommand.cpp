#include "commands/Subcommand.h"
#include "files/FileAccess.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "picture/Look.h"
#include "picture/PngWriter.h"
#include "stripe/StripeCorrection.h"
#include "stripe/StripePicture.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace qx::tool {
namespace {

struct StripeOptions {
    ImageOptions files;
    int triggerLine = 0;
    std::optional<std::string> reference;
    std::optional<std::string> referenceShape;
    StripeMethod method = StripeMethod::Clinic;
};

void printRows(std::ostream& out, const StripeProfile& before, const StripeProfile& after, int triggerLine) {
    TextTable table({"row", "before, counts", "after, counts", "straight line, counts"});
    int row = triggerLine - kStripeRows;
    for (std::size_t i = 0; i < before.levels.size(); ++i, ++row) {
        if (before.levels[i] == after.levels[i] && before.straight[i] == after.straight[i])
            continue;
        table.addRow({std::to_string(row), formatNumber(before.levels[i], 0), formatNumber(after.levels[i], 0),
                      formatNumber(after.straight[i], 0)});
    }
    table.print(out);
    out << "  stripe contrast before " << formatNumber(before.contrast, 0) << " counts ("
        << formatNumber(before.percent, 1) << " %), after " << formatNumber(after.contrast, 0) << " counts ("
        << formatNumber(after.percent, 1) << " %)\n";
}

Record contrastsOf(const StripeProfile& before, const StripeProfile& after, int triggerLine, bool isChanged) {
    Record record;
    record.measures = {{"stripe contrast before", before.contrast, "counts"},
                       {"stripe contrast before", before.percent, "%", 1},
                       {"stripe contrast after", after.contrast, "counts"},
                       {"stripe contrast after", after.percent, "%", 1}};
    TextStream text;
    if (!isChanged)
        text << "  no row departs: nothing changed\n";
    printRows(text, before, after, triggerLine);
    record.text = text.str();
    return record;
}

Record correctOne(const StripeOptions& options, const RawImage& reference, const RawImage& image,
                  const ImageFiles& files) {
    const int line = options.triggerLine;
    const RawImage corrected = correctStripe(image, reference, line, options.method);
    saveRawImage(files.output.value(), corrected);
    if (files.picture) {
        writePicture(*files.picture,
                     drawStripe({{image, "before", "", kInk}, {corrected, "after", "", kInk}}, line, {}));
    }
    return contrastsOf(profileOf(image, line), profileOf(corrected, line), line, corrected.pixels != image.pixels);
}

ExitCode runStripe(const StripeOptions& options) {
    if (options.reference && options.method == StripeMethod::Line)
        throw ToolError("--method line needs no --reference; leave one of them out", ExitCode::Usage);
    const Shape referenceShape = parseShape(options.referenceShape.value_or(options.files.shape));
    std::optional<RawImage> reference;
    ImageOptions images = options.files;
    images.batch = images.batch.reading(options.reference);
    return runImages(images, "stripe", [&](const RawImage& image, const ImageFiles& files) {
        if (options.reference)
            requireDistinct(files.outputs(), {*options.reference});
        // A stream can be read once only.
        if (options.reference && !reference)
            reference = loadRawImage(*options.reference, referenceShape);
        return correctOne(options, reference ? *reference : image, image, files);
    });
}

}  // namespace

void addStripeCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<StripeOptions>(
        app, chosen, "stripe", "Take the stripe out of images that triggered themselves", runStripe);
    addInput(command, options.files);
    command.add_option("--trigger", options.triggerLine, "Row at which the exposure was detected")
        ->type_name("ROW")
        ->required()
        ->check(wholeNumber());
    command
        .add_option("--reference", options.reference,
                    "Raw image in which the stripe is measured; the image itself when left out")
        ->type_name("FILE");
    command.add_option("--reference-shape", options.referenceShape, "WIDTHxHEIGHT of the reference, where it differs")
        ->type_name("WxH");
    takeOneOf<StripeMethod>(command.add_option("--method", options.method,
                                               "clinic: gains from a reference; line: offsets from the rows below"),
                            {{"clinic", StripeMethod::Clinic}, {"line", StripeMethod::Line}});
    addOutputs(command, options.files, "Picture of the rows before and after");
}

}  // namespace qx::tool
