#include "numerics/fits/SurfaceModel.h"

#include "foundation/CheckedNumbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace qx {
namespace {

// How many abscissas from the first on, at most `most`, are those of pixels that follow each other in a row: all, or
// one.
int pixelsInOrder(const float* abscissas, int index, int most) noexcept {
    constexpr int kWholeNumbers = 1 << 24;
    if (index < 0 || index >= kWholeNumbers - most)
        return 1;
    std::uint32_t others = 0;
    for (int i = 0; i < most; ++i)
        others |= abscissas[i] != static_cast<float>(index + 1 + i);
    return others == 0 ? most : 1;
}

// The offsets of pixels from the middle one, x in columns and y in rows.
void pixelOffsets(const float* abscissas, int count, int width, int height, float* x, float* y) noexcept {
    int done = 0;
    while (done < count) {
        const int index = truncateToInt(abscissas[done] - 1.0f);
        const int column = index % width;
        const int pixels = pixelsInOrder(abscissas + done, index, std::min(width - column, count - done));
        const auto row = static_cast<float>(std::int64_t{index / width} - height / 2);
        std::fill_n(y + done, pixels, row);
        for (int i = 0; i < pixels; ++i)
            x[done + i] = static_cast<float>(column - width / 2 + i);
        done += pixels;
    }
}

// The product of two whole numbers, each exact in single precision, rounded once.
void multiply(const float* a, const float* b, int count, float* __restrict products) noexcept {
    for (int i = 0; i < count; ++i)
        products[i] = a[i] * b[i];
}

// The product of three, which double precision still holds.
void multiply(const float* a, const float* b, const float* c, int count, float* __restrict products) noexcept {
    for (int i = 0; i < count; ++i) {
        const double first = a[i];
        const double second = b[i];
        const double third = c[i];
        products[i] = static_cast<float>(first * second * third);
    }
}

}  // namespace

void quadraticBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept {
    const int count = values.rows;
    float* const x = values.column(kTermX);
    float* const y = values.column(kTermY);
    pixelOffsets(abscissas, count, width, height, x, y);
    std::fill_n(values.column(kTerm1), count, 1.0f);
    multiply(x, y, count, values.column(kTermXY));
    multiply(x, x, count, values.column(kTermXX));
    multiply(y, y, count, values.column(kTermYY));
}

void cubicBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept {
    quadraticBasis(abscissas, values, width, height);
    const int count = values.rows;
    const float* const x = values.column(kTermX);
    const float* const y = values.column(kTermY);
    multiply(x, x, y, count, values.column(kTermXXY));
    multiply(x, y, y, count, values.column(kTermXYY));
    multiply(x, x, x, count, values.column(kTermXXX));
    multiply(y, y, y, count, values.column(kTermYYY));
}

void PeakModel::store(float* model) const noexcept {
    std::ranges::copy(std::array{a, b, c, d, x0, y0}, model);
}

void quadricToPeakModel(const float* coefficients, float* model) noexcept {
    const float* const c = coefficients;
    PeakModel peak;
    peak.x0 = -c[kTermX] / (2.0f * c[kTermXX]);
    peak.y0 = -c[kTermY] / (2.0f * c[kTermYY]);
    const float k = c[kTermXX] * (peak.x0 * peak.x0) + c[kTermYY] * (peak.y0 * peak.y0);
    // Kept: A solves a quadratic equation and is not the value at the peak.
    peak.a = 0.5f * (c[kTerm1] + std::sqrt(c[kTerm1] * c[kTerm1] - 4.0f * k));
    peak.b = c[kTermX] / (2.0f * peak.a * peak.x0);
    peak.c = c[kTermY] / (2.0f * peak.a * peak.y0);
    peak.d = -c[kTermXY] / peak.a;
    peak.store(model);
}

}  // namespace qx
