#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeBalance.h"
#include "correction/afe/AfeEdges.h"
#include "correction/afe/AfeMeasurement.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "kernels/AfeKernels.h"

#include <algorithm>
#include <cstddef>

namespace {

using qx::AfeBlocks;

// An image in the caller's memory that loses its pixels without signal as it is read.
class RaisedRows final : public qx::FloatRows {
public:
    explicit RaisedRows(const qx::ImageView<float>& image) noexcept : image_(image) {}

    const float* row(int y) noexcept override {
        qx::afeKernels().raise(image_.row(y), image_.width, qx::kNoSignal);
        return image_.row(y);
    }
    float pixel(int y, int x) const noexcept override { return image_.row(y)[x]; }

private:
    qx::ImageView<float> image_;
};

bool isImage(int width, int height) {
    return qx::isImageSize(width, height);
}

bool hasBlocks(const AfeBlocks& blocks) {
    return blocks.afeWidth >= 1 && blocks.afeWidth <= blocks.width;
}

// Sums of the columns in the order of the rows, divided by their number.
void columnMeans(const qx::ImageView<float>& image, float* means) {
    std::fill_n(means, image.width, 0.0f);
    for (int y = 0; y < image.height; ++y)
        qx::afeKernels().add(image.row(y), image.width, means);
    for (int x = 0; x < image.width; ++x)
        means[x] /= static_cast<float>(image.height);
}

}  // namespace

int correctRDwithoutRgain(float* image, int width, int height) {
    const qx::ImageView<float> view{image, width, height};
    RaisedRows rows(view);
    return qx::balanceAfes(image == nullptr ? nullptr : &rows, width, height, [&](qx::AfeMeasurement& measurement) {
        for (int y = 0; y < height; ++y)
            qx::scaleRow(view.row(y), measurement.blocks(), measurement.columnGains());
        return StatusOk;
    });
}

int correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth) {
    if (image == nullptr || rgain == nullptr)
        return StatusNullArgument;
    const AfeBlocks blocks{width, afeWidth};
    if (!isImage(width, height) || !hasBlocks(blocks) || nAfe < 1)
        return StatusWrongParameter;
    qx::Scratch<float> columnGains(static_cast<std::size_t>(width));
    if (!columnGains)
        return StatusAllocationFailed;
    qx::spreadGains(blocks, {rgain, static_cast<std::size_t>(nAfe)}, columnGains.data());
    const qx::ImageView<float> view{image, width, height};
    for (int y = 0; y < height; ++y)
        qx::scaleRow(view.row(y), blocks, columnGains.data());
    return StatusOk;
}

int correctAbnormalPixelFromRD(float* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!isImage(width, height))
        return StatusWrongParameter;
    qx::afeKernels().raise(image, width * height, qx::kNoSignal);
    return StatusOk;
}

int calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth) {
    if (ratio == nullptr || image == nullptr)
        return StatusNullArgument;
    const AfeBlocks blocks{width, afeWidth};
    if (!isImage(width, height) || !hasBlocks(blocks) || nAfe < 1 || nAfe != blocks.boundaries())
        return StatusWrongParameter;
    const qx::ImageView<const float> view{image, width, height};
    for (int y = 0; y < height; ++y)
        qx::neighbourRatios(view.row(y), blocks, ratio + static_cast<std::ptrdiff_t>(y) * nAfe);
    return StatusOk;
}

void overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth) {
    const AfeBlocks blocks{width, afeWidth};
    if (image == nullptr || !isImage(width, height) || !qx::measurable(blocks))
        return;
    qx::Scratch<float> means(static_cast<std::size_t>(width));
    qx::AfeEdges edges(blocks);
    if (!means || !edges)
        return;
    qx::logBegin("overwriteBadLineAroundAFEEdge");
    const qx::ImageView<float> view{image, width, height};
    columnMeans(view, means.data());
    edges.find(means.data());
    for (int y = 0; y < height; ++y)
        for (const qx::ColumnReplacement& replacement : edges.replacements())
            view.row(y)[replacement.column] = view.row(y)[replacement.source];
    qx::logEnd("overwriteBadLineAroundAFEEdge", " terminates", kLogNoValue);
}

int calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth) {
    if (rgain == nullptr || medianRatio == nullptr)
        return StatusNullArgument;
    const AfeBlocks blocks{width, afeWidth};
    if (!hasBlocks(blocks) || nAfe < 1 || nAfe != blocks.boundaries())
        return StatusWrongParameter;
    qx::gainsOf(medianRatio, blocks, rgain);
    return StatusOk;
}

void subtractImage(float* out, const WORD* a, const WORD* b, int pixelCount) {
    if (out == nullptr || a == nullptr || b == nullptr)
        return;
    for (int i = 0; i < pixelCount; ++i)
        out[i] = static_cast<float>(a[i]) - static_cast<float>(b[i]);
}
