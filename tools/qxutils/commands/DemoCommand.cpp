#include "checks/CheckTable.h"
#include "commands/Command.h"
#include "common/ComparedNumbers.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "demo/CalibrationFlow.h"
#include "demo/DemoPictures.h"
#include "demo/DemoScene.h"
#include "demo/FlowPictures.h"
#include "ndt/NdtDemo.h"
#include "ndt/NdtPicture.h"
#include "picture/PngWriter.h"
#include "picture/Tiles.h"
#include "snr/FactorySeries.h"
#include "snr/FactorySnrDemo.h"
#include "snr/SnrJudgement.h"
#include "stripe/StripeDemo.h"
#include "stripe/StripePicture.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <vector>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

// A smaller panel has so few squares that a shadow at its edge cannot fall below expectation in three of them.
constexpr int kMinDemoSide = 1536;
constexpr int kMaxDemoSide = 4288;

// Room for "logs\\2024-03-07.log" and the demo's own names in a path of the library.
constexpr std::size_t kMaxOutputPath = 200;

constexpr int kNdtPreviewWidth = 256;

struct DemoOptions {
    std::string outputDirectory;
    std::uint64_t seed = 1;
    std::optional<std::string> shape;
};

Shape demoShape(const std::optional<std::string>& text) {
    const Shape shape =
        text ? parseShape(*text) : Shape{qxkit::virtualDetector().width, qxkit::virtualDetector().height};
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
    std::string directory = qxkit::nativePath(text).generic_string();
    while (directory.size() > 1 && directory.back() == '/')
        directory.pop_back();
    if (directory.size() > kMaxOutputPath) {
        throw ToolError("the path of --out is longer than " + std::to_string(kMaxOutputPath) +
                        " characters; give a shorter one");
    }
    createFolder(directory);
    return directory;
}

// The library asks the detector where to log.
void configureDetector(const std::string& directory, const Shape& shape) {
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.workDirectory = directory + "\\";
    detector.width = detector.modeWidth = shape.width;
    detector.height = detector.modeHeight = shape.height;
    detector.config.loggingEnabled = 1;
}

std::vector<JudgedExposure> judgeField(const DemoScene& scene, const SnrSeries& factory) {
    std::vector<JudgedExposure> judged;
    for (const Exposure& exposure : scene.fieldExposures()) {
        std::cout << "Calibrating in the field: " << exposure.caption << std::endl;
        RawImage image = scene.correctedFlat(exposure);
        const SnrJudgement judgement = judgeSnr(image, factory);
        judged.push_back({exposure, std::move(image), judgement});
    }
    return judged;
}

void printSquares(const std::vector<JudgedExposure>& exposures, const SnrSeries& factory) {
    std::vector<std::string> header = {"square", "factory"};
    for (const JudgedExposure& judged : exposures)
        header.push_back(judged.exposure.name);
    TextTable table(header);
    const std::vector<int> sides = snrSquareSides(exposures.front().image.shape);
    for (std::size_t square = 0; square < sides.size(); ++square) {
        std::vector<std::string> row = {std::to_string(sides[square]), formatNumber(factory[square], 1)};
        for (const auto& [exposure, image, judgement] : exposures) {
            const auto [measured, expected] = textsCompared(judgement.measured[square], judgement.expected[square], 1);
            row.push_back(measured + (judgement.isBelow(square) ? " < " : " / ") + expected);
        }
        table.addRow(row);
    }
    std::cout
        << "\nSNR of each square, measured / expected (\"<\" where it falls below). The expectation is scaled to the\n"
           "image's smallest square: a low dose alone does not fail.\n";
    table.print(std::cout);
}

void printVerdicts(const std::vector<JudgedExposure>& exposures) {
    TextTable table({"image", "verdict", "grade", "meaning"});
    std::set<int> codes;
    for (const auto& [exposure, image, judgement] : exposures) {
        table.addRow({exposure.name, std::to_string(judgement.verdict), std::to_string(judgement.grade),
                      gradeName(judgement.grade)});
        codes.insert({judgement.verdict, judgement.grade});
    }
    std::cout << "\nVerdicts:\n";
    table.print(std::cout);
    std::cout << '\n';
    for (const int code : codes)
        std::cout << "  " << code << "  " << getStatusMessage(code) << '\n';
}

// Returns the number of verdicts that are not as they should be.
int printFlow(const CalibrationFlow& flow) {
    const auto unexpected = [](const FlowStep& step) { return step.row.result.status != step.expected; };
    int wrong = 0;
    std::vector<CheckRow> rows;
    for (const auto* steps : {&flow.good, &flow.bad}) {
        wrong += static_cast<int>(std::count_if(steps->begin(), steps->end(), unexpected));
        for (const FlowStep& step : *steps)
            rows.push_back(step.row);
    }
    std::cout << "\nThe calibration flow on a panel as it should be, then on what it must refuse:\n";
    printChecks(std::cout, rows);
    return wrong;
}

void writeFlowPictures(const fs::path& folder, const CalibrationFlow& flow) {
    constexpr int kSmall = 288;
    constexpr int kLarge = 576;
    std::vector<Tile> tiles = drawBalance(flow, kSmall);
    tiles.push_back(drawShadow(flow, kSmall));
    writePng((folder / "flow.png").string(), drawTiles(tiles, 3));
    writePng((folder / "afe-balance.png").string(), drawTiles(drawBalance(flow, kLarge), 2));
    writePng((folder / "shadow.png").string(), drawTiles({drawShadow(flow, kLarge)}, 1));
}

// Every case before and after, with the true levels beside them.
void writeStripePictures(const fs::path& folder, const std::vector<StripeCase>& cases) {
    for (const StripeCase& stripe : cases) {
        const RowRange rows = stripeRows(stripe.clean.shape, kDemoTriggerLine);
        const bool isClinic = stripe.method == StripeMethod::Clinic;
        const Canvas picture = drawStripe({{stripe.striped, "as it was read", "stripe above the line", kTileNotPassed},
                                           {stripe.corrected, "corrected", stripe.name, kTilePassed}},
                                          kDemoTriggerLine, rowLevels(stripe.clean, rows.first, rows.end));
        writePng((folder / (isClinic ? "stripe.png" : "stripe-line.png")).string(), picture);
    }
}

void writePictures(const fs::path& folder, const DemoScene& scene, const std::vector<JudgedExposure>& exposures,
                   const SnrSeries& factory) {
    const auto path = [&folder](const std::string& name) { return (folder / (name + ".png")).string(); };
    const RawImage rawFlat = scene.rawFlat();
    writePng(path("raw-dark"), makePreview(scene.dark(), PercentileWindow{}, kPreviewWidth));
    writePng(path("raw-flat"), makePreview(rawFlat, PercentileWindow{}, kPreviewWidth));
    for (const JudgedExposure& judged : exposures)
        writePng(path(judged.exposure.name), makePreview(judged.image, PercentileWindow{}, kPreviewWidth));
    writePng(path("squares"), drawSquares(exposures.front().image));
    writePng(path("overview"), drawOverview(rawFlat, exposures));
    writePng(path("snr-series"), drawSeriesPlot(exposures, factory));
}

void reportFiles(const std::string& folder, const JudgedExposure& kept, const CalibrationFlow& flow) {
    std::cout << "\nPictures: " << folder
              << "/*.png (begin with overview.png, flow.png, stripe.png, ndt.png and snr-series.png)\n"
              << "In overview.png black to white is 2 % below to 2 % above the median of each corrected image.\n";
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(fs::path(folder) / "logs", error))
        std::cout << "Daily log: " << entry.path().generic_string() << '\n';
    std::cout << "Try: qxutils snr " << folder << '/' << kept.exposure.name << ".raw --shape "
              << toText(kept.image.shape) << " --factory " << folder << "/factory-snr.toml\n"
              << "Try: qxutils check first " << folder << "/flow/collimated.raw " << folder << "/flow/dark.raw --shape "
              << toText(flow.dark.shape) << '\n'
              << "Try: qxutils stripe " << folder << "/striped.raw --shape " << toText(flow.dark.shape) << " --trigger "
              << kDemoTriggerLine << " -o corrected.raw --png before-after.png\n"
              << "Try: qxutils ndt calibrate " << folder << "/ndt/bright.raw " << folder << "/ndt/dark.raw --shape "
              << toText(kNdtDemoPanel) << " --out calibration\n";
}

ExitCode runDemo(const DemoOptions& options) {
    const Shape shape = demoShape(options.shape);
    const std::string folder = createOutputDirectory(options.outputDirectory);
    configureDetector(folder, shape);
    std::cout << "Building a virtual panel of " << toText(shape) << " pixels, seed " << options.seed << std::endl;
    const DemoScene scene(shape, options.seed);
    std::cout << "Measuring the factory series" << std::endl;
    const SnrSeries factory = scene.measureFactorySeries();
    const std::vector<JudgedExposure> exposures = judgeField(scene, factory);
    printSquares(exposures, factory);
    printVerdicts(exposures);
    std::cout << "\nWalking through the calibration flow" << std::endl;
    const CalibrationFlow flow = runCalibrationFlow(options.seed, folder + "/flow");
    const int wrongVerdicts = printFlow(flow);

    std::cout << "\nCorrecting images that triggered themselves" << std::endl;
    const std::vector<StripeCase> stripes = correctDemoStripes(options.seed);
    printStripes(std::cout, stripes);

    std::cout << "\nCorrecting images of non-destructive testing" << std::endl;
    const NdtDemo ndt = runNdtDemo(options.seed, folder + "/ndt");
    printNdt(std::cout, ndt);

    std::cout << "\nFactory SNR: measuring the images of the factory" << std::endl;
    printFactorySnrDemo(std::cout, runFactorySnrDemo(options.seed, folder + "/factory"));

    writeFlowPictures(folder, flow);
    writeStripePictures(folder, stripes);
    writePng(folder + "/ndt.png", drawNdt(ndt, kNdtPreviewWidth));
    saveRawImage(folder + "/striped.raw", stripes.front().striped);
    writePictures(folder, scene, exposures, factory);
    saveFactorySeries(folder + "/factory-snr.toml", factory);
    saveRawImage(folder + '/' + exposures.back().exposure.name + ".raw", exposures.back().image);
    reportFiles(folder, exposures.back(), flow);
    if (wrongVerdicts > 0) {
        throw ToolError("wrong verdicts in the calibration flow: " + std::to_string(wrongVerdicts) + "; see its table",
                        ExitCode::NotPassed);
    }
    return ExitCode::Passed;
}

}  // namespace

void addDemoCommand(CLI::App& app, Command& chosen) {
    auto options = std::make_shared<DemoOptions>();
    CLI::App* command = app.add_subcommand("demo", "Let a virtual panel acquire images, and judge them");
    command->add_option("--out", options->outputDirectory, "Folder for pictures, log and data")->required();
    command->add_option("--seed", options->seed, "Seed of the panel and its noise")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_option("--size", options->shape, "WIDTHxHEIGHT of the panel; the virtual detector's when left out");
    command->callback([options, &chosen] { chosen = [options] { return runDemo(*options); }; });
}

}  // namespace qx::tool
