#include "checks/ImageChecks.h"

#include "common/ToolError.h"
#include "detector/DetectorSetup.h"
#include "results/RecordText.h"
#include "text/FileName.h"

#include <QxUtils.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <new>
#include <set>
#include <type_traits>

namespace qx::tool {
namespace {

// What the two checks without a code of their own return instead.
constexpr int kStatusOne = 1;

// Anything but a pass and the refusals is no verdict.
void requireVerdict(const std::string& check, int status, const std::set<int>& refusals) {
    if (status == StatusOk || refusals.contains(status))
        return;
    const std::string reason = status == StatusWrongParameter
                                   ? "the image is too small for it, or the detector's settings do not fit"
                                   : "status " + std::to_string(status) + ": " + getStatusMessage(status);
    throw ToolError(check + " gives no verdict: " + reason);
}

// Lets the library judge, and measure what it judged, which takes the same arguments; the measures are shown with these
// decimals.
template <class... Arguments>
Record resultOf(const std::string& check, int (*judge)(Arguments...),
                std::type_identity_t<int (*)(Arguments..., CheckMeasures*)> measure, const std::set<int>& refusals,
                std::initializer_list<int> decimals, std::type_identity_t<Arguments>... arguments) {
    const int status = judge(arguments...);
    requireVerdict(check, status, refusals);
    CheckMeasures taken{};
    requireVerdict(check, measure(arguments..., &taken), {});
    // The one passes what it has no memory to measure.
    if (isPassed(taken) != (status == StatusOk))
        throw std::bad_alloc();
    Record record;
    record.check = check;
    record.verdict = status == StatusOk ? Verdict::Passed : Verdict::NotPassed;
    record.code = status;
    record.message = getStatusMessage(status);
    for (int i = 0; i < taken.count; ++i)
        record.measures.push_back(measureOf(taken.measures[i], decimals.begin()[i]));
    return record;
}

std::string averageDarkPath() {
    return toName(nativePath(getOfstImgDir() + averageDarkName()));
}

}  // namespace

Record checkFirst(const RawImage& image, const RawImage& dark) {
    return resultOf("checkFirstImg", checkFirstImg, measureFirstImg,
                    {StatusPanelNotExposed, StatusUniformityUnqualified, StatusTubeMisaligned}, {0, 0, 3},
                    image.pixels.data(), dark.pixels.data(), image.shape.width, image.shape.height);
}

Record checkPreview(const RawImage& image, const RawImage& dark) {
    return resultOf("checkPreImg", checkPreImg, measurePreImg, {StatusPanelNotExposed, StatusUniformityUnqualified},
                    {0, 3}, image.pixels.data(), dark.pixels.data(), image.shape.width, image.shape.height);
}

Record checkSquares(const RawImage& image) {
    return resultOf("getUniform", getUniform, measureUniform, {StatusUniformityUnqualified}, {3}, image.pixels.data(),
                    image.shape.width, image.shape.height);
}

Record checkBlocks(const RawImage& image, float blockLimit) {
    return resultOf("checkGlobalUniform", checkGlobalUniform, measureGlobalUniform, {StatusUniformityUnqualified}, {3},
                    image.pixels.data(), image.shape.width, image.shape.height, blockLimit);
}

Record checkStrips(const RawImage& image) {
    return resultOf("analysisStrip", analysisStrip, measureStrip, {StatusStripMeansUnqualified}, {0},
                    image.pixels.data(), image.shape.width, image.shape.height);
}

Record checkDarkLevel(const RawImage& image) {
    return resultOf("darkImgGrayAnalysis", darkImgGrayAnalysis, measureDarkGray, {StatusDarkLevelUnqualified}, {1},
                    image.pixels.data(), image.shape.width, image.shape.height);
}

Record checkOffset(const FloatImage& image) {
    Record record = resultOf("checkOffsetImageQuality", checkOffsetImageQuality, measureOffsetImageQuality,
                             {kStatusOne}, {2}, image.pixels.data(), image.shape.width, image.shape.height);
    if (record.code == kStatusOne)
        record.message = "The dark image shows structured patches.";
    return record;
}

Record checkFalseTrigger(const FloatImage& image) {
    return resultOf("checkFalseTriggAEDImage", checkFalseTriggAEDImage, measureFalseTriggAEDImage, {StatusFalseTrigger},
                    {0, 0, 0}, image.pixels.data(), image.shape.width, image.shape.height);
}

Record checkGainGroup(const std::vector<std::string>& files) {
    std::vector<const char*> paths;
    std::transform(files.begin(), files.end(), std::back_inserter(paths),
                   [](const auto& file) { return file.c_str(); });
    return resultOf("checkGainImgGroup", checkGainImgGroup, measureGainImgGroup, {StatusLinearityUnqualified}, {3},
                    paths.data(), static_cast<int>(paths.size()));
}

Record checkDarkTime(const std::string& list, int timeMs) {
    Record record = resultOf("CheckDarkTimeRepeat", CheckDarkTimeRepeat, measureDarkTimeRepeat, {kStatusOne}, {0},
                             list.c_str(), timeMs);
    if (record.code == kStatusOne)
        record.message = "The exposure time is not in the list.";
    return record;
}

Record checkRowNoise(const Shape& shape) {
    // Tells what is wrong with the file, if anything is.
    loadFloatImage(averageDarkPath(), shape);
    return resultOf("analysisRcn", analysisRcn, measureRcn, {StatusRowNoiseUnqualified}, {0}, shape.width,
                    shape.height);
}

std::string averageDarkName() {
    return "dark-" + std::to_string(getCurrentExpTime()) + "ms-std-gain" + std::to_string(getGainId()) + ".raw";
}

void storeAverageDark(const std::string& file, const FloatImage& image) {
    saveFloatImage(file, image);
    virtualDetector().offsetDirectory = file.substr(0, file.find_last_of('/')) + "\\";
}

}  // namespace qx::tool
