#pragma once

#include "kernels/VectorLevel.h"

namespace qx {

// Values that a row's samples are multiplied by, beside 1.
inline constexpr int kRowFactors = 2;

// A row of a surface: c0 + c1 t + c2 t^2 at the offsets t.
struct RowQuadratic {
    double c0;
    double c1;
    double c2;
};

// Sums over the residuals of a fit; of the largest magnitude, residuals that are not a number have no part.
struct ResidualSums {
    double squares = 0.0;
    double magnitudes = 0.0;
    double largest = 0.0;
};

// Sums over rows of a grid in double precision. A row's terms are added in eight lanes, sample c in lane c % 8, and the
// lanes in one order, whatever the level.
struct SurfaceKernels {
    // sums receives the sum of z[c] - base, then the sums of its products with each of the factors.
    void (*rowProducts)(const float* z, int count, double base, const double* const* factors, double* sums) noexcept;

    // Adds the residuals of a row of samples.
    void (*addResiduals)(const float* z, const double* offsets, int count, const RowQuadratic& fit,
                         ResidualSums& sums) noexcept;
};

// The kernels of the vector level in use.
const SurfaceKernels& surfaceKernels() noexcept;

QX_DECLARE_TABLES(SurfaceKernels)

}  // namespace qx
