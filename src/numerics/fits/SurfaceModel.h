#pragma once

#include "numerics/fits/ColumnMatrix.h"

namespace qx {

// Terms of a surface in X = column - width / 2 and Y = row - height / 2, in the order of their coefficients: the
// quadratic has those up to YY.
enum SurfaceTerm { kTerm1, kTermX, kTermY, kTermXY, kTermXX, kTermYY, kTermXXY, kTermXYY, kTermXXX, kTermYYY };
inline constexpr int kQuadraticTerms = kTermYY + 1;
inline constexpr int kCubicTerms = kTermYYY + 1;

// The terms' values at pixels, given by their indices from 1 in a width x height image. Exact products, rounded once,
// in images of up to 2^17 pixels a side.
void quadraticBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept;
void cubicBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept;

// A [1 - B (x - x0)^2 - C (y - y0)^2 - D x y].
struct PeakModel {
    float a;
    float b;
    float c;
    float d;
    float x0;
    float y0;

    // In the order above, as callers receive it.
    void store(float* model) const noexcept;
};

// The peak model of the quadratic with these coefficients, a value a term.
void quadricToPeakModel(const float* coefficients, float* model) noexcept;

}  // namespace qx
