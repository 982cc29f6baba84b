#pragma once

#include "numerics/fits/ColumnMatrix.h"

namespace qx {

// A matrix that is 0 but for its diagonal and the elements above that: above[k] stands over diagonal[k], above[0] is 0.
struct Bidiagonal {
    float* diagonal;
    float* above;
};

// Golub-Kahan reduction in single precision: u becomes U, with u = U B V^T and B bidiagonal. B holds two values a
// column of u, v is square, scratch holds two values a column. Returns the largest |diagonal[k]| + |above[k]|.
float bidiagonalise(ColumnMatrix u, ColumnMatrix v, const Bidiagonal& b, float* scratch) noexcept;

}  // namespace qx
