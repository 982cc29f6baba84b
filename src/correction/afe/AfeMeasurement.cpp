#include "correction/afe/AfeMeasurement.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "foundation/Log.h"
#include "kernels/AfeKernels.h"

#include <QxSysMgt.h>

#include <algorithm>

namespace qx {
namespace {

constexpr int kDefaultAfeWidth = 32;

// Kept: the ratio points away from the reference block.
float ratioAt(int boundary, const AfeBlocks& blocks, float left, float right) noexcept {
    return boundary < blocks.reference() ? left / right : right / left;
}

}  // namespace

int detectorAfeWidth() noexcept {
    int afeWidth = kDefaultAfeWidth;
    // Kept: nobody asks whether the query failed.
    getAFEWidthByDetectorDescription(&afeWidth);
    return afeWidth;
}

void neighbourRatios(std::span<const float> row, const AfeBlocks& blocks, std::span<float> ratios) noexcept {
    neighbourRatios([row](int x) { return row[x]; }, blocks, ratios);
}

void gainsOf(std::span<const float> medianRatios, const AfeBlocks& blocks, std::span<float> gains) noexcept {
    const int reference = blocks.reference();
    for (int k = 0; k < blocks.boundaries(); ++k) {
        const int first = k < reference ? k : reference;
        const int end = k < reference ? reference : k + 1;
        float product = 1.0f;
        for (int j = first; j < end; ++j)
            product *= medianRatios[j];
        gains[k] = 1.0f / product;
    }
}

void spreadGains(std::span<const float> gains, const AfeBlocks& blocks, int first,
                 std::span<float> columnGains) noexcept {
    const int reference = blocks.reference();
    for (int x = 0; x < std::ssize(columnGains); ++x) {
        const int block = (first + x) / blocks.afeWidth;
        const int gain = block < reference ? block : block - 1;
        const bool hasGain = block != reference && gain < std::ssize(gains);
        columnGains[x] = hasGain ? gains[gain] : 1.0f;
    }
}

void scaleRow(std::span<float> pixels, std::span<const float> columnGains) noexcept {
    afeKernels().scaleBelow(pixels.data(), static_cast<int>(pixels.size()), columnGains.data(), kSaturatedPixel);
}

AfeMeasurement::AfeMeasurement(const AfeBlocks& blocks, int height) noexcept
    : blocks_(blocks), height_(height), ratios_(blocks.boundaries(), height), edges_(blocks), columns_(blocks.width),
      medians_(blocks.boundaries()), gains_(blocks.boundaries()) {}

void AfeMeasurement::logMissingBuffer() const noexcept {
    constexpr long long kValueBytes = sizeof(float);
    const long long gainBytes = kValueBytes * blocks_.boundaries();
    const long long imageBytes = kValueBytes * blocks_.width * height_;
    // The edges and column means stand in for a copy of the image.
    if (!ratios_)
        logAllocationFailure("afeRatio", gainBytes * height_, kLogNoValue);
    else if (!edges_ || !columns_)
        logAllocationFailure("tmpFloatImg", imageBytes, kLogNoValue);
    else if (!medians_)
        logAllocationFailure("medianRow", gainBytes, kLogNoValue);
    else if (!gains_)
        logAllocationFailure("rgain", gainBytes, kLogNoValue);
}

int AfeMeasurement::measure(FloatRows& rows) noexcept {
    if (!hadPass_)
        passOver(rows);
    findEdges();
    useReplacements(rows);
    if (blocks_.boundaries() > 0) {
        const int status = calcMedianPerColumn(medians_.data(), ratios_.view().data, blocks_.boundaries(), height_);
        if (status != StatusOk)
            return status;
    }
    gainsOf(medians_.span(), blocks_, gains_.span());
    spreadGains(gains_.span(), blocks_, 0, columns_.span());
    return StatusOk;
}

void AfeMeasurement::beginPass() noexcept {
    columns_.clear();
    hadPass_ = true;
}

// The ratios are those without replacements.
void AfeMeasurement::passOver(FloatRows& rows) noexcept {
    beginPass();
    for (int y = 0; y < height_; ++y) {
        const std::span row(rows.row(y), columns_.span().size());
        afeKernels().add(row.data(), blocks_.width, columns_.data());
        neighbourRatios(row, blocks_, ratios().rowSpan(y));
    }
}

void AfeMeasurement::findEdges() noexcept {
    const LoggedOperation operation("overwriteBadLineAroundAFEEdge");
    for (float& sum : columns_.span())
        sum /= height_;
    edges_.find(columns_.span());
}

// Measures the boundaries next to replaced columns again. Kept: the image is left as it is.
void AfeMeasurement::useReplacements(const FloatRows& rows) noexcept {
    const auto sourceOf = [this](int column) {
        const auto found = std::ranges::lower_bound(replacements(), column, {}, &ColumnReplacement::column);
        return found == replacements().end() || found->column != column ? column : found->source;
    };
    const ImageView<float> ratios = ratios_.view();
    for (int k = 0; k < blocks_.boundaries(); ++k) {
        const int left = sourceOf(blocks_.last(k));
        const int right = sourceOf(blocks_.first(k + 1));
        if (left == blocks_.last(k) && right == blocks_.first(k + 1))
            continue;
        for (int y = 0; y < height_; ++y)
            ratios.at(y, k) = ratioAt(k, blocks_, rows.pixel(y, left), rows.pixel(y, right));
    }
}

}  // namespace qx
