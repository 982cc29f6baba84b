#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "quality/Measure.h"
#include "quality/exposure/AfeSurvey.h"
#include "quality/exposure/DarkRegions.h"
#include "quality/exposure/Exposure.h"
#include "quality/exposure/TubeCentre.h"
#include "quality/exposure/Uniformity.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cmath>

namespace {

using qx::Exposure;
using qx::Measure;
using qx::MeasureRecords;
using Blocks = qx::ImageView<const float>;

// A shadow is darker than this share of the maximum and larger than so many blocks.
constexpr float kShadowShare = 0.25f;
constexpr int kToleratedShadow = 4;

// Blocks on either side that the box mean takes in.
constexpr int kSmoothingReach = 3;

// The darkest block up to the first one below the floor, whose median and index (row by row) are logged.
struct BlockFloor {
    Measure darkest;
    int index = 0;
};

// Takes the medians of the blocks, row by row, until one lies below the floor; keep(block, y, x, median) has each.
template <class Keep>
BlockFloor measureBlocks(const Exposure& exposure, int rows, int columns, Keep keep) {
    const float floor = getConfigInfo()->exposedBlockFloor;
    BlockFloor blocks{{qx::kNothingMeasured, MeasureAtLeast, floor}, 0};
    qx::DifferenceBlock block(exposure);
    float darkest = qx::kNothingMeasured;
    for (; blocks.index < rows * columns; ++blocks.index) {
        const int y = blocks.index / columns;
        const int x = blocks.index % columns;
        block.take(y, x);
        const float median = block.median();
        keep(block, y, x, median);
        darkest = std::fmin(darkest, median);
        blocks.darkest = {darkest, MeasureAtLeast, floor};
        if (!blocks.darkest.met())
            break;
    }
    return blocks;
}

void recordFloor(const BlockFloor& floor, MeasureRecords& records) {
    records.add(floor.darkest, "counts", "darkest block of %d x %d", qx::kBlockSide, qx::kBlockSide);
}

// The mean of the blocks around one that lie inside the image.
float boxMean(const Blocks& blocks, int row, int column) {
    const int top = std::max(row - kSmoothingReach, 0);
    const int bottom = std::min(row + kSmoothingReach, blocks.height - 1);
    const int left = std::max(column - kSmoothingReach, 0);
    const int right = std::min(column + kSmoothingReach, blocks.width - 1);
    float sum = 0.0f;
    for (int y = top; y <= bottom; ++y)
        for (int x = left; x <= right; ++x)
            sum += blocks.at(y, x);
    return sum / ((bottom - top + 1) * (right - left + 1));
}

// Hands the smoothed blocks to `look`, which returns a status.
template <class Look>
int inSmoothed(const Blocks& blocks, Look look) {
    qx::ScratchImage<float> smoothed(blocks.width, blocks.height);
    if (!smoothed)
        return StatusAllocationFailed;
    for (int y = 0; y < blocks.height; ++y)
        for (int x = 0; x < blocks.width; ++x)
            smoothed.view().at(y, x) = boxMean(blocks, y, x);
    return look(Blocks(smoothed.view()));
}

// Looks for the shadow of the collimator in the block medians.
int findShadow(const Blocks& blocks) {
    return inSmoothed(
        blocks, [](const Blocks& smoothed) { return qx::findDarkRegion(smoothed, kShadowShare, kToleratedShadow); });
}

int measureShadow(const Blocks& blocks, qx::DarkRegion& region, const qx::ImageView<std::uint8_t>& inside = {}) {
    return inSmoothed(
        blocks, [&](const Blocks& smoothed) { return qx::measureDarkRegion(smoothed, kShadowShare, region, inside); });
}

int checkPair(const Exposure& exposure) {
    if (exposure.image.data == nullptr || exposure.dark.data == nullptr)
        return StatusNullArgument;
    return exposure.image.exists() ? StatusOk : StatusWrongParameter;
}

// Hands the floor of the blocks and their medians, as far as they were taken, to `use`, which returns a status.
// `survey` takes part.
template <class Use>
int withBlocks(const Exposure& exposure, qx::AfeSurvey& survey, Use use) {
    qx::ScratchImage<float> memory(exposure.blockColumns(), exposure.blockRows());
    if (!memory)
        return StatusAllocationFailed;
    const qx::ImageView<float> blocks = memory.view();
    const auto keep = [&](const qx::DifferenceBlock& block, int y, int x, float median) {
        blocks.at(y, x) = median;
        survey.add(block, y, x);
    };
    const BlockFloor floor = measureBlocks(exposure, blocks.height, blocks.width, keep);
    return use(floor, Blocks(blocks));
}

// The same with what else is measured in passing.
template <class Use>
int withSurvey(const Exposure& exposure, Use use) {
    const int status = checkPair(exposure);
    if (status != StatusOk)
        return status;
    qx::AfeSurvey survey;
    if (qx::showsIllumination(exposure))
        survey.plan(exposure);
    return withBlocks(exposure, survey, [&](const BlockFloor& floor, const Blocks& blocks) {
        return use(floor, qx::SurveyedExposure{exposure, blocks, survey});
    });
}

int judgeFirst(const BlockFloor& floor, const qx::SurveyedExposure& surveyed) {
    if (!floor.darkest.met()) {
        qx::logInfo(kLogNoValue, "value=%f, index=%d", floor.darkest.value, floor.index);
        return StatusPanelNotExposed;
    }
    WriteLogFile(LogModuleUtils, LogInfo, "finish binning", kLogNoValue);
    const int status = findShadow(surveyed.medians);
    if (status != StatusOk) {
        WriteLogFile(LogModuleUtils, LogInfo, "check collimator error.", kLogNoValue);
        return status;
    }
    SurfaceFitResult result{};
    qx::fitTubeCentre(surveyed, result);
    qx::logInfo(kLogNoValue, "tube center calculate by poly fit, x0=%d,y0=%d", result.x0, result.y0);
    // Kept: the estimate is logged and then dropped.
    result = {};
    return qx::checkFirstImgForFactoryCalibration(surveyed, result);
}

// The measures of judgeFirst in its order, up to the one that is not met.
int measureFirst(const BlockFloor& floor, const qx::SurveyedExposure& surveyed, MeasureRecords& records) {
    recordFloor(floor, records);
    if (!floor.darkest.met())
        return StatusOk;
    qx::DarkRegion region;
    int status = measureShadow(surveyed.medians, region);
    const Measure shadow = qx::sizeOf(region, kToleratedShadow);
    records.add(shadow, "blocks", "blocks in a shadow");
    if (status != StatusOk || !shadow.met())
        return status;
    qx::CornerSymmetry corners;
    status = qx::measureCorners(surveyed, corners);
    records.add(corners.asymmetry(), "", "asymmetry of the corners");
    return status;
}

// The measures of a preview image, up to the one that is not met.
struct PreviewMeasures {
    BlockFloor floor;
    Measure variation;
};

int measurePreview(const Exposure& exposure, PreviewMeasures& measures) {
    const int status = checkPair(exposure);
    if (status != StatusOk)
        return status;
    // Kept: a block that ends at the image's border is not examined, unlike in the first image.
    const int blockRows = (exposure.height() - 1) / qx::kBlockSide;
    const int blockColumns = (exposure.width() - 1) / qx::kBlockSide;
    measures.floor =
        measureBlocks(exposure, blockRows, blockColumns, [](const qx::DifferenceBlock&, int, int, float) {});
    return measures.floor.darkest.met() ? qx::measureSquares(exposure, measures.variation) : status;
}

}  // namespace

int checkFirstImg(const WORD* image, const WORD* dark, int width, int height) {
    qx::LoggedOperation operation("checkFirstImg", " terminates with a return value ");
    const int result = withSurvey({image, dark, width, height}, judgeFirst);
    qx::logInfo(kLogNoValue, "result is %d", result);
    return operation.end(result);
}

int measureFirstImg(const WORD* image, const WORD* dark, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](MeasureRecords& records) {
        const auto measure = [&](const BlockFloor& floor, const qx::SurveyedExposure& surveyed) {
            return measureFirst(floor, surveyed, records);
        };
        return withSurvey({image, dark, width, height}, measure);
    });
}

int locateShadow(const WORD* image, const WORD* dark, int width, int height, unsigned char* blocks, int capacity) {
    const Exposure exposure(image, dark, width, height);
    const int status = checkPair(exposure);
    if (blocks == nullptr || status != StatusOk)
        return blocks == nullptr ? int{StatusNullArgument} : status;
    const qx::ImageView<unsigned char> inside{blocks, exposure.blockColumns(), exposure.blockRows()};
    if (inside.pixels() > capacity)
        return StatusWrongParameter;
    const qx::Silence silence;
    qx::AfeSurvey none;
    return withBlocks(exposure, none, [&](const BlockFloor& floor, const Blocks& medians) {
        if (!floor.darkest.met()) {
            std::ranges::fill(inside.span(), 0);
            return int{StatusOk};
        }
        qx::DarkRegion region;
        return measureShadow(medians, region, inside);
    });
}

int checkPreImg(const WORD* image, const WORD* dark, int width, int height) {
    qx::LoggedOperation operation("checkPreImg", " terminates with a return value ");
    PreviewMeasures measures;
    const int status = measurePreview({image, dark, width, height}, measures);
    const int result = measures.floor.darkest.met()
                           ? qx::verdictOn(measures.variation, status, StatusUniformityUnqualified)
                           : int{StatusPanelNotExposed};
    qx::logInfo(kLogNoValue, "result is %d", result);
    return operation.end(result);
}

int measurePreImg(const WORD* image, const WORD* dark, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](MeasureRecords& records) {
        PreviewMeasures taken;
        const int status = measurePreview({image, dark, width, height}, taken);
        recordFloor(taken.floor, records);
        if (taken.floor.darkest.met())
            qx::recordSquares(taken.variation, records);
        return status;
    });
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
