#include "commands/Subcommand.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "files/LibraryFile.h"
#include "files/NativeFile.h"
#include "files/WholeFile.h"
#include "options/BatchOptions.h"
#include "options/Choice.h"
#include "options/NumberCheck.h"
#include "options/WriteOptions.h"
#include "snr/FactorySnrRecords.h"
#include "text/FileName.h"

#include <QxUtils.h>

#include <CLI/CLI.hpp>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct FactorySnrOptions {
    std::string folder;
    std::optional<int> detectorType;
    ResultOptions results;
};

// The file's name, which the library makes of the detector's name.
std::string factorySnrName() {
    const std::string product = "Halbrook";
    const std::string& description = virtualDetector().description;
    const std::size_t found = description.find(product);
    return found == std::string::npos ? "" : description.substr(found + product.size()) + "-SNR.raw";
}

// Whether the library lists an entry: it passes over what a killed writer left beside a file, and over a '\\'.
bool isListed(const std::string& name) {
    return !name.starts_with(".qx-") && name.find('\\') == std::string::npos;
}

// Those that the library takes for images.
std::size_t imagesIn(const std::string& folder) {
    std::size_t count = 0;
    for (const auto& time : std::filesystem::directory_iterator(toPath(folder))) {
        const std::string name = toName(time.path().filename());
        if (!time.is_directory() || !isListed(name) || name.find("ms") == std::string::npos)
            continue;
        for (const auto& image : std::filesystem::directory_iterator(time.path()))
            count += !image.is_directory() && isListed(toName(image.path().filename())) ? 1 : 0;
    }
    return count;
}

std::vector<Record> measure(const FactorySnrOptions& options) {
    requireFolder(options.folder, "a folder with folders of images, such as 500ms");
    requireLibraryName(options.folder);
    refuseDryRun("factory-snr");
    const std::string file = toName(toPath(options.folder) / factorySnrName());
    requireReplaceable(file);
    const int type = options.detectorType.value_or(virtualDetector().type);
    const int status = withoutInterruption([&] { return retrieveAllSNRForQualityCheck(type, options.folder.c_str()); });
    if (status != StatusOk) {
        throw ToolError(options.folder + ": no factory SNR file was written (" + statusText(status) +
                        "); give folders of as many images each, named as 500ms, of the size that --detector tells");
    }
    std::vector<Record> records = factorySnrRecords(file);
    // The library leaves out what it cannot measure.
    const std::size_t images = imagesIn(options.folder);
    if (records.size() < images) {
        throw ToolError(file + ": lacks some of " + std::to_string(images) +
                        " images, which could not be measured; check that they may be read and are of the size that "
                        "--detector tells");
    }
    records.back().text += "  written to " + file + '\n';
    return records;
}

ExitCode measureFactorySnr(const FactorySnrOptions& options) {
    return runOnce(
        options.results, "factory-snr", [&options] { return measure(options); }, printTexts);
}

}  // namespace

void addFactorySnrCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<FactorySnrOptions>(
        app, chosen, "factory-snr", "Measure the SNR of factory images into a file", measureFactorySnr);
    command.add_option("DIR", options.folder, "Folder with a folder of images for each integration time")->required();
    command.add_option("--detector-type", options.detectorType, "Detector type to store; the detector's if left out")
        ->check(wholeNumber());
    addResultOptions(command, options.results);
}

}  // namespace qx::tool
