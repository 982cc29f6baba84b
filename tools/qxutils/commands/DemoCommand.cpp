#include "commands/Subcommand.h"
#include "demo/Demo.h"
#include "detector/DetectorSetup.h"
#include "files/FileAccess.h"
#include "files/LibraryFile.h"
#include "options/NumberCheck.h"
#include "options/WriteOptions.h"
#include "text/FileName.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>

namespace qx::tool {
namespace {

// A smaller panel has so few squares that a shadow at its edge cannot fall below expectation in three of them.
constexpr int kMinDemoSide = 1536;
constexpr int kMaxDemoSide = 4288;

// Room for "logs\\2024-03-07.log" and the demo's own names in a path of the library.
constexpr std::size_t kMaxOutputPath = 200;

struct DemoOptions {
    std::string outputDirectory;
    std::uint64_t seed = 1;
    std::optional<std::string> shape;
};

Shape demoShape(const std::optional<std::string>& text) {
    const Shape shape = text ? parseShape(*text) : Shape{virtualDetector().width, virtualDetector().height};
    const auto [shorter, longer] = std::minmax(shape.width, shape.height);
    if (shorter < kMinDemoSide || longer > kMaxDemoSide) {
        throw ToolError(toText(shape) + ": the demo's panel needs sides from " + std::to_string(kMinDemoSide) + " to " +
                            std::to_string(kMaxDemoSide) + "; give another --size",
                        ExitCode::Usage);
    }
    return shape;
}

// Returns the folder's name without a separator at its end. As in the library, '\\' separates on every platform.
std::string createOutputDirectory(const std::string& text) {
    requireName(text, "a folder with --out");
    requireLibraryName(text);
    std::string directory = toName(nativePath(text));
    while (directory.size() > 1 && directory.back() == '/')
        directory.pop_back();
    if (directory.size() > kMaxOutputPath) {
        throw ToolError("the path of --out is longer than " + std::to_string(kMaxOutputPath) +
                        " characters; give a shorter one");
    }
    requireFreshFolder(directory);
    createFolder(directory);
    return directory;
}

// The library asks the detector where to log.
void configureDetector(const std::string& directory, const Shape& shape) {
    setPanelSize(shape);
    virtualDetector().workDirectory = directory + "\\";
    virtualDetector().config.loggingEnabled = 1;
}

ExitCode demonstrate(const DemoOptions& options) {
    refuseDryRun("demo");
    const Shape shape = demoShape(options.shape);
    const std::string folder = createOutputDirectory(options.outputDirectory);
    configureDetector(folder, shape);
    const int wrongVerdicts = runDemo(std::cout, shape, options.seed, folder);
    if (wrongVerdicts > 0) {
        throw ToolError("wrong verdicts in the calibration flow: " + std::to_string(wrongVerdicts) + "; see its table",
                        ExitCode::NotPassed);
    }
    return ExitCode::Passed;
}

}  // namespace

void addDemoCommand(CLI::App& app, Command& chosen) {
    auto [command, options] = addSubcommand<DemoOptions>(
        app, chosen, "demo", "Let a virtual panel acquire images, and judge them", demonstrate);
    command.add_option("--out", options.outputDirectory, "Folder for pictures, log and data")
        ->type_name("FOLDER")
        ->required();
    command.add_option("--seed", options.seed, "Seed of the panel and its noise")
        ->check(numberFrom(std::int64_t{0}))
        ->capture_default_str();
    command.add_option("--size", options.shape, "WIDTHxHEIGHT of the panel; the virtual detector's when left out")
        ->type_name("WxH");
}

}  // namespace qx::tool
