#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "quality/exposure/DarkRegions.h"
#include "quality/exposure/Exposure.h"
#include "quality/exposure/TubeCentre.h"
#include "quality/exposure/Uniformity.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cstddef>

namespace {

using qx::Exposure;

// A shadow is darker than this share of the maximum and larger than so many blocks.
constexpr float kShadowShare = 0.25f;
constexpr int kToleratedShadow = 4;

// Blocks on either side that the box mean takes in.
constexpr int kSmoothingReach = 3;

float exposedFloor() {
    return static_cast<float>(getConfigInfo()->exposedBlockFloor);
}

// The mean of the blocks around (row, column) that lie inside the image.
float boxMean(const float* blocks, int width, int height, int row, int column) {
    const int top = std::max(row - kSmoothingReach, 0);
    const int bottom = std::min(row + kSmoothingReach, height - 1);
    const int left = std::max(column - kSmoothingReach, 0);
    const int right = std::min(column + kSmoothingReach, width - 1);
    float sum = 0.0f;
    for (int r = top; r <= bottom; ++r)
        for (int c = left; c <= right; ++c)
            sum += blocks[static_cast<std::ptrdiff_t>(r) * width + c];
    return sum / static_cast<float>((bottom - top + 1) * (right - left + 1));
}

// Looks for the shadow of the collimator in the block medians.
int findShadow(const float* blocks, int width, int height) {
    qx::Scratch<float> smoothed(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    if (!smoothed)
        return StatusAllocationFailed;
    float* next = smoothed.data();
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            *next++ = boxMean(blocks, width, height, r, c);
    return qx::findDarkRegion(smoothed.data(), width, height, kShadowShare, kToleratedShadow);
}

void measureBlocks(const Exposure& exposure, float* blocks) {
    for (int r = 0; r < exposure.blockRows(); ++r)
        for (int c = 0; c < exposure.blockColumns(); ++c)
            *blocks++ = static_cast<float>(qx::blockMedian(exposure, r, c));
}

int checkPair(const Exposure& exposure) {
    if (exposure.image == nullptr || exposure.dark == nullptr)
        return StatusNullArgument;
    return qx::isImageSize(exposure.width, exposure.height) ? StatusOk : StatusWrongParameter;
}

int examineFirst(const Exposure& exposure) {
    int status = checkPair(exposure);
    if (status != StatusOk)
        return status;
    const int width = exposure.blockColumns();
    const int height = exposure.blockRows();
    qx::Scratch<float> blocks(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    if (!blocks)
        return StatusAllocationFailed;
    measureBlocks(exposure, blocks.data());
    const auto medians = blocks.span();
    const auto dim = std::ranges::find_if(medians, [](float median) { return median < exposedFloor(); });
    if (dim != medians.end()) {
        qx::logInfo(kLogNoValue, "value=%f, index=%d", static_cast<double>(*dim),
                    static_cast<int>(dim - medians.begin()));
        return StatusPanelNotExposed;
    }
    WriteLogFile(LogModuleUtils, LogInfo, "finish binning", kLogNoValue);
    status = findShadow(blocks.data(), width, height);
    if (status != StatusOk) {
        WriteLogFile(LogModuleUtils, LogInfo, "check collimator error.", kLogNoValue);
        return status;
    }
    SurfaceFitResult result{};
    qx::fitTubeCentre(exposure, result);
    qx::logInfo(kLogNoValue, "tube center calculate by poly fit, x0=%d,y0=%d", result.x0, result.y0);
    // Kept: the estimate is logged and then dropped.
    result = {};
    return qx::checkFirstImgForFactoryCalibration(exposure, result);
}

int examinePreview(const Exposure& exposure) {
    const int status = checkPair(exposure);
    if (status != StatusOk)
        return status;
    // Kept: a block that ends at the image's border is not examined, unlike in the first image.
    const int blockRows = (exposure.height - 1) / qx::kBlockSide;
    const int blockColumns = (exposure.width - 1) / qx::kBlockSide;
    for (int r = 0; r < blockRows; ++r)
        for (int c = 0; c < blockColumns; ++c)
            if (static_cast<float>(qx::blockMedian(exposure, r, c)) < exposedFloor())
                return StatusPanelNotExposed;
    return qx::judgeUniformity(exposure);
}

template <class Examine>
int logged(const char* operation, const Exposure& exposure, Examine examine) {
    qx::logBegin(operation);
    const int result = examine(exposure);
    qx::logInfo(kLogNoValue, "result is %d", result);
    qx::logEnd(operation, " terminates with a return value ", result);
    return result;
}

}  // namespace

int checkFirstImg(const WORD* image, const WORD* dark, int width, int height) {
    return logged("checkFirstImg", {image, dark, width, height}, examineFirst);
}

int checkPreImg(const WORD* image, const WORD* dark, int width, int height) {
    return logged("checkPreImg", {image, dark, width, height}, examinePreview);
}

// Kept: these three have always passed.

int checkCollimator(WORD*, int, int) {
    return StatusOk;
}

int checkSync(WORD*, int, int) {
    return StatusOk;
}

int checkTube(WORD*, int, int) {
    return StatusOk;
}
