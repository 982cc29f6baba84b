#include "quality/exposure/AfeSurvey.h"

#include "quality/exposure/ExposureRows.h"

#include <algorithm>
#include <cstdint>

namespace qx {
namespace {

template <Difference difference>
void ratiosOfRow(const Exposure& exposure, int y, AfeMeasurement& measurement) noexcept {
    const WORD* const bright = exposure.image.row(y);
    const WORD* const dark = exposure.dark.row(y);
    const auto valueAt = [=](int x) { return difference(bright[x], dark[x]); };
    neighbourRatios(valueAt, measurement.blocks(), measurement.ratios().rowSpan(y));
}

// Ratios of both kinds are twice what the balance needs, which is much for narrow AFEs of a large panel.
bool isTooLarge(const AfeBlocks& blocks, int height) noexcept {
    constexpr std::int64_t kMostBytes = 3 << 20;
    const std::int64_t bytes = std::int64_t{2 * sizeof(float)} * blocks.boundaries() * height;
    return blocks.afeWidth < kBlockSide && bytes > kMostBytes;
}

}  // namespace

void AfeSurvey::begin() noexcept {
    const AfeBlocks blocks{exposure_->width(), detectorAfeWidth()};
    if (!measurable(blocks) || isTooLarge(blocks, exposure_->height()))
        return;
    signed_.emplace(blocks, exposure_->height());
    raised_.emplace(blocks, exposure_->height());
    if (!*signed_ || !*raised_) {
        signed_.reset();
        raised_.reset();
        return;
    }
    signed_->beginPass();
    raised_->beginPass();
}

void AfeSurvey::add(const DifferenceBlock& block, int blockRow, int blockColumn) noexcept {
    if (exposure_ && blockRow == 0 && blockColumn == 0)
        begin();
    if (!signed_)
        return;
    const int top = blockRow * kBlockSide;
    const int left = blockColumn * kBlockSide;
    if (block.isLit())
        block.addColumns(&signed_->sums()[left], &raised_->sums()[left]);
    else
        addPixels({top, left, kBlockSide, kBlockSide});
    if (blockColumn + 1 < exposure_->blockColumns())
        return;
    const int right = left + kBlockSide;
    addPixels({top, right, kBlockSide, exposure_->width() - right});
    const bool isLast = blockRow + 1 == exposure_->blockRows();
    const int bottom = isLast ? exposure_->height() : top + kBlockSide;
    addPixels({top + kBlockSide, 0, bottom - top - kBlockSide, exposure_->width()});
    takeRatios(top, bottom);
    isComplete_ = isLast;
}

// The sums of both kinds, in the order of the rows.
void AfeSurvey::addPixels(const Rect& pixels) noexcept {
    if (pixels.width < 1)
        return;
    float* const signedSums = &signed_->sums()[pixels.left];
    float* const raisedSums = &raised_->sums()[pixels.left];
    int dim = 0;
    for (int y = pixels.top; y < pixels.bottom(); ++y) {
        const WORD* const bright = exposure_->image.row(y) + pixels.left;
        const WORD* const dark = exposure_->dark.row(y) + pixels.left;
        for (int x = 0; x < pixels.width; ++x) {
            signedSums[x] += signedDifference(bright[x], dark[x]);
            raisedSums[x] += raisedDifference(bright[x], dark[x]);
            dim |= bright[x] <= dark[x];
        }
    }
    isLit_ = isLit_ && dim == 0;
}

// Ratios of both kinds are the same where all differences are above 0.
void AfeSurvey::takeRatios(int firstRow, int endRow) noexcept {
    for (int y = firstRow; y < endRow; ++y) {
        ratiosOfRow<signedDifference>(*exposure_, y, *signed_);
        if (isLit_)
            std::ranges::copy(signed_->ratios().rowSpan(y), raised_->ratios().row(y));
        else
            ratiosOfRow<raisedDifference>(*exposure_, y, *raised_);
    }
    isLit_ = true;
}

AfeMeasurement* AfeSurvey::of(std::optional<AfeMeasurement>& measurement, const AfeBlocks& blocks) noexcept {
    return isComplete_ && measurement->blocks() == blocks ? &*measurement : nullptr;
}

}  // namespace qx
