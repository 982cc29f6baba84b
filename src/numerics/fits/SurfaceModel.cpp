#include "numerics/fits/SurfaceModel.h"

#include "foundation/CheckedNumbers.h"

#include <algorithm>
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
    for (int i = 0; i < count; ++i)
        products[i] =
            static_cast<float>(static_cast<double>(a[i]) * static_cast<double>(b[i]) * static_cast<double>(c[i]));
}

}  // namespace

void quadraticBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept {
    const int count = values.rows;
    float* const x = values.column(1);
    float* const y = values.column(2);
    PixelOffsets offsets(width, height);
    for (int i = 0; i < count; ++i) {
        offsets.moveTo(abscissas[i]);
        x[i] = offsets.x();
        y[i] = offsets.y();
    }
    std::fill_n(values.column(0), count, 1.0f);
    multiply(x, y, count, values.column(3));
    multiply(x, x, count, values.column(4));
    multiply(y, y, count, values.column(5));
}

void cubicBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept {
    quadraticBasis(abscissas, values, width, height);
    const int count = values.rows;
    const float* const x = values.column(1);
    const float* const y = values.column(2);
    multiply(x, x, y, count, values.column(6));
    multiply(x, y, y, count, values.column(7));
    multiply(x, x, x, count, values.column(8));
    multiply(y, y, y, count, values.column(9));
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
