#pragma once

#include <algorithm>
#include <array>
#include <cmath>

namespace qx {

// Powers of y in a fitted surface.
inline constexpr int kPowersOfY = 3;

// Samples z[i][j] at x[i], y[j].
struct SurfaceGrid {
    const float* x;
    const float* y;
    const float* const* z;
    int rows;
    int columns;
};

// Residuals of a fit, summed in the order of the samples: squares, magnitudes and the largest magnitude.
struct SurfaceResiduals {
    float squares = 0.0f;
    float magnitudes = 0.0f;
    float largest = 0.0f;

    void add(float residual) noexcept {
        const float magnitude = std::fabs(residual);
        squares += residual * residual;
        magnitudes += magnitude;
        largest = std::max(largest, magnitude);
    }
    std::array<float, 3> values() const noexcept { return {squares, magnitudes, largest}; }
};

// FitSurfaceLeastSquares with powers of x below p and powers of y below q. False, with nothing written, for null
// pointers, impossible sizes and when memory is short.
bool fitSurfaceGrid(const SurfaceGrid& grid, int p, int q, float (*a)[kPowersOfY],
                    SurfaceResiduals& residuals) noexcept;

}  // namespace qx
