#include "quality/exposure/AfeSurvey.h"

#include "quality/exposure/ExposureRows.h"

#include <algorithm>

namespace qx {
namespace {

template <Difference difference>
void ratiosOfRow(const Exposure& exposure, int y, AfeMeasurement& measurement) noexcept {
    const WORD* const bright = exposure.image.row(y);
    const WORD* const dark = exposure.dark.row(y);
    const auto valueAt = [=](int x) { return difference(bright[x], dark[x]); };
    neighbourRatios(valueAt, measurement.blocks(), measurement.ratios().rowSpan(y));
}

}  // namespace

void AfeSurvey::begin(const Exposure& exposure) {
    const AfeBlocks blocks{exposure.width(), detectorAfeWidth()};
    if (!measurable(blocks))
        return;
    exposure_ = exposure;
    signed_.emplace(blocks, exposure.height());
    raised_.emplace(blocks, exposure.height());
    if (!*signed_ || !*raised_) {
        signed_.reset();
        raised_.reset();
        return;
    }
    signed_->beginPass();
    raised_->beginPass();
}

void AfeSurvey::add(const DifferenceBlock& block, int blockRow, int blockColumn) noexcept {
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
