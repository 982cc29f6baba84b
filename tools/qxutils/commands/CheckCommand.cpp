#include "checks/CheckTable.h"
#include "checks/ImageChecks.h"
#include "commands/Command.h"
#include "common/DetectorSetup.h"
#include "common/TemporaryFolder.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct CheckOptions {
    std::vector<std::string> files;
    std::string image;
    std::string dark;
    std::string shape;
    std::string timeList;
    int timeMs = 0;
    float blockLimit = kDefaultBlockLimit;
    std::optional<std::string> stored;
    std::optional<std::string> limits;

    RawImage loadImage() const { return loadRawImage(image, parseShape(shape)); }
    RawImage loadDark() const { return loadRawImage(dark, parseShape(shape)); }
    FloatImage loadFloat() const { return loadFloatImage(image, parseShape(shape)); }
};

using Results = std::vector<CheckResult>;
using Check = std::function<Results(const CheckOptions&)>;

Results checkStoredRowNoise(const CheckOptions& options) {
    const Shape shape = parseShape(options.shape);
    if (!options.stored)
        return {checkRowNoise(shape)};
    const FloatImage image = loadFloatImage(*options.stored, shape);
    const TemporaryFolder folder;
    storeAverageDark(folder.path(), image);
    return {checkRowNoise(shape)};
}

Results checkUniformity(const CheckOptions& options) {
    const RawImage image = options.loadImage();
    return {checkSquares(image), checkBlocks(image, options.blockLimit)};
}

ExitCode runCheck(const CheckOptions& options, const Check& check) {
    if (options.limits)
        loadDetectorFile(*options.limits);
    std::vector<CheckRow> rows;
    for (CheckResult& result : check(options))
        rows.push_back({"", std::move(result)});
    printChecks(std::cout, rows);
    const bool passed =
        std::all_of(rows.begin(), rows.end(), [](const CheckRow& row) { return row.result.status == 0; });
    return passed ? ExitCode::Passed : ExitCode::NotPassed;
}

// The subcommands of "check", each with the options it needs.
class CheckKinds {
public:
    CheckKinds(CLI::App& parent, Command& chosen) : parent_(parent), chosen_(chosen) {}

    CLI::App& add(const char* name, const char* description, Check check) {
        CLI::App* kind = parent_.add_subcommand(name, description);
        kind->add_option("--limits", options_->limits, "TOML file with limits, written as for --detector");
        kind->callback([options = options_, check = std::move(check), &chosen = chosen_] {
            chosen = [options, check] { return runCheck(*options, check); };
        });
        return *kind;
    }

    CLI::App& addOfImage(const char* name, const char* description, const char* pixels, Check check) {
        CLI::App& kind = add(name, description, std::move(check));
        kind.add_option("IMAGE", options_->image, pixels)->required();
        addShape(kind);
        return kind;
    }

    void addOfExposure(const char* name, const char* description, Check check) {
        CLI::App& kind = addOfImage(name, description, kWords, std::move(check));
        kind.add_option("DARK", options_->dark, "The dark image that belongs to it")->required();
    }

    void addShape(CLI::App& kind) { kind.add_option("--shape", options_->shape, "WIDTHxHEIGHT in pixels")->required(); }

    CheckOptions& options() { return *options_; }

    static constexpr const char* kWords = "Raw 16-bit image";
    static constexpr const char* kFloats = "Raw image of 32-bit floats";

private:
    CLI::App& parent_;
    Command& chosen_;
    std::shared_ptr<CheckOptions> options_ = std::make_shared<CheckOptions>();
};

void addKindsOfExposedImages(CheckKinds& kinds) {
    kinds.addOfExposure("first", "The first exposed image of a gain calibration", [](const CheckOptions& options) {
        return Results{checkFirst(options.loadImage(), options.loadDark())};
    });
    kinds.addOfExposure("pre", "A preview image", [](const CheckOptions& options) {
        return Results{checkPreview(options.loadImage(), options.loadDark())};
    });
    kinds.addOfImage("uniform", "Uniformity of five squares, and of blocks", CheckKinds::kWords, checkUniformity)
        .add_option("--block-limit", kinds.options().blockLimit,
                    "Relative deviation that more than 3 blocks may not exceed")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    kinds.addOfImage("strip", "Steps between strips", CheckKinds::kWords,
                     [](const CheckOptions& options) { return Results{checkStrips(options.loadImage())}; });
    kinds.addOfImage("false-trigger", "Whether an image that triggered itself was exposed", CheckKinds::kFloats,
                     [](const CheckOptions& options) { return Results{checkFalseTrigger(options.loadFloat())}; });
    kinds
        .add("gain-group", "Consistency of a group of gain images",
             [](const CheckOptions& options) { return Results{checkGainGroup(options.files)}; })
        .add_option("FILE", kinds.options().files, "Raw 16-bit images")
        ->required();
}

void addKindsOfDarkImages(CheckKinds& kinds) {
    CLI::App& rowNoise = kinds.add("rcn", "Row-correlated noise of the stored average dark image", checkStoredRowNoise);
    kinds.addShape(rowNoise);
    rowNoise.add_option("--image", kinds.options().stored,
                        "Average dark image of 32-bit floats, instead of the one in the detector's offset directory");
    kinds.addOfImage("dark", "Level of a dark image", CheckKinds::kWords,
                     [](const CheckOptions& options) { return Results{checkDarkLevel(options.loadImage())}; });
    kinds.addOfImage("offset", "Structured patches in an average dark image", CheckKinds::kFloats,
                     [](const CheckOptions& options) { return Results{checkOffset(options.loadFloat())}; });
    CLI::App& darkTimes =
        kinds.add("dark-times", "Whether there are dark images of an exposure time",
                  [](const CheckOptions& options) { return Results{checkDarkTime(options.timeList, options.timeMs)}; });
    darkTimes.add_option("LIST", kinds.options().timeList, "The times there are, such as \"500;1000\"")->required();
    darkTimes.add_option("TIME", kinds.options().timeMs, "Exposure time in milliseconds")->required();
}

}  // namespace

void addCheckCommand(CLI::App& app, Command& chosen) {
    CLI::App* command = app.add_subcommand("check", "Judge an image by one of the checks of the calibration flow");
    command->require_subcommand(1);
    CheckKinds kinds(*command, chosen);
    addKindsOfExposedImages(kinds);
    addKindsOfDarkImages(kinds);
}

}  // namespace qx::tool
