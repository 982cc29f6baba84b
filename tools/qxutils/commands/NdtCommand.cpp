#include "commands/Command.h"
#include "common/DetectorSetup.h"
#include "common/FileAccess.h"
#include "common/LibraryFile.h"
#include "common/TextTable.h"
#include "image/RawImage.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

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
    if (folder.size() > kMaxFolderPath) {
        throw ToolError(folder + ": the path is longer than " + std::to_string(kMaxFolderPath) +
                        " characters; give a shorter one");
    }
    if (const std::string problem = setCalibrationFolder(qxkit::nativePath(folder)); !problem.empty())
        throw ToolError(problem + "; give another folder");
    setModeSize(shape);
}

void addStatistics(TextTable& table, const std::string& name, const LongImage& image) {
    const auto count = static_cast<double>(image.pixels.size());
    const double mean = std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0) / count;
    double squares = 0.0;
    for (const std::uint32_t value : image.pixels)
        squares += (value - mean) * (value - mean);
    const auto [least, largest] = std::minmax_element(image.pixels.begin(), image.pixels.end());
    table.addRow({name, formatNumber(mean, 1), formatNumber(std::sqrt(squares / count), 1), std::to_string(*least),
                  std::to_string(*largest)});
}

TextTable statisticsTable() {
    return TextTable({"image", "mean", "stdev", "min", "max"});
}

void printFiles(const std::string& folder) {
    TextTable table({"calibration file", "bytes"});
    for (const char* const kind : {"offset", "gain", "defect"}) {
        std::map<std::string, std::uintmax_t> files;
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(qxkit::nativePath(folder) / kind, error)) {
            if (entry.is_regular_file(error))
                files[entry.path().generic_string()] = entry.file_size(error);
        }
        for (const auto& [path, bytes] : files)
            table.addRow({path, std::to_string(bytes)});
    }
    table.print(std::cout);
}

ExitCode runCalibrate(const NdtOptions& options) {
    const Shape shape = parseShape(options.shape);
    const LongImage bright = loadLongImage(options.bright, shape);
    const LongImage dark = loadLongImage(options.dark.value(), shape);
    configureDetector(options.folder, shape);
    const int status = executeNDTCAL(bright.pixels.data(), dark.pixels.data(), static_cast<int>(shape.pixelCount()));
    if (status != StatusOk) {
        throw ToolError(options.folder + ": cannot be calibrated into (" + statusText(status) +
                        "); check that it may be written to");
    }
    TextTable table = statisticsTable();
    addStatistics(table, "bright", bright);
    addStatistics(table, "dark", dark);
    table.print(std::cout);
    printFiles(options.folder);
    return ExitCode::Passed;
}

bool isDownloaded(const qxkit::TransferCall& call) {
    return call.status == StatusOk;
}

// A dark image that was just downloaded serves the next call only.
int correct(LongImage& image, const std::optional<LongImage>& dark) {
    const auto call = [&] {
        return correctNDTImage(image.pixels.data(), dark ? dark->pixels.data() : nullptr,
                               static_cast<int>(image.pixels.size()));
    };
    const int status = call();
    const auto& transfers = qxkit::virtualDetector().transfers;
    if (status == StatusOk || !std::any_of(transfers.begin(), transfers.end(), isDownloaded))
        return status;
    std::cout << "  downloaded from the detector: " << transfers.back().fileName << "; correcting again\n";
    return call();
}

ExitCode runCorrect(const NdtOptions& options) {
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
    configureDetector(options.folder, shape);
    qxkit::virtualDetector().config.defectCorrectionMethod = static_cast<int>(options.defects);
    LongImage corrected = image;
    const int status = correct(corrected, dark);
    if (status != StatusOk) {
        throw ToolError(options.image + ": cannot be corrected (" + statusText(status) + "); " +
                        (dark ? "check the files in " + options.folder
                              : "check the files in " + options.folder +
                                    ", or give DARK unless the detector triggers itself and sums frames"));
    }
    saveLongImage(options.output, corrected);
    printFiles(options.folder);
    TextTable table = statisticsTable();
    addStatistics(table, "before", image);
    addStatistics(table, "after", corrected);
    table.print(std::cout);
    return ExitCode::Passed;
}

void addShape(CLI::App& command, NdtOptions& options) {
    command.add_option("--shape", options.shape, "WIDTHxHEIGHT in pixels")->required();
}

}  // namespace

void addNdtCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<NdtOptions>();
    CLI::App* command = app.add_subcommand("ndt", "Calibrate and correct raw 32-bit images of non-destructive testing");
    command->require_subcommand(1);

    CLI::App* calibrate = command->add_subcommand("calibrate", "Make the calibration files");
    calibrate->add_option("BRIGHT", options->bright, "Raw 32-bit image of the open field")->required();
    calibrate->add_option("DARK", options->dark, "The dark image that belongs to it")->required();
    addShape(*calibrate, *options);
    calibrate->add_option("--out", options->folder, "Calibration folder")->required();
    calibrate->callback([options, &chosen] { chosen = [options] { return runCalibrate(*options); }; });

    CLI::App* correct = command->add_subcommand("correct", "Correct offset, gain and defects of an image");
    correct->add_option("IMAGE", options->image, "Raw 32-bit image")->required();
    correct->add_option("DARK", options->dark, "Its dark image; the stored one when left out");
    addShape(*correct, *options);
    correct->add_option("--calibration", options->folder, "Calibration folder")->required();
    const std::map<std::string, DefectMethod> methods = {{"classic", DefectMethod::Classic},
                                                         {"structured", DefectMethod::Structured}};
    correct->add_option("--defects", options->defects, "Which list in the folder's defect to use; none when left out")
        ->transform(CLI::CheckedTransformer(methods));
    correct->add_option("-o,--output", options->output, "Raw image to write")->required();
    correct->callback([options, &chosen] { chosen = [options] { return runCorrect(*options); }; });
}

}  // namespace qx::tool
