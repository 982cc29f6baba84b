#include "checks/ImageChecks.h"

#include "common/DetectorSetup.h"
#include "common/FileAccess.h"
#include "common/FileName.h"
#include "common/LibraryFile.h"
#include "common/ToolError.h"

#include <QxUtils.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <set>

namespace qx::tool {
namespace {

// What the two checks without a code of their own return instead.
constexpr int kStatusOne = 1;

Measure measureOf(const CheckMeasure& taken, int decimals) {
    return {taken.name, plainNumber(taken.value), taken.unit, decimals,
            Limit{static_cast<MeasureComparison>(taken.comparison), plainNumber(taken.limit), taken.requirement,
                  taken.met != 0}};
}

// Anything but a pass and the refusals is no verdict.
void requireVerdict(const std::string& check, int status, const std::set<int>& refusals) {
    if (status == StatusOk || refusals.contains(status))
        return;
    const std::string reason = status == StatusWrongParameter
                                   ? "the image is too small for it, or the detector's settings do not fit"
                                   : "status " + std::to_string(status) + ": " + getStatusMessage(status);
    throw ToolError(check + " gives no verdict: " + reason);
}

// A check of the library and what it measured: `measure` fills the records, which are shown with these decimals.
template <class Measure>
Record resultOf(const std::string& check, int status, const std::set<int>& refusals, Measure measure,
                std::initializer_list<int> decimals) {
    requireVerdict(check, status, refusals);
    CheckMeasures taken{};
    requireVerdict(check, measure(&taken), {});
    Record record;
    record.check = check;
    record.verdict = status == StatusOk ? Verdict::Passed : Verdict::NotPassed;
    record.code = status;
    record.message = getStatusMessage(status);
    for (int i = 0; i < taken.count; ++i)
        record.measures.push_back(measureOf(taken.measures[i], decimals.begin()[i]));
    return record;
}

std::string averageDarkName() {
    return "dark-" + std::to_string(getCurrentExpTime()) + "ms-std-gain" + std::to_string(getGainId()) + ".raw";
}

std::string averageDarkPath() {
    return toName(nativePath(getOfstImgDir() + averageDarkName()));
}

}  // namespace

Record checkFirst(const RawImage& image, const RawImage& dark) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureFirstImg(image.pixels.data(), dark.pixels.data(), width, height, taken);
    };
    return resultOf("checkFirstImg", checkFirstImg(image.pixels.data(), dark.pixels.data(), width, height),
                    {StatusPanelNotExposed, StatusUniformityUnqualified, StatusTubeMisaligned}, measure, {0, 0, 3});
}

Record checkPreview(const RawImage& image, const RawImage& dark) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measurePreImg(image.pixels.data(), dark.pixels.data(), width, height, taken);
    };
    return resultOf("checkPreImg", checkPreImg(image.pixels.data(), dark.pixels.data(), width, height),
                    {StatusPanelNotExposed, StatusUniformityUnqualified}, measure, {0, 3});
}

Record checkSquares(const RawImage& image) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureUniform(image.pixels.data(), width, height, taken);
    };
    return resultOf("getUniform", getUniform(image.pixels.data(), width, height), {StatusUniformityUnqualified},
                    measure, {3});
}

Record checkBlocks(const RawImage& image, float blockLimit) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureGlobalUniform(image.pixels.data(), width, height, blockLimit, taken);
    };
    return resultOf("checkGlobalUniform", checkGlobalUniform(image.pixels.data(), width, height, blockLimit),
                    {StatusUniformityUnqualified}, measure, {3});
}

Record checkStrips(const RawImage& image) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) { return measureStrip(image.pixels.data(), width, height, taken); };
    return resultOf("analysisStrip", analysisStrip(image.pixels.data(), width, height), {StatusStripMeansUnqualified},
                    measure, {0});
}

Record checkDarkLevel(const RawImage& image) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureDarkGray(image.pixels.data(), width, height, taken);
    };
    return resultOf("darkImgGrayAnalysis", darkImgGrayAnalysis(image.pixels.data(), width, height),
                    {StatusDarkLevelUnqualified}, measure, {1});
}

Record checkOffset(const FloatImage& image) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureOffsetImageQuality(image.pixels.data(), width, height, taken);
    };
    Record record = resultOf("checkOffsetImageQuality", checkOffsetImageQuality(image.pixels.data(), width, height),
                             {kStatusOne}, measure, {2});
    if (record.code == kStatusOne)
        record.message = "The dark image shows structured patches.";
    return record;
}

Record checkFalseTrigger(const FloatImage& image) {
    const int width = image.shape.width;
    const int height = image.shape.height;
    const auto measure = [&](CheckMeasures* taken) {
        return measureFalseTriggAEDImage(image.pixels.data(), width, height, taken);
    };
    return resultOf("checkFalseTriggAEDImage", checkFalseTriggAEDImage(image.pixels.data(), width, height),
                    {StatusFalseTrigger}, measure, {0, 0, 0});
}

Record checkGainGroup(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        fileBytes(file, kRawImageWanted);
        requireLibraryName(file);
    }
    std::vector<const char*> paths;
    std::transform(files.begin(), files.end(), std::back_inserter(paths),
                   [](const auto& file) { return file.c_str(); });
    const int count = static_cast<int>(paths.size());
    return resultOf("checkGainImgGroup", checkGainImgGroup(paths.data(), count), {StatusLinearityUnqualified},
                    [&](CheckMeasures* taken) { return measureGainImgGroup(paths.data(), count, taken); }, {3});
}

Record checkDarkTime(const std::string& list, int timeMs) {
    Record record =
        resultOf("CheckDarkTimeRepeat", CheckDarkTimeRepeat(list.c_str(), timeMs), {kStatusOne},
                 [&](CheckMeasures* taken) { return measureDarkTimeRepeat(list.c_str(), timeMs, taken); }, {0});
    if (record.code == kStatusOne)
        record.message = "The exposure time is not in the list.";
    return record;
}

Record checkRowNoise(const Shape& shape) {
    // Tells what is wrong with the file, if anything is.
    loadFloatImage(averageDarkPath(), shape);
    return resultOf("analysisRcn", analysisRcn(shape.width, shape.height), {StatusRowNoiseUnqualified},
                    [&](CheckMeasures* taken) { return measureRcn(shape.width, shape.height, taken); }, {0});
}

void storeAverageDark(const std::string& folder, const FloatImage& image) {
    saveFloatImage(folder + '/' + averageDarkName(), image);
    virtualDetector().offsetDirectory = folder + "\\";
}

}  // namespace qx::tool
