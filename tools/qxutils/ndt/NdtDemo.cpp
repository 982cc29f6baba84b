#include "ndt/NdtDemo.h"

#include "common/DetectorScope.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "common/ToolError.h"
#include "ndt/ClassicDefectFile.h"

#include <QxUtils.h>
#include <VirtualPanel.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <numeric>
#include <ostream>
#include <system_error>
#include <utility>

namespace qx::tool {
namespace {

namespace fs = std::filesystem;

constexpr Shape kPanel = kNdtDemoPanel;
constexpr int kFrames = 4;
constexpr int kAedSynchronisation = 3;
constexpr int kClassicDefects = 0;
constexpr int kNoDefects = 2;
constexpr double kDeviations = 5.0;

qxkit::PanelParameters panelParameters(std::uint64_t seed) {
    qxkit::PanelParameters parameters;
    parameters.width = kPanel.width;
    parameters.height = kPanel.height;
    parameters.seed = seed;
    return parameters;
}

LongImage toLongImage(qxkit::Frame32 frame) {
    return {{frame.width, frame.height}, std::move(frame.pixels)};
}

// The detector begins without calibration files of an earlier run.
void configureDetector(const std::string& folder) {
    std::error_code error;
    for (const char* const kind : {"offset", "gain"})
        fs::remove_all(fs::path(folder) / kind, error);
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    const std::string workDirectory = detector.workDirectory;
    if (const std::string problem = qxkit::setDirectories(folder); !problem.empty())
        throw ToolError(problem);
    detector.workDirectory = workDirectory;
    detector.modeWidth = kPanel.width;
    detector.modeHeight = kPanel.height;
    detector.syncMode = kAedSynchronisation;
    detector.ndtFrameCount = kFrames;
    detector.config.fixedLinearGainEnabled = 0;
    detector.config.correctedImageDumpLevel = 0;
}

// The files go where the detector keeps what it delivers.
void calibrateIntoStorage(const LongImage& bright, const LongImage& dark) {
    const DetectorScope scope;
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.offsetDirectory = detector.gainDirectory = detector.storageDirectory;
    const int status = executeNDTCAL(bright.pixels.data(), dark.pixels.data(), static_cast<int>(bright.pixels.size()));
    if (status != StatusOk)
        throw ToolError("the calibration files could not be written (status " + std::to_string(status) + ")");
}

NdtCall correct(const char* what, int defectMethod, LongImage& image) {
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.config.defectCorrectionMethod = defectMethod;
    detector.transfers.clear();
    NdtCall call{what, correctNDTImage(image.pixels.data(), nullptr, static_cast<int>(image.pixels.size())), {}};
    for (const qxkit::TransferCall& transfer : detector.transfers)
        call.downloaded += (call.downloaded.empty() ? "" : ", ") + transfer.fileName;
    return call;
}

// Of the gain file that was downloaded.
double meanOfGainFile(const std::string& folder) {
    std::error_code error;
    const fs::directory_iterator files(fs::path(folder) / "gain", error);
    if (error || files == fs::directory_iterator())
        throw ToolError(folder + ": the detector delivered no gain file");
    constexpr int kHeaderWords = kImageHeaderBytes / 2;
    const std::vector<WORD> words =
        loadWords(files->path().generic_string(), static_cast<std::size_t>(kHeaderWords + kPanel.pixelCount()));
    return std::accumulate(words.begin() + kHeaderWords, words.end(), 0.0) / static_cast<double>(kPanel.pixelCount());
}

// What a perfect correction gives: the share of the open field that the object lets through, at the open field's mean
// level. And the noise that the three images must leave, were all of the panel's pixels alive.
void fillTruth(const qxkit::VirtualPanel& panel, const qxkit::FrameOptions& object, NdtDemo& demo) {
    qxkit::FrameOptions open = object;
    open.attenuators.clear();
    const auto& responses = panel.truth().response;
    const auto signalAt = [&](int row, int column, double response) {
        return kFrames * open.level * panel.illumination(open, row, column) * response;
    };
    std::vector<double> signals;
    for (int row = 0; row < kPanel.height; ++row) {
        for (int column = 0; column < kPanel.width; ++column)
            signals.push_back(signalAt(row, column, static_cast<double>(responses[signals.size()])));
    }
    demo.openField = std::accumulate(signals.begin(), signals.end(), 0.0) / static_cast<double>(signals.size());
    demo.truth.shape = demo.noise.shape = kPanel;
    const qxkit::PanelParameters& parameters = panel.parameters();
    const double darkVariance = kFrames * (parameters.temporalNoiseSigma * parameters.temporalNoiseSigma +
                                           parameters.rowNoiseSigma * parameters.rowNoiseSigma);
    for (int row = 0; row < kPanel.height; ++row) {
        for (int column = 0; column < kPanel.width; ++column) {
            const double share = panel.illumination(object, row, column) / panel.illumination(open, row, column);
            const double signal = signals[demo.truth.pixels.size()];
            const double bright = signal > 0.0 ? signal : demo.openField;
            const double shotVariance = parameters.variancePerCount * bright;
            const double variance = darkVariance + share * shotVariance +
                                    share * share * (darkVariance + shotVariance) +
                                    (1.0 - share) * (1.0 - share) * darkVariance;
            demo.truth.pixels.push_back(static_cast<float>(share * demo.openField));
            demo.noise.pixels.push_back(static_cast<float>(demo.openField / bright * std::sqrt(variance)));
        }
    }
}

}  // namespace

NdtDemo runNdtDemo(std::uint64_t seed, const std::string& folder) {
    const DetectorScope scope;
    createFolder(folder);
    configureDetector(folder);
    const qxkit::VirtualPanel panel(panelParameters(seed));
    const LongImage dark = toLongImage(panel.ndtDark(kFrames, {.frame = 0}));
    const LongImage bright = toLongImage(panel.ndtBright(kFrames, {.frame = 1}));
    calibrateIntoStorage(bright, dark);
    writeClassicDefects(folder + "/defect/NormalDefectInfo.cal", kPanel, panel.truth().defects);

    NdtDemo demo;
    const qxkit::FrameOptions object{.frame = 2, .attenuators = qxkit::standardPhantom(panel.parameters())};
    demo.raw = demo.flattened = demo.corrected = toLongImage(panel.ndtObject(kFrames, object));
    demo.calls.push_back(correct("first, nothing at hand", kClassicDefects, demo.corrected));
    demo.calls.push_back(correct("second, with the dark image", kClassicDefects, demo.corrected));
    demo.calls.push_back(correct("another, without defect list", kNoDefects, demo.flattened));
    demo.meanGain = meanOfGainFile(folder);
    fillTruth(panel, object, demo);
    saveLongImage(folder + "/dark.raw", dark);
    saveLongImage(folder + "/bright.raw", bright);
    saveLongImage(folder + "/object.raw", demo.raw);
    return demo;
}

NdtError ndtError(const LongImage& image, const NdtDemo& demo) {
    NdtError error;
    double squares = 0.0;
    for (std::size_t i = 0; i < image.pixels.size(); ++i) {
        const double distance =
            std::fabs(static_cast<double>(image.pixels[i]) - static_cast<double>(demo.truth.pixels[i]));
        squares += distance * distance;
        error.largest = std::max(error.largest, distance);
        error.deviatingPixels += distance > kDeviations * static_cast<double>(demo.noise.pixels[i]);
    }
    error.rootMeanSquare = std::sqrt(squares / static_cast<double>(image.pixels.size()));
    return error;
}

void printNdt(std::ostream& out, const NdtDemo& demo) {
    TextTable calls({"call", "status", "downloaded meanwhile"});
    calls.alignLeft({2});
    for (const NdtCall& call : demo.calls)
        calls.addRow({call.what, std::to_string(call.status), call.downloaded});
    out << "\nAn image of non-destructive testing, " << toText(kPanel) << " sums of " << kFrames
        << " frames. A dark image that had to be downloaded serves the\nnext call:\n";
    calls.print(out);

    TextTable errors({"image", "rms error", "largest", "% of the field", "deviating pixels"});
    const std::pair<const char*, const LongImage*> images[] = {
        {"as it was read", &demo.raw}, {"offset and gain", &demo.flattened}, {"and defects", &demo.corrected}};
    for (const auto& [name, image] : images) {
        const NdtError error = ndtError(*image, demo);
        errors.addRow({name, formatNumber(error.rootMeanSquare, 1), formatNumber(error.largest, 1),
                       formatNumber(100.0 * error.rootMeanSquare / demo.openField, 2),
                       std::to_string(error.deviatingPixels)});
    }
    out << "\nError in counts against the truth (an open field of " << formatNumber(demo.openField, 0)
        << " counts times what the object lets through);\npixels deviate that are more than "
        << formatNumber(kDeviations, 0) << " sigma of their noise away. Mean gain of the file "
        << formatNumber(demo.meanGain, 1) << ":\n";
    errors.print(out);
}

}  // namespace qx::tool
