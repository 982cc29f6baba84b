#include "numerics/SurfaceModel.h"

#include "foundation/CheckedNumbers.h"

#include <cmath>
#include <cstdint>

namespace qx {
namespace {

// Powers are formed as integers and rounded once.
struct Offsets {
    std::int64_t x;
    std::int64_t y;
};

Offsets offsetsOf(float abscissa, int width, int height) noexcept {
    const int index = truncateToInt(abscissa - 1.0f);
    return {index % width - width / 2, index / width - height / 2};
}

void quadratic(const Offsets& o, float* values) noexcept {
    values[0] = 1.0f;
    values[1] = static_cast<float>(o.x);
    values[2] = static_cast<float>(o.y);
    values[3] = static_cast<float>(o.x * o.y);
    values[4] = static_cast<float>(o.x * o.x);
    values[5] = static_cast<float>(o.y * o.y);
}

}  // namespace

void quadraticBasis(float abscissa, float* values, int, int width, int height) noexcept {
    quadratic(offsetsOf(abscissa, width, height), values);
}

void cubicBasis(float abscissa, float* values, int, int width, int height) noexcept {
    const Offsets o = offsetsOf(abscissa, width, height);
    quadratic(o, values);
    values[6] = static_cast<float>(o.x * o.x * o.y);
    values[7] = static_cast<float>(o.x * o.y * o.y);
    values[8] = static_cast<float>(o.x * o.x * o.x);
    values[9] = static_cast<float>(o.y * o.y * o.y);
}

void quadricToPeakModel(const float* c, float* model) noexcept {
    const float x0 = -c[1] / (2.0f * c[4]);
    const float y0 = -c[2] / (2.0f * c[5]);
    const float k = c[4] * (x0 * x0) + c[5] * (y0 * y0);
    // Kept: A solves a quadratic equation and is not the value at the peak.
    const float doubled = c[0] + std::sqrt(c[0] * c[0] - 4.0f * k);
    const auto a = static_cast<float>(static_cast<double>(doubled) * 0.5);
    model[0] = a;
    model[1] = c[1] / (2.0f * a * x0);
    model[2] = c[2] / (2.0f * a * y0);
    model[3] = -c[3] / a;
    model[4] = x0;
    model[5] = y0;
}

}  // namespace qx
