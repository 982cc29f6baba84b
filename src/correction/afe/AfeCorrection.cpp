#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeBalance.h"
#include "correction/afe/AfeEdges.h"
#include "correction/afe/AfeMeasurement.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Panels.h"
#include "foundation/Scratch.h"
#include "kernels/AfeKernels.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

using qx::AfeBlocks;

// An image in the caller's memory that loses its pixels without signal as it is read.
class RaisedRows final : public qx::FloatRows {
public:
    explicit RaisedRows(const qx::ImageView<float>& image) noexcept
        : FloatRows(image.width, image.height), image_(image) {}

    const float* row(int y) noexcept override {
        qx::afeKernels().raise(image_.row(y), image_.width, qx::kNoSignal);
        return image_.row(y);
    }
    float pixel(int y, int x) const noexcept override { return image_.at(y, x); }

private:
    qx::ImageView<float> image_;
};

bool hasBlocks(const AfeBlocks& blocks) {
    return blocks.afeWidth >= 1 && blocks.afeWidth <= blocks.width;
}

// Whether these are the boundaries of the blocks, of which there has to be one.
bool areBoundaries(int nAfe, const AfeBlocks& blocks) {
    return hasBlocks(blocks) && nAfe >= 1 && nAfe == blocks.boundaries();
}

// Sums of the columns in the order of the rows, divided by their number.
void columnMeans(const qx::ImageView<float>& image, std::span<float> means) {
    std::ranges::fill(means, 0.0f);
    for (int y = 0; y < image.height; ++y)
        qx::afeKernels().add(image.row(y), image.width, means.data());
    for (float& sum : means)
        sum /= image.height;
}

// Scales the columns from `first` on for which there are gains.
void scaleColumns(const qx::ImageView<float>& image, int first, std::span<const float> columnGains) {
    for (int y = 0; y < image.height; ++y)
        qx::scaleRow(image.rowSpan(y).subspan(first, columnGains.size()), columnGains);
}

}  // namespace

int correctRDwithoutRgain(float* image, int width, int height) {
    const qx::ImageView<float> view{image, width, height};
    RaisedRows rows(view);
    const auto surveyed = [](const AfeBlocks&) -> qx::AfeMeasurement* { return nullptr; };
    return qx::balanceAfes(image == nullptr ? nullptr : &rows, surveyed, [&](const qx::AfeMeasurement& measurement) {
        scaleColumns(view, 0, measurement.columnGains());
        return StatusOk;
    });
}

int correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth) {
    if (image == nullptr || rgain == nullptr)
        return StatusNullArgument;
    const qx::ImageView<float> view{image, width, height};
    const AfeBlocks blocks{width, afeWidth};
    if (!view.exists() || !hasBlocks(blocks) || nAfe < 1)
        return StatusWrongParameter;
    // The gains of so many columns need no memory that may be missing.
    constexpr int kPanelColumns = 4096;
    std::array<float, kPanelColumns> panelGains;
    qx::forPanels(width, kPanelColumns, [&](int first, int columns) {
        const std::span<float> columnGains = std::span(panelGains).first(columns);
        qx::spreadGains(std::span(rgain, nAfe), blocks, first, columnGains);
        scaleColumns(view, first, columnGains);
    });
    return StatusOk;
}

int correctAbnormalPixelFromRD(float* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    const qx::ImageView<float> view{image, width, height};
    if (!view.exists())
        return StatusWrongParameter;
    qx::afeKernels().raise(image, view.pixels(), qx::kNoSignal);
    return StatusOk;
}

int calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth) {
    if (ratio == nullptr || image == nullptr)
        return StatusNullArgument;
    const qx::ImageView<const float> view{image, width, height};
    const AfeBlocks blocks{width, afeWidth};
    if (!view.exists() || !areBoundaries(nAfe, blocks))
        return StatusWrongParameter;
    const qx::ImageView<float> ratios{ratio, nAfe, height};
    for (int y = 0; y < height; ++y)
        qx::neighbourRatios(view.rowSpan(y), blocks, ratios.rowSpan(y));
    return StatusOk;
}

void overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth) {
    const qx::ImageView<float> view{image, width, height};
    const AfeBlocks blocks{width, afeWidth};
    if (!view.exists() || !qx::measurable(blocks))
        return;
    qx::Scratch<float> means(width);
    qx::AfeEdges edges(blocks);
    if (!means || !edges)
        return;
    const qx::LoggedOperation operation("overwriteBadLineAroundAFEEdge");
    columnMeans(view, means.span());
    edges.find(means.span());
    for (int y = 0; y < height; ++y)
        for (const qx::ColumnReplacement& replacement : edges.replacements())
            view.at(y, replacement.column) = view.at(y, replacement.source);
}

int calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth) {
    if (rgain == nullptr || medianRatio == nullptr)
        return StatusNullArgument;
    const AfeBlocks blocks{width, afeWidth};
    if (!areBoundaries(nAfe, blocks))
        return StatusWrongParameter;
    qx::gainsOf(std::span(medianRatio, nAfe), blocks, std::span(rgain, nAfe));
    return StatusOk;
}

void subtractImage(float* out, const WORD* a, const WORD* b, int pixelCount) {
    if (out == nullptr || a == nullptr || b == nullptr)
        return;
    for (int i = 0; i < pixelCount; ++i)
        out[i] = a[i] - b[i];
}
