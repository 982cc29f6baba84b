#include "checks/CheckTable.h"
#include "checks/FileJudge.h"
#include "commands/Command.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "files/NamedInput.h"
#include "options/BatchOptions.h"
#include "options/Choice.h"
#include "options/ImageOptions.h"
#include "options/NumberCheck.h"
#include "results/Subject.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx::tool {
namespace {

struct CheckOptions {
    BatchOptions batch;
    std::string shape;
    std::optional<std::string> dark;
    float blockLimit = kDefaultBlockLimit;
    std::string timeList;
    int timeMs = 0;
    std::optional<std::string> stored;
    std::optional<std::string> limits;
};

using RunCheck = std::function<ExitCode(const CheckOptions&)>;

ExitCode runOfImages(const CheckOptions& options, const std::string& kind) {
    const FileJudge judge({.kind = kind,
                           .shape = parseShape(options.shape),
                           .dark = options.dark,
                           .blockLimit = options.blockLimit,
                           .tellsContent = options.batch.results.tellContent()});
    return runBatch(options.batch.reading(options.dark), "check " + kind, judge, printCheckRecords);
}

// The last file is the dark image unless an option names it.
ExitCode runOfExposures(CheckOptions options, const std::string& kind) {
    if (!options.dark) {
        if (options.batch.names.size() < 2)
            throw ToolError("DARK is required: the dark image that belongs to the others", ExitCode::Usage);
        options.dark = options.batch.names.back();
        options.batch.names.pop_back();
    }
    return runOfImages(options, kind);
}

// The library reads as much of each as the first one has.
void requireOneSize(const NamedInput& first, const NamedInput& other) {
    const std::int64_t wanted = fileBytes(first.name(), kRawImageWanted);
    if (const std::int64_t bytes = fileBytes(other.name(), kRawImageWanted); bytes != wanted)
        throw ToolError(other.file() + ": " + std::to_string(bytes) + " bytes, but " + first.file() + " has " +
                        std::to_string(wanted) + "; give images of one size");
}

ExitCode runGainGroup(const CheckOptions& options) {
    return runOnce(
        options.batch.results, "check gain-group",
        [&options] {
            std::deque<NamedInput> inputs;
            std::vector<std::string> names;
            for (const std::string& file : filesNamedBy(options.batch)) {
                inputs.emplace_back(file, kRawImageWanted);
                names.push_back(inputs.back().name());
                requireOneSize(inputs.front(), inputs.back());
            }
            const NamedInput& last = inputs.back();
            Record record = aboutFile(last.file(), [&] { return checkGainGroup(names); });
            record.subject = subjectOf(last, options.batch.results.tellContent());
            return std::vector{record};
        },
        printCheckRecords);
}

ExitCode runRowNoise(const CheckOptions& options) {
    const Shape shape = parseShape(options.shape);
    const auto judge = [&options, shape] {
        if (!options.stored)
            return std::vector{checkRowNoise(shape)};
        const FloatImage image = loadFloatImage(*options.stored, shape);
        TemporaryFolder folder;
        storeAverageDark(folder.add(averageDarkName()), image);
        Record record = checkRowNoise(shape);
        record.subject = subjectOf(*options.stored, image);
        return std::vector{record};
    };
    return runOnce(options.batch.results, "check rcn", judge, printCheckRecords);
}

ExitCode runDarkTimes(const CheckOptions& options) {
    return runOnce(
        options.batch.results, "check dark-times",
        [&options] { return std::vector{checkDarkTime(options.timeList, options.timeMs)}; }, printCheckRecords);
}

// The subcommands of "check", each with the options it needs.
class CheckKinds {
public:
    CheckKinds(CLI::App& parent, Command& chosen) : parent_(parent), chosen_(chosen) {}

    CLI::App& add(const char* name, const char* description, RunCheck run) {
        CLI::App* kind = parent_.add_subcommand(name, description);
        addLimitsOption(*kind, options_->limits);
        kind->callback([options = options_, run = std::move(run), &chosen = chosen_] {
            chosen = [options, run] {
                if (options->limits)
                    loadDetectorFile(*options->limits);
                return run(*options);
            };
        });
        return *kind;
    }

    CLI::App& addOfImages(const char* name, const char* description, const char* pixels) {
        CLI::App& kind =
            add(name, description, [name](const CheckOptions& options) { return runOfImages(options, name); });
        addBatchOptions(kind, options_->batch, pixels);
        addStoreOption(kind, options_->batch.results.store);
        addShapeOption(kind, options_->shape);
        return kind;
    }

    void addOfExposures(const char* name, const char* description) {
        CLI::App& kind =
            add(name, description, [name](const CheckOptions& options) { return runOfExposures(options, name); });
        addBatchOptions(kind, options_->batch, "Raw 16-bit images, the last one DARK, the dark image of the others");
        addStoreOption(kind, options_->batch.results.store);
        addShapeOption(kind, options_->shape);
        kind.add_option("--dark", options_->dark, "The dark image, instead of the last one")->type_name("FILE");
    }

    CheckOptions& options() { return *options_; }

    static constexpr const char* kWords = "Raw 16-bit images";
    static constexpr const char* kFloats = "Raw images of 32-bit floats";

private:
    CLI::App& parent_;
    Command& chosen_;
    std::shared_ptr<CheckOptions> options_ = std::make_shared<CheckOptions>();
};

void addKindsOfExposedImages(CheckKinds& kinds) {
    kinds.addOfExposures("first", "The first exposed image of a gain calibration");
    kinds.addOfExposures("pre", "A preview image");
    kinds.addOfImages("uniform", "Uniformity of five squares, and of blocks", CheckKinds::kWords)
        .add_option("--block-limit", kinds.options().blockLimit,
                    "Relative deviation that more than 3 blocks may not exceed")
        ->check(numberFrom(0.0F))
        ->capture_default_str();
    kinds.addOfImages("strip", "Steps between strips", CheckKinds::kWords);
    kinds.addOfImages("false-trigger", "Whether an image that triggered itself was exposed", CheckKinds::kFloats);
    CLI::App& group = kinds.add("gain-group", "Consistency of a group of gain images", runGainGroup);
    addFileNames(group, kinds.options().batch, "Raw 16-bit images");
    addPanelOptions(group, kinds.options().batch.results);
}

void addKindsOfDarkImages(CheckKinds& kinds) {
    CLI::App& rowNoise = kinds.add("rcn", "Row-correlated noise of the stored average dark image", runRowNoise);
    addShapeOption(rowNoise, kinds.options().shape);
    rowNoise
        .add_option("--image", kinds.options().stored,
                    "Average dark image of 32-bit floats, instead of the one in the detector's offset directory")
        ->type_name("FILE");
    addPanelOptions(rowNoise, kinds.options().batch.results);
    kinds.addOfImages("dark", "Level of a dark image", CheckKinds::kWords);
    kinds.addOfImages("offset", "Structured patches in an average dark image", CheckKinds::kFloats);
    CLI::App& darkTimes = kinds.add("dark-times", "Whether there are dark images of an exposure time", runDarkTimes);
    darkTimes.add_option("LIST", kinds.options().timeList, "The times there are, such as \"500;1000\"")->required();
    darkTimes.add_option("TIME", kinds.options().timeMs, "Exposure time in milliseconds")
        ->required()
        ->check(wholeNumber());
    addPanelOptions(darkTimes, kinds.options().batch.results);
}

}  // namespace

void addCheckCommand(CLI::App& app, Command& chosen) {
    CLI::App* command = app.add_subcommand("check", "Judge images by one of the checks of the calibration flow");
    command->require_subcommand(1);
    CheckKinds kinds(*command, chosen);
    addKindsOfExposedImages(kinds);
    addKindsOfDarkImages(kinds);
}

}  // namespace qx::tool
