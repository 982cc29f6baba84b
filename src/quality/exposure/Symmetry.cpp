#include "quality/exposure/Symmetry.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"

#include <cstdlib>

namespace qx {
namespace {

constexpr int kCornerSide = 8;
constexpr int kCornerValues = kCornerSide * kCornerSide;
constexpr float kToleratedAsymmetry = 0.3f;

// Kept: the sum loses its fraction after every addition, the mean its remainder.
int cornerMean(const ImageView<const float>& blocks, int top, int left) noexcept {
    int sum = 0;
    for (int y = top; y < top + kCornerSide; ++y)
        for (int x = left; x < left + kCornerSide; ++x)
            sum = truncateToInt(sum + blocks.at(y, x));
    return sum / kCornerValues;
}

float difference(double p, double q) noexcept {
    return static_cast<float>(std::abs(p - q) * 2.0 / (p + q));
}

// Kept: a first one that is not a number is passed over.
float larger(float a, float b) noexcept {
    return a > b ? a : b;
}

void logMean(const char* corner, int mean) noexcept {
    logInfo(kLogNoValue, "count=%d, %s=%d", kCornerValues, corner, mean);
}

}  // namespace

float CornerSymmetry::degree() const noexcept {
    return larger(horizontal, vertical);
}

Measure CornerSymmetry::asymmetry() const noexcept {
    return {degree(), MeasureAtMost, kToleratedAsymmetry};
}

CornerSymmetry measureSymmetry(ImageView<const float> blocks) noexcept {
    const int right = blocks.width - kCornerSide;
    const int bottom = blocks.height - kCornerSide;
    CornerSymmetry corners;
    corners.leftTop = cornerMean(blocks, 0, 0);
    corners.leftBottom = cornerMean(blocks, bottom, 0);
    corners.rightTop = cornerMean(blocks, 0, right);
    corners.rightBottom = cornerMean(blocks, bottom, right);
    corners.horizontal =
        larger(difference(corners.leftTop, corners.rightTop), difference(corners.leftBottom, corners.rightBottom));
    corners.vertical =
        larger(difference(corners.leftTop, corners.leftBottom), difference(corners.rightTop, corners.rightBottom));
    return corners;
}

int checkSymmetry(ImageView<const float> blocks, float& asymDegree) {
    const CornerSymmetry corners = measureSymmetry(blocks);
    logMean("lt", corners.leftTop);
    logMean("lb", corners.leftBottom);
    logMean("rt", corners.rightTop);
    logMean("rb", corners.rightBottom);
    logInfo(kLogNoValue, "horAysmDegree=%f, verAysmDegree=%f", static_cast<double>(corners.horizontal),
            static_cast<double>(corners.vertical));
    asymDegree = corners.degree();
    return verdictOn(corners.asymmetry(), StatusOk, StatusTubeMisaligned);
}

}  // namespace qx
