#include "numerics/fits/SurfaceModel.h"

#include "foundation/CheckedNumbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace qx {
namespace {

// Pixels mostly follow each other, which saves the divisions.
class PixelOffsets {
public:
    PixelOffsets(int width, int height) noexcept : width_(width), height_(height) {}

    void moveTo(float abscissa) noexcept {
        constexpr float kWholeNumbers = 1 << 24;
        const bool isNext = abscissa == next_ && abscissa >= 2.0f && abscissa < kWholeNumbers;
        next_ = abscissa + 1.0f;
        if (isNext && ++column_ < width_)
            x_ += 1.0f;
        else
            locate(truncateToInt(abscissa - 1.0f));
    }
    float x() const noexcept { return x_; }
    float y() const noexcept { return y_; }

private:
    void locate(int index) noexcept {
        column_ = index % width_;
        x_ = static_cast<float>(column_ - width_ / 2);
        y_ = static_cast<float>(std::int64_t{index / width_} - height_ / 2);
    }

    int width_;
    int height_;
    int column_ = 0;
    float next_ = 0.0f;
    float x_ = 0.0f;
    float y_ = 0.0f;
};

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
    PixelOffsets offsets(width, height);
    for (int i = 0; i < count; ++i) {
        offsets.moveTo(abscissas[i]);
        x[i] = offsets.x();
        y[i] = offsets.y();
    }
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
