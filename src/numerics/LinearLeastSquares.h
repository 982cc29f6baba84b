#pragma once

#include "numerics/ColumnMatrix.h"

namespace qx {

// Writes the values of `count` basis functions at an abscissa; the two integers are passed through from the caller.
using FitBasis = void (*)(float abscissa, float* values, int count, int first, int second) noexcept;

// Samples to fit: count abscissas, ordinates and standard deviations.
struct FitSamples {
    const float* x;
    const float* y;
    const float* sigma;
    int count;
};

// Memory of a fit with n coefficients to m samples: u is m x n, v n x n, w holds n values.
struct FitWorkspace {
    ColumnMatrix u;
    ColumnMatrix v;
    float* w;
};

// Linear least squares by singular value decomposition: the `count` coefficients a of the basis, chi-square, and the
// squared correlation of data and fit. Singular values below 1e-5 of the largest are edited out. Returns 0; 1079 when
// the decomposition does not converge, 1035 when memory is short: a, chiSquare and fitResult stay as they were then.
// Logs its course.
int svdfit(const FitSamples& samples, int first, int second, float* a, int count, const FitWorkspace& workspace,
           float& chiSquare, FitBasis basis, float& fitResult) noexcept;

}  // namespace qx
