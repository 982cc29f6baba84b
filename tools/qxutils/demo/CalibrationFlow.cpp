#include "demo/CalibrationFlow.h"

#include "checks/ImageChecks.h"
#include "detector/DetectorSetup.h"
#include "detector/PanelFrames.h"
#include "files/FileAccess.h"
#include "image/RawImage.h"

#include <QxUtils/Foundation.h>
#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <ostream>
#include <utility>

namespace qx::tool {
namespace {

constexpr Shape kPanel{1152, 1152};

// The level leaves room for a step on top of it, and for a field that is brighter on one side.
constexpr double kLevel = 36000.0;
constexpr int kAveragedFrames = 16;

qxkit::PanelParameters flowPanel(std::uint64_t seed) {
    qxkit::PanelParameters parameters = panelParameters(kPanel, seed);
    // The darkest strip of a small panel may lie in one hollow of the slow pattern.
    parameters.darkLevel = 800.0;
    // Dead over half its rows, the last column of an AFE can spoil the measurement of the step beside it.
    parameters.deadHalfColumns = 0;
    return parameters;
}

qxkit::PanelParameters tooDarkPanel(qxkit::PanelParameters parameters) {
    parameters.darkLevel = 200.0;
    return parameters;
}

// What the panel delivers, good and bad; every frame has noise of its own.
class FlowScene {
public:
    explicit FlowScene(std::uint64_t seed) : panel_(flowPanel(seed)) {}

    const qxkit::PanelParameters& parameters() const { return panel_.parameters(); }

    RawImage dark() { return toImage(panel_.dark(next({}))); }
    RawImage flat() { return toImage(panel_.flat(next({}))); }
    FloatImage averageDark() { return average({}); }
    FloatImage automatic() { return aed(qxkit::AedOptions{}.exposure.level); }

    RawImage unexposed() { return toImage(panel_.flat(next({.level = 0.0}))); }
    RawImage darkOfAgedPanel() { return toImage(qxkit::VirtualPanel(tooDarkPanel(parameters())).dark(next({}))); }
    // Enough light comes through the shutter for no block to count as unexposed.
    RawImage collimated() { return attenuated(qxkit::collimatedCorner(kPanel.height / 3, kPanel.width / 2, 0.1)); }
    RawImage behindPlate() { return attenuated({{0, 0, kPanel.height, kPanel.width / 2}, 0.5}); }
    RawImage tilted() { return toImage(panel_.flat(next({.tubeTiltY = 0.9}))); }
    RawImage striped() {
        // Inside an AFE: the steps between AFEs are of either sign.
        const int column = 5 * parameters().afeWidth + parameters().afeWidth / 2;
        return toImage(panel_.flat(next({.addedLevels = {qxkit::stripStep(parameters(), column, 6000.0)}})));
    }
    FloatImage noisyAverageDark() { return average({.noisyRows = 600, .noisyRowCounts = 10.0}); }
    FloatImage patchedAverageDark() { return average({.addedLevels = {{{256, 512, 16, 16}, -100.0}}}); }
    FloatImage falseTrigger() { return aed(0.0); }

private:
    qxkit::FrameOptions next(qxkit::FrameOptions options) {
        options.frame = frame_++;
        options.level = std::min(options.level, kLevel);
        return options;
    }
    RawImage attenuated(const qxkit::Attenuator& attenuator) {
        return toImage(panel_.flat(next({.attenuators = {attenuator}})));
    }
    FloatImage average(const qxkit::FrameOptions& options) {
        return toImage(panel_.averageDark(kAveragedFrames, next(options)));
    }
    FloatImage aed(double level) {
        qxkit::AedOptions options;
        options.exposure = next({.level = level});
        options.triggerLine = kPanel.height / 2;
        const qxkit::Frame16 image = panel_.aed(options).image;
        return {{image.width, image.height}, {image.pixels.begin(), image.pixels.end()}};
    }

    qxkit::VirtualPanel panel_;
    std::uint32_t frame_ = 0;
};

class FlowRunner {
public:
    FlowRunner(std::uint64_t seed, const std::string& folder) : scene_(seed), folder_(folder) {
        setPanelSize(kPanel);
        virtualDetector().afeWidth = scene_.parameters().afeWidth;
        createFolder(folder);
        flow_.dark = scene_.dark();
        flow_.flat = scene_.flat();
        flow_.collimated = scene_.collimated();
    }

    CalibrationFlow run() {
        save("dark.raw", flow_.dark);
        save("collimated.raw", flow_.collimated);
        judgeGoodExposures();
        judgeGoodDarks();
        judgeGoodCollections();
        judgeBadExposures();
        judgeBadDarks();
        judgeBadCollections();
        return std::move(flow_);
    }

private:
    void good(const char* image, Record result) { flow_.good.push_back({{image, std::move(result)}, 0}); }
    void bad(const char* image, Record result, int expected) {
        flow_.bad.push_back({{image, std::move(result)}, expected});
    }

    void judgeGoodExposures() {
        good("preview", checkPreview(flow_.flat, flow_.dark));
        good("flat field", checkFirst(flow_.flat, flow_.dark));
        good("flat field", checkSquares(flow_.flat));
        good("flat field", checkBlocks(flow_.flat, kDefaultBlockLimit));
        good("flat field", checkStrips(flow_.flat));
    }

    void judgeGoodDarks() {
        const FloatImage average = scene_.averageDark();
        good("average dark", checkRowNoiseOf("offset", average));
        good("dark", checkDarkLevel(flow_.dark));
        good("average dark", checkOffset(average));
    }

    void judgeGoodCollections() {
        group_ = {save("flat-1.raw", flow_.flat), save("flat-2.raw", scene_.flat()), save("flat-3.raw", scene_.flat())};
        good("three flat fields", checkGainGroup(group_));
        const int timeMs = getCurrentExpTime();
        good("exposure time", checkDarkTime("250;" + std::to_string(timeMs) + ";1000", timeMs));
        good("automatic exposure", checkFalseTrigger(scene_.automatic()));
    }

    void judgeBadExposures() {
        bad("tube switched off", checkPreview(scene_.unexposed(), flow_.dark), StatusPanelNotExposed);
        bad("shutter half open", checkFirst(flow_.collimated, flow_.dark), StatusUniformityUnqualified);
        bad("tilted tube", checkFirst(scene_.tilted(), flow_.dark), StatusTubeMisaligned);
        bad("plate in the beam", checkSquares(scene_.behindPlate()), StatusUniformityUnqualified);
        bad("plate in the beam", checkBlocks(scene_.behindPlate(), kDefaultBlockLimit), StatusUniformityUnqualified);
        bad("bright columns", checkStrips(scene_.striped()), StatusStripMeansUnqualified);
    }

    void judgeBadDarks() {
        bad("noisy rows", checkRowNoiseOf("offset-noisy", scene_.noisyAverageDark()), StatusRowNoiseUnqualified);
        bad("dark level too low", checkDarkLevel(scene_.darkOfAgedPanel()), StatusDarkLevelUnqualified);
        bad("patch in the dark", checkOffset(scene_.patchedAverageDark()), 1);
    }

    void judgeBadCollections() {
        group_.back() = save("plate.raw", scene_.behindPlate());
        bad("plate in the third", checkGainGroup(group_), StatusLinearityUnqualified);
        bad("triggered by a knock", checkFalseTrigger(scene_.falseTrigger()), StatusFalseTrigger);
    }

    Record checkRowNoiseOf(const std::string& folder, const FloatImage& averageDark) {
        createFolder(folder_ + '/' + folder);
        storeAverageDark(folder_ + '/' + folder + '/' + averageDarkName(), averageDark);
        return checkRowNoise(kPanel);
    }

    std::string save(const std::string& name, const RawImage& image) {
        saveRawImage(folder_ + '/' + name, image);
        return folder_ + '/' + name;
    }

    FlowScene scene_;
    std::string folder_;
    CalibrationFlow flow_;
    std::vector<std::string> group_;
};

}  // namespace

CalibrationFlow runCalibrationFlow(std::uint64_t seed, const std::string& folder) {
    return FlowRunner(seed, folder).run();
}

int printFlow(std::ostream& out, const CalibrationFlow& flow) {
    int unexpected = 0;
    std::vector<CheckRow> rows;
    std::string image;
    for (const auto* steps : {&flow.good, &flow.bad}) {
        for (const FlowStep& step : *steps) {
            // What is said of one image stands together.
            rows.push_back({step.row.image == image ? "" : step.row.image, step.row.result});
            image = step.row.image;
            unexpected += step.row.result.code != step.expected;
        }
    }
    out << "\nThe calibration flow on a panel as it should be, then on what it must refuse:\n";
    printChecks(out, rows);
    return unexpected;
}

}  // namespace qx::tool
