#include "checks/ImageChecks.h"

#include "checks/CheckMeasures.h"
#include "common/FileAccess.h"
#include "common/TextTable.h"
#include "common/ToolError.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <sstream>

namespace qx::tool {
namespace {

// What the two checks without a code of their own return instead.
constexpr int kStatusOne = 1;

std::string formatValue(double value, int decimals) {
    return std::isnan(value) ? "-" : formatNumber(value, decimals);
}

// Limits are shown as they were given.
template <class Number>
std::string limitText(const std::string& relation, Number value) {
    std::ostringstream text;
    text << relation << ' ' << value;
    return text.str();
}

Finding findBlock(const FloatImage& blocks, const Shape& examined) {
    return {"darkest block of 32 x 32", formatValue(darkestBlock(blocks, examined), 0),
            limitText(">=", getConfigInfo()->exposedBlockFloor)};
}

Finding findSquares(const RawImage& image) {
    return {"variation of five squares", formatValue(variationOfSquares(image), 3),
            limitText("<", getConfigInfo()->uniformityCvLimit)};
}

// A result without findings; anything but a pass and the refusals is no verdict.
CheckResult verdictOf(const std::string& check, int status, std::initializer_list<int> refusals) {
    if (status != StatusOk && std::find(refusals.begin(), refusals.end(), status) == refusals.end()) {
        const std::string reason = status == StatusWrongParameter
                                       ? "the image is too small for it, or the detector's settings do not fit"
                                       : "status " + std::to_string(status) + ": " + getStatusMessage(status);
        throw ToolError(check + " gives no verdict: " + reason);
    }
    return {check, status, getStatusMessage(status), {}};
}

std::string averageDarkName() {
    return "dark-" + std::to_string(getCurrentExpTime()) + "ms-std-gain" + std::to_string(getGainId()) + ".raw";
}

std::string averageDarkPath() {
    return qxkit::nativePath(getOfstImgDir() + averageDarkName()).string();
}

int countInList(const std::string& list, int timeMs) {
    std::istringstream entries(list);
    int count = 0;
    for (std::string entry; std::getline(entries, entry, ';');)
        count += !entry.empty() && std::atoi(entry.c_str()) == timeMs;
    return count;
}

}  // namespace

CheckResult checkFirst(const RawImage& image, const RawImage& dark) {
    const auto [width, height] = image.shape;
    CheckResult result =
        verdictOf("checkFirstImg", checkFirstImg(image.pixels.data(), dark.pixels.data(), width, height),
                  {StatusPanelNotExposed, StatusUniformityUnqualified, StatusTubeMisaligned});
    const FloatImage exposed = subtractDark(image, dark);
    const FloatImage blocks = blockMedians(exposed);
    result.findings.push_back(findBlock(blocks, blocks.shape));
    if (result.status == StatusPanelNotExposed)
        return result;
    result.findings.push_back({"blocks in a shadow", std::to_string(findShadow(blocks).size), limitText("<=", 4)});
    if (result.status == StatusUniformityUnqualified)
        return result;
    result.findings.push_back(
        {"asymmetry of the corners", formatValue(cornerAsymmetry(exposed), 3), limitText("<=", 0.3)});
    return result;
}

CheckResult checkPreview(const RawImage& image, const RawImage& dark) {
    constexpr int kBlockSide = 32;
    const auto [width, height] = image.shape;
    CheckResult result = verdictOf("checkPreImg", checkPreImg(image.pixels.data(), dark.pixels.data(), width, height),
                                   {StatusPanelNotExposed, StatusUniformityUnqualified});
    const FloatImage exposed = subtractDark(image, dark);
    const Shape examined{(width - 1) / kBlockSide, (height - 1) / kBlockSide};
    result.findings.push_back(findBlock(blockMedians(exposed), examined));
    if (result.status != StatusPanelNotExposed)
        result.findings.push_back(findSquares(truncatedCounts(exposed)));
    return result;
}

CheckResult checkSquares(const RawImage& image) {
    CheckResult result = verdictOf("getUniform", getUniform(image.pixels.data(), image.shape.width, image.shape.height),
                                   {StatusUniformityUnqualified});
    result.findings.push_back(findSquares(image));
    return result;
}

CheckResult checkBlocks(const RawImage& image, float blockLimit) {
    CheckResult result =
        verdictOf("checkGlobalUniform",
                  checkGlobalUniform(image.pixels.data(), image.shape.width, image.shape.height, blockLimit),
                  {StatusUniformityUnqualified});
    result.findings.push_back(
        {"4th largest block deviation", formatValue(fourthBlockDeviation(image), 3), limitText("<=", blockLimit)});
    return result;
}

CheckResult checkStrips(const RawImage& image) {
    CheckResult result =
        verdictOf("analysisStrip", analysisStrip(image.pixels.data(), image.shape.width, image.shape.height),
                  {StatusStripMeansUnqualified});
    result.findings.push_back({"step between strips", formatValue(largestStripStep(image), 0),
                               limitText("<", getConfigInfo()->stripMeanDiffLimit)});
    return result;
}

CheckResult checkDarkLevel(const RawImage& image) {
    CheckResult result = verdictOf("darkImgGrayAnalysis",
                                   darkImgGrayAnalysis(image.pixels.data(), image.shape.width, image.shape.height),
                                   {StatusDarkLevelUnqualified});
    result.findings.push_back({"darkest strip - 3 deviations", formatValue(darkStripLevel(image), 1),
                               limitText(">", getConfigInfo()->darkLevelFloor)});
    return result;
}

CheckResult checkOffset(const FloatImage& image) {
    CheckResult result =
        verdictOf("checkOffsetImageQuality",
                  checkOffsetImageQuality(image.pixels.data(), image.shape.width, image.shape.height), {kStatusOne});
    if (result.status == kStatusOne)
        result.meaning = "The dark image shows structured patches.";
    result.findings.push_back({"dark share of a cell", formatValue(darkestCellShare(image), 2), limitText("<", 0.9)});
    return result;
}

CheckResult checkFalseTrigger(const FloatImage& image) {
    constexpr int kRegionMedian = 400;
    CheckResult result = verdictOf("checkFalseTriggAEDImage",
                                   checkFalseTriggAEDImage(image.pixels.data(), image.shape.width, image.shape.height),
                                   {StatusFalseTrigger});
    const TriggerMedians medians = measureTrigger(image);
    const int floor = getConfigInfo()->falseTriggerMedianFloor;
    result.findings.push_back(
        {"brightest region's median", formatValue(medians.brightestRegion, 0), limitText(">", kRegionMedian)});
    if (medians.brightestRegion > kRegionMedian)
        return result;
    result.findings.push_back({"or middle area's median", formatValue(medians.middleArea, 0), limitText(">=", floor)});
    if (medians.middleArea >= floor)
        return result;
    result.findings.push_back({"or outer area's median", formatValue(medians.outerArea, 0), limitText(">", floor / 2)});
    return result;
}

CheckResult checkGainGroup(const std::vector<std::string>& files) {
    for (const std::string& file : files)
        fileBytes(file, kRawImageWanted);
    std::vector<const char*> paths;
    std::transform(files.begin(), files.end(), std::back_inserter(paths),
                   [](const auto& file) { return file.c_str(); });
    CheckResult result = verdictOf("checkGainImgGroup", checkGainImgGroup(paths.data(), static_cast<int>(paths.size())),
                                   {StatusLinearityUnqualified});
    result.findings.push_back({"spread over the group's mean", formatValue(gainGroupVariation(files), 3),
                               limitText("<=", getConfigInfo()->gainGroupCvLimit)});
    return result;
}

CheckResult checkDarkTime(const std::string& list, int timeMs) {
    CheckResult result = verdictOf("CheckDarkTimeRepeat", CheckDarkTimeRepeat(list.c_str(), timeMs), {kStatusOne});
    if (result.status == kStatusOne)
        result.meaning = "The exposure time is not in the list.";
    result.findings.push_back({"entries of " + std::to_string(timeMs) + " ms",
                               std::to_string(countInList(list, timeMs)), limitText(">=", 1)});
    return result;
}

CheckResult checkRowNoise(const Shape& shape) {
    constexpr int kStepsRefused = 500;
    const FloatImage image = loadFloatImage(averageDarkPath(), shape);
    CheckResult result = verdictOf("analysisRcn", analysisRcn(shape.width, shape.height), {StatusRowNoiseUnqualified});
    const float stepLimit = getConfigInfo()->rcnRowDiffLimit;
    result.findings.push_back({limitText("rows that step by", stepLimit),
                               std::to_string(countRowSteps(image, stepLimit)), limitText("<", kStepsRefused)});
    return result;
}

void storeAverageDark(const std::string& folder, const FloatImage& image) {
    saveFloatImage(folder + '/' + averageDarkName(), image);
    qxkit::virtualDetector().offsetDirectory = folder + "\\";
}

}  // namespace qx::tool
