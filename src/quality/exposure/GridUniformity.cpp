#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "numerics/statistics/BlockMedians.h"
#include "quality/Measure.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <span>

namespace {

using Image = qx::ImageView<const WORD>;

constexpr int kGridSide = qx::kGridBlockSide;
constexpr int kGridBorder = 2;

// So many blocks may stand out.
constexpr int kToleratedBlocks = 3;

// How far the inner blocks lie from their mean, relative to it.
struct Deviations {
    float logged = 0.0f;
    // The largest but the tolerated ones: it exceeds the limit when more than those do.
    qx::Measure decisive;
};

// The blocks of the 64 x 64 grid inside the border.
qx::Rect innerBlocks(const Image& image) {
    return {kGridBorder, kGridBorder, image.height / kGridSide - 2 * kGridBorder,
            image.width / kGridSide - 2 * kGridBorder};
}

void takeMedians(const Image& image, const qx::Rect& inner, float* medians) {
    for (int row = inner.top; row < inner.bottom(); ++row, medians += inner.width)
        qx::gridBlockMedians(&image.at(row * kGridSide, inner.left * kGridSide), image.width, inner.width, medians);
}

float meanOf(std::span<const float> values) {
    double sum = 0;
    for (const float value : values)
        sum += static_cast<double>(value);
    return static_cast<float>(sum / std::ssize(values));
}

// Orders the values.
float decisiveDeviation(std::span<float> values) {
    if (std::ssize(values) <= kToleratedBlocks)
        return qx::kNothingMeasured;
    std::ranges::nth_element(values, values.begin() + kToleratedBlocks, std::greater<>());
    return values[kToleratedBlocks];
}

int measureGrid(const Image& image, float limit, Deviations& deviations) {
    if (image.data == nullptr)
        return StatusNullArgument;
    const qx::Rect inner = innerBlocks(image);
    if (!image.exists() || inner.isEmpty())
        return StatusWrongParameter;
    qx::Scratch<float> values(inner.height, inner.width);
    if (!values)
        return StatusAllocationFailed;
    takeMedians(image, inner, values.data());
    const float mean = meanOf(values.span());
    for (float& value : values.span())
        value = std::fabs(value - mean) / mean;
    // Kept: the search for the largest one leaves out 16 blocks at either end.
    deviations.logged = values[getMaxandMinIndex(values.data(), inner.height * inner.width, false)];
    deviations.decisive = {decisiveDeviation(values.span()), MeasureAtMost, limit};
    return StatusOk;
}

}  // namespace

int checkGlobalUniform(const WORD* image, int width, int height, float limit) {
    qx::LoggedOperation operation("checkGlobalUniform");
    Deviations deviations;
    const int status = measureGrid({image, width, height}, limit, deviations);
    if (status == StatusOk)
        qx::logInfo(kLogNoValue, "max disuniform degree:%f", static_cast<double>(deviations.logged));
    return operation.end(qx::verdictOn(deviations.decisive, status, StatusUniformityUnqualified));
}

int measureGlobalUniform(const WORD* image, int width, int height, float limit, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        Deviations deviations;
        const int status = measureGrid({image, width, height}, limit, deviations);
        records.add(deviations.decisive, "", "%dth largest block deviation", kToleratedBlocks + 1);
        return status;
    });
}
