#include "quality/exposure/Uniformity.h"

#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace qx {
namespace {

constexpr int kSquareSide = 64;
constexpr int kSquares = 5;

struct Origin {
    int row;
    int column;
};

std::array<Origin, kSquares> squareOrigins(int width, int height) noexcept {
    // Kept: 0.333, not a third.
    const float dx = static_cast<float>(width) * 0.333f * 0.5f;
    const float dy = static_cast<float>(height) * 0.333f * 0.5f;
    const int left = truncateToInt(dx);
    const int top = truncateToInt(dy);
    const int right = truncateToInt(static_cast<float>(width - kSquareSide) - dx);
    const int bottom = truncateToInt(static_cast<float>(height - kSquareSide) - dy);
    return {{{(height - kSquareSide) / 2, (width - kSquareSide) / 2},
             {top, left},
             {top, right},
             {bottom, left},
             {bottom, right}}};
}

bool liesWithin(const Origin& origin, const Exposure& exposure) noexcept {
    return origin.row >= 0 && origin.column >= 0 && origin.row <= exposure.height - kSquareSide &&
           origin.column <= exposure.width - kSquareSide;
}

// The mean as the library's single-precision mean of pixels gives it.
int truncatedMean(const WORD* pixels, int count) noexcept {
    return truncateToInt(static_cast<float>(getMean(pixels, count)));
}

WORD squareMean(const Exposure& exposure, const Origin& origin) noexcept {
    std::array<WORD, static_cast<std::size_t>(kSquareSide) * kSquareSide> pixels;
    for (int i = 0; i < kSquareSide; ++i) {
        WORD* const out = pixels.data() + i * kSquareSide;
        if (exposure.dark != nullptr)
            exposure.differences(origin.row + i, origin.column, kSquareSide, out);
        else
            std::copy_n(exposure.image + exposure.index(origin.row + i, origin.column), kSquareSide, out);
    }
    return static_cast<WORD>(truncatedMean(pixels.data(), static_cast<int>(pixels.size())));
}

}  // namespace

int judgeUniformity(const Exposure& exposure) noexcept {
    const std::array<Origin, kSquares> origins = squareOrigins(exposure.width, exposure.height);
    const bool inside =
        std::ranges::all_of(origins, [&](const Origin& origin) { return liesWithin(origin, exposure); });
    if (!inside)
        return StatusWrongParameter;
    std::array<WORD, kSquares> means;
    std::ranges::transform(origins, means.begin(), [&](const Origin& origin) { return squareMean(exposure, origin); });
    const int mean = truncatedMean(means.data(), kSquares);
    if (mean == 0)
        return StatusOk;
    const float variation = getStdev(means.data(), kSquares, 1) / static_cast<float>(mean);
    return getConfigInfo()->uniformityCvLimit <= variation ? StatusUniformityUnqualified : StatusOk;
}

}  // namespace qx

int getUniform(const WORD* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    return qx::judgeUniformity({image, nullptr, width, height});
}
