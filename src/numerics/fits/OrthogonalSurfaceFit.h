#pragma once

#include "kernels/SurfaceKernels.h"

#include <array>

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

// Sums over the samples beside the surface that is fitted to them.
struct SurfaceSums {
    ResidualSums residuals;
    // Products of deviations from the means.
    double fitSquares = 0.0;
    double sampleSquares = 0.0;
    double mixed = 0.0;

    // Sum of squares, sum of magnitudes and largest magnitude of the residuals, as so many passes over the samples sum
    // them.
    std::array<float, 3> ofPasses(int passes) const noexcept;
};

// FitSurfaceLeastSquares with powers of x below p and powers of y below q, and the sums for whom wants them. False,
// with nothing written, for null pointers, impossible sizes and when memory is short.
bool fitSurfaceGrid(const SurfaceGrid& grid, int p, int q, float (*a)[kPowersOfY],
                    SurfaceSums* sums = nullptr) noexcept;

}  // namespace qx
