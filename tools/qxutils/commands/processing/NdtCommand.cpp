#include "batch/OutputNames.h"
#include "commands/Subcommand.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "files/LibraryFile.h"
#include "files/NativeFile.h"
#include "files/WholeFile.h"
#include "image/RawImage.h"
#include "ndt/NdtReport.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/WriteOptions.h"
#include "results/Subject.h"
#include "text/FileName.h"
#include "text/TextStream.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace qx::tool {
namespace {

// Room for the folders and file names of the library.
constexpr std::size_t kMaxFolderPath = 180;

// As the detector's configuration tells them.
enum class DefectMethod : int { Classic = 0, Structured = 1, None = 2 };

struct NdtOptions {
    BatchOptions batch;
    bool usesStoredDark = false;
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

std::string calibrationFiles(const std::string& folder) {
    TextStream text;
    printCalibrationFiles(text, nativePath(folder));
    return text.str();
}

// Where the library writes what its own name says, which may be that of an image there.
void requireOtherFolder(const std::string& file, const std::string& folder) {
    std::error_code error;
    const std::filesystem::path place = std::filesystem::absolute(toPath(file), error).parent_path();
    for (const char* const below : {"offset", "gain", "defect"}) {
        if (std::filesystem::equivalent(place, toPath(folder) / below, error))
            throw ToolError(file + ": lies where calibration files are written; move it, or give another --out",
                            ExitCode::Usage);
    }
}

Record calibrate(const NdtOptions& options, const Shape& shape) {
    refuseDryRun("ndt calibrate");
    requireFreshFolder(options.folder);
    for (const std::string& file : {options.bright, options.dark.value()})
        requireOtherFolder(file, options.folder);
    const LongImage bright = loadLongImage(options.bright, shape);
    const LongImage dark = loadLongImage(options.dark.value(), shape);
    configureDetector(options.folder, shape);
    const int status = withoutInterruption(
        [&] { return executeNDTCAL(bright.pixels.data(), dark.pixels.data(), bright.pixelCount()); });
    if (status != StatusOk) {
        throw ToolError(options.folder + ": cannot be calibrated into (" + statusText(status) +
                        "); check that it may be written to");
    }
    Record record = statisticsOf({{"bright", &bright}, {"dark", &dark}});
    record.subject = subjectOf(options.bright, bright);
    record.text += calibrationFiles(options.folder);
    return record;
}

ExitCode runCalibrate(const NdtOptions& options) {
    const Shape shape = parseShape(options.shape);
    return runOnce(
        options.batch.results, "ndt calibrate", [&] { return std::vector{calibrate(options, shape)}; }, printTexts);
}

bool isDownloaded(const qxkit::TransferCall& call) {
    return call.status == StatusOk;
}

// A dark image that was just downloaded serves the next call only. Tells in text what was downloaded.
int correct(LongImage& image, const std::optional<LongImage>& dark, std::string& text) {
    const auto call = [&] {
        return withoutInterruption([&] {
            return correctNDTImage(image.pixels.data(), dark ? dark->pixels.data() : nullptr, image.pixelCount());
        });
    };
    const int status = call();
    const auto& transfers = virtualDetector().transfers;
    if (status == StatusOk || !std::any_of(transfers.begin(), transfers.end(), isDownloaded))
        return status;
    text = "  downloaded from the detector: " + transfers.back().fileName + "; correcting again\n";
    return call();
}

void requireOutput(const NdtOptions& options, const std::string& output, const std::string& image) {
    requireName(output, "the image file to write");
    requireOtherFile(output, image);
    if (options.dark)
        requireOtherFile(output, *options.dark);
}

std::string whatToDo(const NdtOptions& options) {
    const std::string check = "check the files in " + options.folder;
    return options.dark ? check : check + ", or give DARK unless the detector triggers itself and sums frames";
}

Record correctOne(const NdtOptions& options, const Shape& shape, const std::optional<LongImage>& dark,
                  const std::string& file) {
    const LongImage image = loadLongImage(file, shape);
    const std::string output = outputFor(options.output, file);
    requireOutput(options, output, file);
    LongImage corrected = image;
    std::string text;
    const int status = correct(corrected, dark, text);
    if (status != StatusOk)
        throw ToolError(file + ": cannot be corrected (" + statusText(status) + "); " + whatToDo(options));
    saveLongImage(output, corrected);
    Record record = statisticsOf({{"before", &image}, {"after", &corrected}});
    record.subject = subjectOf(file, image);
    record.text = text + calibrationFiles(options.folder) + record.text;
    return record;
}

// The last of several files is the dark image unless an option says otherwise.
ExitCode runCorrect(NdtOptions options) {
    if (!options.dark && !options.usesStoredDark && options.batch.names.size() > 1) {
        options.dark = options.batch.names.back();
        options.batch.names.pop_back();
    }
    // The library downloads what the calibration folder lacks.
    refuseDryRun("ndt correct");
    const Shape shape = parseShape(options.shape);
    std::optional<LongImage> dark;
    if (options.dark)
        dark = loadLongImage(*options.dark, shape);
    requireFolder(options.folder, "the folder that qxutils ndt calibrate wrote");
    protectFolder(options.folder);
    configureDetector(options.folder, shape);
    virtualDetector().config.defectCorrectionMethod = static_cast<int>(options.defects);
    return runBatch(
        options.batch.reading(options.dark), "ndt correct",
        [&](const std::string& file) { return std::vector{correctOne(options, shape, dark, file)}; }, printNamedTexts,
        [&](const std::vector<std::string>& files) { prepareOutputs(options.output, files); });
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
    addResultOptions(calibrate, options.batch.results);
    calibrate.add_option("--out", options.folder, "Calibration folder")->type_name("FOLDER")->required();

    CLI::App& correct = family.add("correct", "Correct offset, gain and defects of images", runCorrect);
    addBatchOptions(correct, options.batch,
                    "Raw 32-bit images, the last of several DARK, the dark image of the others");
    correct.add_option("--dark", options.dark, "The dark image, instead of the last one")->type_name("FILE");
    correct.add_flag("--stored-dark", options.usesStoredDark,
                     "All of several files are images; the stored dark image serves them");
    addShapeOption(correct, options.shape);
    correct.add_option("--calibration", options.folder, "Calibration folder")->type_name("FOLDER")->required();
    takeOneOf<DefectMethod>(correct.add_option("--defects", options.defects,
                                               "Which list in the folder's defect to use; none when left out"),
                            {{"classic", DefectMethod::Classic}, {"structured", DefectMethod::Structured}});
    correct.add_option("-o,--output", options.output, "Raw image to write, or a folder for several")
        ->type_name("FILE")
        ->required();
}

}  // namespace qx::tool
