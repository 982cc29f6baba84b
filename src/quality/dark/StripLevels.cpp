#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"
#include "quality/Measure.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cmath>

namespace {

using qx::kStripColumns;
using Image = qx::ImageView<const WORD>;

// Means of the strips of 32 columns; test before use. Kept: sums in single precision over rows, then columns.
class StripMeans {
public:
    explicit StripMeans(const Image& image) noexcept : means_(lastStripsUnexamined(image.width)) {
        if (!means_)
            return;
        qx::sumKernels().stripSums(image.data, image.width, image.height, count(), means_.data());
        const float pixels = std::int64_t{kStripColumns} * image.height;
        for (float& mean : means_.span())
            mean /= pixels;
    }

    explicit operator bool() const noexcept { return static_cast<bool>(means_); }
    int count() const noexcept { return means_.count(); }
    float operator[](int strip) const noexcept { return means_[strip]; }

private:
    // Kept: a strip is examined while columns are left beyond it, so the last 1 to 32 are not.
    static int lastStripsUnexamined(int width) noexcept {
        return width > kStripColumns ? (width - 1) / kStripColumns : 0;
    }

    qx::Scratch<float> means_;
};

float largestStep(const StripMeans& means) {
    float largest = means.count() > 1 ? 0.0f : qx::kNothingMeasured;
    for (int i = 1; i < means.count(); ++i)
        largest = std::max(largest, std::fabs(means[i - 1] - means[i]));
    return largest;
}

int measureSteps(const Image& image, qx::Measure& step) {
    if (image.data == nullptr)
        return StatusNullArgument;
    if (!image.exists())
        return StatusWrongParameter;
    const StripMeans means(image);
    if (!means)
        return StatusAllocationFailed;
    const float limit = getConfigInfo()->stripMeanDiffLimit;
    step = {largestStep(means), MeasureBelow, limit};
    return StatusOk;
}

// The strip with the lowest mean below 10000, the earlier one on ties; the first strip when there is none.
int darkestStrip(const StripMeans& means) {
    constexpr int kBrightest = 10000;
    int level = kBrightest;
    int darkest = 0;
    for (int i = 0; i < means.count(); ++i) {
        if (means[i] < level) {
            // Kept: compared with the integer part of the level before.
            level = qx::truncateToInt(means[i]);
            darkest = i;
        }
    }
    return darkest;
}

void copyStrip(const Image& image, int strip, WORD* pixels) {
    for (int y = 0; y < image.height; ++y)
        pixels = std::copy_n(&image.at(y, strip * kStripColumns), kStripColumns, pixels);
}

int measureDarkestStrip(const Image& image, qx::Measure& level) {
    if (image.data == nullptr)
        return StatusNullArgument;
    if (image.width < kStripColumns || !image.exists())
        return StatusWrongParameter;
    const StripMeans means(image);
    qx::Scratch<WORD> pixels(image.height, kStripColumns);
    if (!means || !pixels)
        return StatusAllocationFailed;
    copyStrip(image, darkestStrip(means), pixels.data());
    const int mean = qx::truncateToInt(static_cast<float>(getMean(pixels.data(), kStripColumns * image.height)));
    const float sigma = getStdev(pixels.data(), kStripColumns, image.height);
    const float floor = getConfigInfo()->darkLevelFloor;
    level = {mean - 3.0f * sigma, MeasureAbove, floor};
    return StatusOk;
}

}  // namespace

int analysisStrip(const WORD* image, int width, int height) {
    qx::Measure step;
    const int status = measureSteps({image, width, height}, step);
    return qx::verdictOn(step, status, StatusStripMeansUnqualified);
}

int measureStrip(const WORD* image, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure step;
        const int status = measureSteps({image, width, height}, step);
        records.add(step, "counts", "step between strips");
        return status;
    });
}

int darkImgGrayAnalysis(const WORD* image, int width, int height) {
    qx::Measure level;
    const int status = measureDarkestStrip({image, width, height}, level);
    return qx::verdictOn(level, status, StatusDarkLevelUnqualified);
}

int measureDarkGray(const WORD* image, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure level;
        const int status = measureDarkestStrip({image, width, height}, level);
        records.add(level, "counts", "darkest strip - 3 deviations");
        return status;
    });
}
