#include "quality/exposure/Uniformity.h"

#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>

namespace qx {
namespace {

constexpr int kSquareSide = 64;
constexpr int kSquares = 5;

std::array<Rect, kSquares> squaresOf(int width, int height) noexcept {
    const auto square = [](int top, int left) { return Rect{top, left, kSquareSide, kSquareSide}; };
    // Kept: 0.333, not a third.
    const float dx = width * 0.333f * 0.5f;
    const float dy = height * 0.333f * 0.5f;
    const int left = truncateToInt(dx);
    const int top = truncateToInt(dy);
    const int right = truncateToInt(width - kSquareSide - dx);
    const int bottom = truncateToInt(height - kSquareSide - dy);
    return {square((height - kSquareSide) / 2, (width - kSquareSide) / 2), square(top, left), square(top, right),
            square(bottom, left), square(bottom, right)};
}

// The mean as the library's single-precision mean of pixels gives it.
int truncatedMean(const WORD* pixels, int count) noexcept {
    return truncateToInt(static_cast<float>(getMean(pixels, count)));
}

WORD squareMean(const Exposure& exposure, const Rect& square) noexcept {
    std::array<WORD, kSquareSide * kSquareSide> pixels;
    WORD* next = pixels.data();
    for (int y = square.top; y < square.bottom(); ++y, next += kSquareSide) {
        if (exposure.dark.data != nullptr)
            exposure.differences(y, square.left, kSquareSide, next);
        else
            std::copy_n(&exposure.image.at(y, square.left), kSquareSide, next);
    }
    // Kept: the integer part.
    return truncatedMean(pixels.data(), kSquareSide * kSquareSide);
}

int measure(const WORD* image, int width, int height, Measure& variation) noexcept {
    if (image == nullptr)
        return StatusNullArgument;
    if (!isImageSize(width, height))
        return StatusWrongParameter;
    return measureSquares({image, nullptr, width, height}, variation);
}

}  // namespace

int measureSquares(const Exposure& exposure, Measure& variation) noexcept {
    const std::array<Rect, kSquares> squares = squaresOf(exposure.width(), exposure.height());
    if (!std::ranges::all_of(squares, [&](const Rect& square) { return exposure.image.contains(square); }))
        return StatusWrongParameter;
    std::array<WORD, kSquares> means;
    std::ranges::transform(squares, means.begin(), [&](const Rect& square) { return squareMean(exposure, square); });
    // Without a level there is no variation.
    const int mean = truncatedMean(means.data(), kSquares);
    const float value = mean == 0 ? kNothingMeasured : getStdev(means.data(), kSquares, 1) / mean;
    variation = {value, MeasureBelow, getConfigInfo()->uniformityCvLimit};
    return StatusOk;
}

void recordSquares(const Measure& variation, MeasureRecords& records) noexcept {
    records.add(variation, "", "variation of five squares");
}

}  // namespace qx

int getUniform(const WORD* image, int width, int height) {
    qx::Measure variation;
    const int status = qx::measure(image, width, height, variation);
    return qx::verdictOn(variation, status, StatusUniformityUnqualified);
}

int measureUniform(const WORD* image, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure variation;
        const int status = qx::measure(image, width, height, variation);
        qx::recordSquares(variation, records);
        return status;
    });
}
