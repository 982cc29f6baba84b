#pragma once

namespace qx {

// FitSurfaceLeastSquares; false, with nothing written, for null pointers, impossible sizes and when memory is short.
bool fitSurfaceGrid(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n, int m,
                    int p, int q) noexcept;

}  // namespace qx
