#include "commands/ImageOptions.h"
#include "commands/Subcommand.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "picture/Look.h"
#include "picture/PngWriter.h"
#include "stripe/StripeCorrection.h"
#include "stripe/StripePicture.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <map>
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

    RawImage loadReference(const RawImage& image) const {
        return reference ? loadRawImage(*reference, parseShape(referenceShape.value_or(files.shape))) : image;
    }
};

void printRows(const StripeProfile& before, const StripeProfile& after, int triggerLine) {
    TextTable table({"row", "before", "after", "straight line"});
    int row = triggerLine - kStripeRows;
    for (std::size_t i = 0; i < before.levels.size(); ++i, ++row) {
        if (before.levels[i] == after.levels[i] && before.straight[i] == after.straight[i])
            continue;
        table.addRow({std::to_string(row), formatNumber(before.levels[i], 0), formatNumber(after.levels[i], 0),
                      formatNumber(after.straight[i], 0)});
    }
    table.print(std::cout);
    std::cout << "  stripe contrast before " << formatNumber(before.contrast, 0) << " counts ("
              << formatNumber(before.percent, 1) << " %), after " << formatNumber(after.contrast, 0) << " counts ("
              << formatNumber(after.percent, 1) << " %)\n";
}

ExitCode runStripe(const StripeOptions& options) {
    if (options.reference && options.method == StripeMethod::Line)
        throw ToolError("--method line needs no --reference; leave one of them out", ExitCode::Usage);
    const RawImage image = options.files.load();
    options.files.requireOutputs();
    if (options.reference)
        requireOtherFile(options.files.output, *options.reference);
    const RawImage corrected = correctStripe(image, options.loadReference(image), options.triggerLine, options.method);
    if (corrected.pixels == image.pixels)
        std::cout << "  no row departs: nothing changed\n";
    printRows(profileOf(image, options.triggerLine), profileOf(corrected, options.triggerLine), options.triggerLine);
    saveRawImage(options.files.output, corrected);
    if (options.files.picture) {
        writePicture(*options.files.picture, drawStripe({{image, "before", "", kInk}, {corrected, "after", "", kInk}},
                                                        options.triggerLine, {}));
    }
    return ExitCode::Passed;
}

}  // namespace

void addStripeCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<StripeOptions>(
        app, chosen, "stripe", "Take the stripe out of an image that triggered itself", runStripe);
    addInput(command, options.files);
    command.add_option("--trigger", options.triggerLine, "Row at which the exposure was detected")->required();
    command.add_option("--reference", options.reference,
                       "Raw image in which the stripe is measured; the image itself when left out");
    command.add_option("--reference-shape", options.referenceShape, "WIDTHxHEIGHT of the reference, where it differs");
    const std::map<std::string, StripeMethod> methods = {{"clinic", StripeMethod::Clinic},
                                                         {"line", StripeMethod::Line}};
    command.add_option("--method", options.method, "clinic: gains from a reference; line: offsets from the rows below")
        ->transform(CLI::CheckedTransformer(methods));
    addOutputs(command, options.files, "Picture of the rows before and after");
}

}  // namespace qx::tool
