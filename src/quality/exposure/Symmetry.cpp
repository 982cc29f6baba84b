#include "quality/exposure/Symmetry.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"

#include <cstddef>
#include <cstdlib>

namespace qx {
namespace {

constexpr int kCornerSide = 8;
constexpr int kCornerValues = kCornerSide * kCornerSide;
constexpr float kToleratedAsymmetry = 0.3f;

// Kept: the sum loses its fraction after every addition, the mean its remainder.
int cornerMean(const float* blocks, int width, int row, int column) noexcept {
    int sum = 0;
    for (int r = row; r < row + kCornerSide; ++r)
        for (int c = column; c < column + kCornerSide; ++c)
            sum = truncateToInt(static_cast<float>(sum) + blocks[static_cast<std::ptrdiff_t>(r) * width + c]);
    return sum / kCornerValues;
}

int loggedMean(const char* corner, int mean) noexcept {
    logInfo(kLogNoValue, "count=%d, %s=%d", kCornerValues, corner, mean);
    return mean;
}

float asymmetry(int p, int q) noexcept {
    const double difference = static_cast<double>(p) - q;
    return static_cast<float>(std::abs(difference) * 2.0 / (static_cast<double>(p) + q));
}

float larger(float a, float b) noexcept {
    return a > b ? a : b;
}

}  // namespace

int checkSymmetry(const float* blocks, int width, int height, float& asymDegree) {
    const int right = width - kCornerSide;
    const int bottom = height - kCornerSide;
    const int lt = loggedMean("lt", cornerMean(blocks, width, 0, 0));
    const int lb = loggedMean("lb", cornerMean(blocks, width, bottom, 0));
    const int rt = loggedMean("rt", cornerMean(blocks, width, 0, right));
    const int rb = loggedMean("rb", cornerMean(blocks, width, bottom, right));
    const float horizontal = larger(asymmetry(lt, rt), asymmetry(lb, rb));
    const float vertical = larger(asymmetry(lt, lb), asymmetry(rt, rb));
    logInfo(kLogNoValue, "horAysmDegree=%f, verAysmDegree=%f", static_cast<double>(horizontal),
            static_cast<double>(vertical));
    asymDegree = larger(horizontal, vertical);
    return asymDegree > kToleratedAsymmetry ? StatusTubeMisaligned : StatusOk;
}

}  // namespace qx
