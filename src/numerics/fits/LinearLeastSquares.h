#pragma once

#include "numerics/fits/ColumnMatrix.h"

namespace qx {

// Writes the values of the basis functions, a column each, at every abscissa, a row each; the two integers are passed
// through from the caller.
using FitBasis = void (*)(const float* abscissas, ColumnMatrix values, int first, int second) noexcept;

// Samples to fit: count abscissas, ordinates and standard deviations.
struct FitSamples {
    const float* x;
    const float* y;
    const float* sigma;
    int count;
};

// Memory of a fit with n coefficients to m samples: u is m x n, v n x n, w holds n values. The singular values and V
// are left behind.
struct FitWorkspace {
    ColumnMatrix u;
    ColumnMatrix v;
    float* w;
};

// Linear least squares by singular value decomposition: a coefficient a for each column of u, chi-square, and the
// squared correlation of data and fit. Singular values below 1e-5 of the largest are edited out. Returns 0; 1079 when
// the decomposition does not converge, 1035 when memory is short: a, chiSquare and fitResult stay as they were then.
// Logs its course.
int svdfit(const FitSamples& samples, int first, int second, float* a, const FitWorkspace& workspace, float& chiSquare,
           FitBasis basis, float& fitResult) noexcept;

}  // namespace qx
