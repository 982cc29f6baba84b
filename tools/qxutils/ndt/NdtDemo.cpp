#include "ndt/NdtDemo.h"

#include "common/ToolError.h"
#include "detector/DetectorSetup.h"
#include "detector/PanelFrames.h"
#include "files/FileAccess.h"
#include "files/NativeFile.h"
#include "image/RawImage.h"
#include "ndt/ClassicDefectFile.h"
#include "text/FileName.h"
#include "text/TextTable.h"

#include <QxUtils.h>

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

// The detector begins without calibration files of an earlier run.
void configureDetector(const std::string& folder) {
    std::error_code error;
    for (const char* const kind : {"offset", "gain"})
        fs::remove_all(toPath(folder) / kind, error);
    if (const std::string problem = setCalibrationFolder(toPath(folder)); !problem.empty())
        throw ToolError(problem);
    setModeSize(kPanel);
    qxkit::VirtualDetector& detector = virtualDetector();
    detector.syncMode = kAedSynchronisation;
    detector.ndtFrameCount = kFrames;
    detector.config.fixedLinearGainEnabled = 0;
    detector.config.correctedImageDumpLevel = 0;
}

// The files go where the detector keeps what it delivers.
void calibrateIntoStorage(const LongImage& bright, const LongImage& dark) {
    const DetectorScope scope;
    qxkit::VirtualDetector& detector = virtualDetector();
    detector.offsetDirectory = detector.gainDirectory = detector.storageDirectory;
    const int status = withoutInterruption(
        [&] { return executeNDTCAL(bright.pixels.data(), dark.pixels.data(), bright.pixelCount()); });
    if (status != StatusOk)
        throw ToolError("the calibration files could not be written (status " + std::to_string(status) + ")");
}

NdtCall correct(const char* what, int defectMethod, LongImage& image) {
    qxkit::VirtualDetector& detector = virtualDetector();
    detector.config.defectCorrectionMethod = defectMethod;
    detector.transfers.clear();
    const int status =
        withoutInterruption([&] { return correctNDTImage(image.pixels.data(), nullptr, image.pixelCount()); });
    NdtCall call{what, status, {}};
    for (const qxkit::TransferCall& transfer : detector.transfers)
        call.downloaded += (call.downloaded.empty() ? "" : ", ") + transfer.fileName;
    return call;
}

// Of the gain file that was downloaded.
double meanOfGainFile(const std::string& folder) {
    std::error_code error;
    const fs::directory_iterator files(toPath(folder) / "gain", error);
    if (error || files == fs::directory_iterator())
        throw ToolError(folder + ": the detector delivered no gain file");
    constexpr int kHeaderWords = kImageHeaderBytes / 2;
    constexpr double kPixels = kPanel.width * kPanel.height;
    const std::vector<WORD> words = loadWords(toName(files->path()), kHeaderWords + kPanel.pixelCount());
    return std::accumulate(words.begin() + kHeaderWords, words.end(), 0.0) / kPixels;
}

// What a pixel of an open field gives, at response 0 where it is dead.
Image<double> openSignals(const qxkit::VirtualPanel& panel, const qxkit::FrameOptions& open) {
    Image<double> signals{kPanel, {}};
    auto response = panel.truth().response.begin();
    for (int row = 0; row < kPanel.height; ++row) {
        for (int column = 0; column < kPanel.width; ++column)
            signals.pixels.push_back(kFrames * open.level * panel.illumination(open, row, column) * *response++);
    }
    return signals;
}

// What a perfect correction gives: the share of the open field that the object lets through, at the open field's mean
// level. And the noise that the three images must leave, were all of the panel's pixels alive.
void fillTruth(const qxkit::VirtualPanel& panel, const qxkit::FrameOptions& object, NdtDemo& demo) {
    qxkit::FrameOptions open = object;
    open.attenuators.clear();
    const Image<double> signals = openSignals(panel, open);
    demo.openField = std::accumulate(signals.pixels.begin(), signals.pixels.end(), 0.0) / signals.pixelCount();
    demo.truth = demo.noise = filledImage(kPanel, 0.0f);
    const qxkit::PanelParameters& parameters = panel.parameters();
    const double darkVariance = kFrames * (parameters.temporalNoiseSigma * parameters.temporalNoiseSigma +
                                           parameters.rowNoiseSigma * parameters.rowNoiseSigma);
    for (int row = 0; row < kPanel.height; ++row) {
        for (int column = 0; column < kPanel.width; ++column) {
            const double share = panel.illumination(object, row, column) / panel.illumination(open, row, column);
            const double signal = signals.at(row, column);
            const double bright = signal > 0.0 ? signal : demo.openField;
            const double shotVariance = parameters.variancePerCount * bright;
            const double variance = darkVariance + share * shotVariance +
                                    share * share * (darkVariance + shotVariance) +
                                    (1.0 - share) * (1.0 - share) * darkVariance;
            demo.truth.at(row, column) = static_cast<float>(share * demo.openField);
            demo.noise.at(row, column) = static_cast<float>(demo.openField / bright * std::sqrt(variance));
        }
    }
}

}  // namespace

NdtDemo runNdtDemo(std::uint64_t seed, const std::string& folder) {
    const DetectorScope scope;
    createFolder(folder);
    configureDetector(folder);
    const qxkit::VirtualPanel panel(panelParameters(kPanel, seed));
    const LongImage dark = toImage(panel.ndtDark(kFrames, {.frame = 0}));
    const LongImage bright = toImage(panel.ndtBright(kFrames, {.frame = 1}));
    calibrateIntoStorage(bright, dark);
    writeClassicDefects(folder + "/defect/NormalDefectInfo.cal", kPanel, panel.truth().defects);

    NdtDemo demo;
    const qxkit::FrameOptions object{.frame = 2, .attenuators = qxkit::standardPhantom(panel.parameters())};
    demo.raw = demo.flattened = demo.corrected = toImage(panel.ndtObject(kFrames, object));
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

bool deviates(const LongImage& image, const NdtDemo& demo, std::size_t pixel) {
    const double value = image.pixels[pixel];
    return std::fabs(value - demo.truth.pixels[pixel]) > kDeviations * demo.noise.pixels[pixel];
}

NdtError ndtError(const LongImage& image, const NdtDemo& demo) {
    NdtError error;
    double squares = 0.0;
    for (std::size_t i = 0; i < image.pixels.size(); ++i) {
        const double value = image.pixels[i];
        const double distance = std::fabs(value - demo.truth.pixels[i]);
        squares += distance * distance;
        error.largest = std::max(error.largest, distance);
        error.deviatingPixels += deviates(image, demo, i);
    }
    error.rootMeanSquare = std::sqrt(squares / image.pixelCount());
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

    TextTable errors(
        {"image", "rms error, counts", "largest, counts", "rms error, % of the field", "deviating pixels"});
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
