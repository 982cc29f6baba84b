#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/SumKernels.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

using qx::kStripColumns;

// Means of the strips of 32 columns: sums in single precision over rows, then columns.
class StripMeans {
public:
    StripMeans(const WORD* image, int width, int height) noexcept
        : count_(stripCount(width)), means_(static_cast<std::size_t>(count_)) {
        if (!means_)
            return;
        qx::sumKernels().stripSums(image, width, height, count_, means_.data());
        const auto pixels = static_cast<float>(static_cast<std::int64_t>(kStripColumns) * height);
        for (float& mean : means_.span())
            mean /= pixels;
    }

    explicit operator bool() const noexcept { return static_cast<bool>(means_); }
    std::span<const float> values() noexcept { return means_.span(); }

private:
    // Kept: a strip is examined while columns are left beyond it, so the last 32 to 63 are not.
    static int stripCount(int width) noexcept { return width > kStripColumns ? (width - 1) / kStripColumns : 0; }

    int count_;
    qx::Scratch<float> means_;
};

// The strip with the lowest mean below 10000, the earlier one on ties; the first strip when there is none.
int darkestStrip(std::span<const float> means) {
    constexpr int kBrightest = 10000;
    int level = kBrightest;
    std::size_t darkest = 0;
    for (std::size_t i = 0; i < means.size(); ++i) {
        if (means[i] < static_cast<float>(level)) {
            // Kept: compared with the integer part of the level before.
            level = qx::truncateToInt(means[i]);
            darkest = i;
        }
    }
    return static_cast<int>(darkest);
}

void copyStrip(const qx::ImageView<const WORD>& image, int strip, WORD* pixels) {
    for (int y = 0; y < image.height; ++y)
        pixels = std::copy_n(image.row(y) + strip * kStripColumns, kStripColumns, pixels);
}

}  // namespace

int analysisStrip(const WORD* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    StripMeans means(image, width, height);
    if (!means)
        return StatusAllocationFailed;
    const std::span<const float> values = means.values();
    for (std::size_t i = 1; i < values.size(); ++i)
        if (std::fabs(values[i - 1] - values[i]) >= static_cast<float>(getConfigInfo()->stripMeanDiffLimit))
            return StatusStripMeansUnqualified;
    return StatusOk;
}

int darkImgGrayAnalysis(const WORD* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (width < kStripColumns || !qx::isImageSize(width, height))
        return StatusWrongParameter;
    StripMeans means(image, width, height);
    qx::Scratch<WORD> pixels(static_cast<std::size_t>(kStripColumns) * static_cast<std::size_t>(height));
    if (!means || !pixels)
        return StatusAllocationFailed;
    copyStrip({image, width, height}, darkestStrip(means.values()), pixels.data());
    const int mean = qx::truncateToInt(static_cast<float>(getMean(pixels.data(), kStripColumns * height)));
    const float sigma = getStdev(pixels.data(), kStripColumns, height);
    const auto floor = static_cast<float>(getConfigInfo()->darkLevelFloor);
    return floor >= static_cast<float>(mean) - 3.0f * sigma ? StatusDarkLevelUnqualified : StatusOk;
}
