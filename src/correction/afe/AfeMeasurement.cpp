#include "correction/afe/AfeMeasurement.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "foundation/Log.h"
#include "kernels/AfeKernels.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cstddef>

namespace qx {
namespace {

constexpr int kDefaultAfeWidth = 32;

std::size_t cells(int rows, int columns) noexcept {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

// Kept: the ratio points away from the reference block.
float ratioAt(int boundary, const AfeBlocks& blocks, float left, float right) noexcept {
    return boundary < blocks.reference() ? left / right : right / left;
}

}  // namespace

int detectorAfeWidth() noexcept {
    int afeWidth = kDefaultAfeWidth;
    getAFEWidthByDetectorDescription(&afeWidth);
    return afeWidth;
}

void neighbourRatios(const float* row, const AfeBlocks& blocks, float* ratios) noexcept {
    const int reference = blocks.reference();
    const float* left = row + blocks.last(0);
    for (int k = 0; k < reference; ++k, left += blocks.afeWidth)
        ratios[k] = left[0] / left[1];
    for (int k = reference; k < blocks.boundaries(); ++k, left += blocks.afeWidth)
        ratios[k] = left[1] / left[0];
}

void gainsOf(const float* medianRatios, const AfeBlocks& blocks, float* gains) noexcept {
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

void spreadGains(const AfeBlocks& blocks, std::span<const float> gains, float* columnGains) noexcept {
    std::fill_n(columnGains, blocks.width, 1.0f);
    for (int x = 0; x < blocks.width; ++x) {
        const int block = x / blocks.afeWidth;
        const auto index = static_cast<std::size_t>(block < blocks.reference() ? block : block - 1);
        if (block != blocks.reference() && index < gains.size())
            columnGains[x] = gains[index];
    }
}

void scaleRow(float* row, const AfeBlocks& blocks, const float* columnGains) noexcept {
    constexpr float kSaturated = 65535.0f;
    const AfeKernels& kernels = afeKernels();
    const int first = blocks.first(blocks.reference());
    const int end = first + blocks.afeWidth;
    kernels.scaleBelow(row, first, columnGains, kSaturated);
    kernels.scaleBelow(row + end, blocks.width - end, columnGains + end, kSaturated);
}

AfeMeasurement::AfeMeasurement(const AfeBlocks& blocks, int height) noexcept
    : blocks_(blocks), height_(height), ratios_(cells(height, blocks.boundaries())), edges_(blocks),
      columns_(static_cast<std::size_t>(blocks.width)), medians_(static_cast<std::size_t>(blocks.boundaries())),
      gains_(static_cast<std::size_t>(blocks.boundaries())) {}

void AfeMeasurement::logMissingBuffer() const noexcept {
    const long long gainBytes = static_cast<long long>(sizeof(float)) * blocks_.boundaries();
    const long long imageBytes = static_cast<long long>(sizeof(float)) * blocks_.width * height_;
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
    findEdges(rows);
    useReplacements(rows);
    if (blocks_.boundaries() > 0) {
        const int status = calcMedianPerColumn(medians_.data(), ratios_.data(), blocks_.boundaries(), height_);
        if (status != StatusOk)
            return status;
    }
    gainsOf(medians_.data(), blocks_, gains_.data());
    spreadGains(blocks_, gains_.span(), columns_.data());
    return StatusOk;
}

// One pass over the image: sums of the columns, in the order of the rows, and the ratios as they are without
// replacements.
void AfeMeasurement::findEdges(FloatRows& rows) noexcept {
    logBegin("overwriteBadLineAroundAFEEdge");
    const AfeKernels& kernels = afeKernels();
    columns_.clear();
    for (int y = 0; y < height_; ++y) {
        const float* const row = rows.row(y);
        kernels.add(row, blocks_.width, columns_.data());
        neighbourRatios(row, blocks_, ratios_.data() + cells(y, blocks_.boundaries()));
    }
    const auto count = static_cast<float>(height_);
    std::ranges::for_each(columns_.span(), [count](float& sum) { sum /= count; });
    edges_.find(columns_.data());
    logEnd("overwriteBadLineAroundAFEEdge", " terminates", kLogNoValue);
}

// Measures the boundaries next to replaced columns again.
void AfeMeasurement::useReplacements(const FloatRows& rows) noexcept {
    const auto sourceOf = [this](int column) {
        const auto found = std::ranges::lower_bound(replacements(), column, {}, &ColumnReplacement::column);
        return found == replacements().end() || found->column != column ? column : found->source;
    };
    for (int k = 0; k < blocks_.boundaries(); ++k) {
        const int left = sourceOf(blocks_.last(k));
        const int right = sourceOf(blocks_.first(k + 1));
        if (left == blocks_.last(k) && right == blocks_.first(k + 1))
            continue;
        for (int y = 0; y < height_; ++y)
            ratios_[cells(y, blocks_.boundaries()) + static_cast<std::size_t>(k)] =
                ratioAt(k, blocks_, rows.pixel(y, left), rows.pixel(y, right));
    }
}

}  // namespace qx
