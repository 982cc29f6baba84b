#pragma once

#include "numerics/fits/ColumnMatrix.h"

namespace qx {

// Basis functions at pixels, given by their indices from 1 in a width x height image, in X = column - width / 2 and
// Y = row - height / 2: 1, X, Y, XY, X^2, Y^2, and for the cubic X^2 Y, X Y^2, X^3, Y^3 in addition. Exact products,
// rounded once, in images of up to 2^17 pixels a side.
inline constexpr int kQuadraticTerms = 6;
inline constexpr int kCubicTerms = 10;
void quadraticBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept;
void cubicBasis(const float* abscissas, ColumnMatrix values, int width, int height) noexcept;

// The peak model A, B, C, D, x0, y0 of the quadratic c[0] + c[1] X + c[2] Y + c[3] XY + c[4] X^2 + c[5] Y^2.
void quadricToPeakModel(const float* c, float* model) noexcept;

}  // namespace qx
