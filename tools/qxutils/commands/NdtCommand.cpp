#include "commands/ImageOptions.h"
#include "commands/Subcommand.h"
#include "commands/WriteOptions.h"
#include "common/DetectorSetup.h"
#include "common/FileAccess.h"
#include "common/LibraryFile.h"
#include "common/WholeFile.h"
#include "image/RawImage.h"
#include "ndt/NdtReport.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <map>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

// Room for the folders and file names of the library.
constexpr std::size_t kMaxFolderPath = 180;

// As the detector's configuration tells them.
enum class DefectMethod : int { Classic = 0, Structured = 1, None = 2 };

struct NdtOptions {
    std::string image;
    std::string bright;
    std::optional<std::string> dark;
    std::string shape;
    std::string folder;
    std::string output;
    DefectMethod defects = DefectMethod::None;
};

// The calibration folder becomes the detector's, but for the log.
void configureDetector(const std::string& folder, const Shape& shape) {
    requireName(folder, "the calibration folder");
    requireLibraryName(folder);
    if (folder.size() > kMaxFolderPath) {
        throw ToolError(folder + ": the path is longer than " + std::to_string(kMaxFolderPath) +
                        " characters; give a shorter one");
    }
    if (const std::string problem = setCalibrationFolder(nativePath(folder)); !problem.empty())
        throw ToolError(problem + "; give another folder");
    setModeSize(shape);
}

ExitCode runCalibrate(const NdtOptions& options) {
    const Shape shape = parseShape(options.shape);
    refuseDryRun("ndt calibrate");
    requireFreshFolder(options.folder);
    const LongImage bright = loadLongImage(options.bright, shape);
    const LongImage dark = loadLongImage(options.dark.value(), shape);
    configureDetector(options.folder, shape);
    const int status = executeNDTCAL(bright.pixels.data(), dark.pixels.data(), bright.pixelCount());
    if (status != StatusOk) {
        throw ToolError(options.folder + ": cannot be calibrated into (" + statusText(status) +
                        "); check that it may be written to");
    }
    printStatistics(std::cout, {{"bright", &bright}, {"dark", &dark}});
    printCalibrationFiles(std::cout, nativePath(options.folder));
    return ExitCode::Passed;
}

bool isDownloaded(const qxkit::TransferCall& call) {
    return call.status == StatusOk;
}

// A dark image that was just downloaded serves the next call only.
int correct(LongImage& image, const std::optional<LongImage>& dark) {
    const auto call = [&] {
        return correctNDTImage(image.pixels.data(), dark ? dark->pixels.data() : nullptr, image.pixelCount());
    };
    const int status = call();
    const auto& transfers = virtualDetector().transfers;
    if (status == StatusOk || !std::any_of(transfers.begin(), transfers.end(), isDownloaded))
        return status;
    std::cout << "  downloaded from the detector: " << transfers.back().fileName << "; correcting again\n";
    return call();
}

ExitCode runCorrect(const NdtOptions& options) {
    // The library downloads what the calibration folder lacks.
    refuseDryRun("ndt correct");
    const Shape shape = parseShape(options.shape);
    const LongImage image = loadLongImage(options.image, shape);
    std::optional<LongImage> dark;
    if (options.dark)
        dark = loadLongImage(*options.dark, shape);
    requireName(options.output, "the image file to write");
    requireOtherFile(options.output, options.image);
    if (options.dark)
        requireOtherFile(options.output, *options.dark);
    requireFolder(options.folder, "the folder that qxutils ndt calibrate wrote");
    protectFolder(options.folder);
    configureDetector(options.folder, shape);
    virtualDetector().config.defectCorrectionMethod = static_cast<int>(options.defects);
    LongImage corrected = image;
    const int status = correct(corrected, dark);
    if (status != StatusOk) {
        throw ToolError(options.image + ": cannot be corrected (" + statusText(status) + "); " +
                        (dark ? "check the files in " + options.folder
                              : "check the files in " + options.folder +
                                    ", or give DARK unless the detector triggers itself and sums frames"));
    }
    saveLongImage(options.output, corrected);
    printCalibrationFiles(std::cout, nativePath(options.folder));
    printStatistics(std::cout, {{"before", &image}, {"after", &corrected}});
    return ExitCode::Passed;
}

}  // namespace

void addNdtCommand(CLI::App& app, Command& chosen) {
    CommandFamily<NdtOptions> family(app, chosen, "ndt",
                                     "Calibrate and correct raw 32-bit images of non-destructive testing");
    NdtOptions& options = family.options();

    CLI::App& calibrate = family.add("calibrate", "Make the calibration files", runCalibrate);
    calibrate.add_option("BRIGHT", options.bright, "Raw 32-bit image of the open field")->required();
    calibrate.add_option("DARK", options.dark, "The dark image that belongs to it")->required();
    addShapeOption(calibrate, options.shape);
    calibrate.add_option("--out", options.folder, "Calibration folder")->required();

    CLI::App& correct = family.add("correct", "Correct offset, gain and defects of an image", runCorrect);
    correct.add_option("IMAGE", options.image, "Raw 32-bit image")->required();
    correct.add_option("DARK", options.dark, "Its dark image; the stored one when left out");
    addShapeOption(correct, options.shape);
    correct.add_option("--calibration", options.folder, "Calibration folder")->required();
    const std::map<std::string, DefectMethod> methods = {{"classic", DefectMethod::Classic},
                                                         {"structured", DefectMethod::Structured}};
    correct.add_option("--defects", options.defects, "Which list in the folder's defect to use; none when left out")
        ->transform(CLI::CheckedTransformer(methods));
    correct.add_option("-o,--output", options.output, "Raw image to write")->required();
}

}  // namespace qx::tool
