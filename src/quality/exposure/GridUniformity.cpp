#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

namespace {

constexpr int kGridSide = qx::kGridBlockSide;
constexpr int kGridBorder = 2;

// So many blocks may stand out.
constexpr int kToleratedBlocks = 3;

// Medians of the inner blocks of the 64 x 64 grid.
struct InnerBlocks {
    InnerBlocks(int width, int height) noexcept
        : columns(width / kGridSide - 2 * kGridBorder), rows(height / kGridSide - 2 * kGridBorder) {}

    bool exist() const noexcept { return columns >= 1 && rows >= 1; }
    std::size_t count() const noexcept { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }

    int columns;
    int rows;
};

float meanOf(std::span<const float> values) {
    double sum = 0;
    for (const float value : values)
        sum += static_cast<double>(value);
    return static_cast<float>(sum / static_cast<double>(values.size()));
}

int judgeGrid(const WORD* image, int width, int height, float limit) {
    const InnerBlocks inner(width, height);
    if (image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height) || !inner.exist())
        return StatusWrongParameter;
    qx::Scratch<float> deviations(inner.count());
    if (!deviations)
        return StatusAllocationFailed;
    float* next = deviations.data();
    for (int row = 0; row < inner.rows; ++row) {
        const std::ptrdiff_t y = static_cast<std::ptrdiff_t>(row + kGridBorder) * kGridSide;
        qx::gridBlockMedians(image + y * width + kGridBorder * kGridSide, width, inner.columns, next);
        next += inner.columns;
    }
    const float mean = meanOf(deviations.span());
    for (float& value : deviations.span())
        value = std::fabs(value - mean) / mean;
    const auto outside = std::ranges::count_if(deviations.span(), [limit](float d) { return d > limit; });
    // Kept: the search for the largest one leaves out 16 blocks at either end.
    const int largest = getMaxandMinIndex(deviations.data(), static_cast<int>(inner.count()), false);
    qx::logInfo(kLogNoValue, "max disuniform degree:%f",
                static_cast<double>(deviations[static_cast<std::size_t>(largest)]));
    return outside > kToleratedBlocks ? StatusUniformityUnqualified : StatusOk;
}

}  // namespace

int checkGlobalUniform(const WORD* image, int width, int height, float limit) {
    qx::logBegin("checkGlobalUniform");
    const int result = judgeGrid(image, width, height, limit);
    qx::logEnd("checkGlobalUniform", " terminates", result);
    return result;
}
