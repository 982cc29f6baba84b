#pragma once

#include "numerics/fits/ColumnMatrix.h"

namespace qx {

// Golub-Reinsch singular value decomposition in single precision: u becomes U, with u = U diag(w) V^T. w holds a value
// a column of u, v is square. Singular values are not negative and not sorted. Returns 0; 1079 when one does not
// converge within 30 sweeps, 1035 when memory is short, both with a message on standard output.
int svdcmp(ColumnMatrix u, float* w, ColumnMatrix v) noexcept;

// Solves U diag(w) V^T a = b for a; components whose singular value is 0 are left out. Returns 0, or 1035 when memory
// is short, with a message on standard output.
int svdBackSubstitute(ColumnMatrix u, const float* w, ColumnMatrix v, const float* b, float* a) noexcept;

}  // namespace qx
