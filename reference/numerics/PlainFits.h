#pragma once

#include <vector>

// The fits written out step by step, in single precision and with one allocation a row: what the library's fits are
// compared with, and the plain method of the benchmarks. The names are the library's; nothing is logged or printed.
namespace qx::plain {

// Orders of 0 .. 6.
void polyFit(float* coefficients, const float* const* points, int pointCount, int order);

int calcMedianPerColumn(float* medians, const float* image, int width, int height);

// Arrays of the decomposition are indexed from 1, element 0 is not used: rows 1 .. rows and columns 1 .. columns, every
// row in memory of its own, all zero.
using RowMatrix = std::vector<std::vector<float>>;
RowMatrix rowMatrix(int rows, int columns);

// Decomposes the m x n matrix u in place into U diag(w) V^T. Returns 0 or 1079.
int svdcmp(RowMatrix& u, int m, int n, float* w, RowMatrix& v);

int doSurfaceFitUsingGeneralFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                    float* coefficients, float* chiSquare);
int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                float* coefficients, float* chiSquare);

// Orthogonal polynomials by the three-term recurrence, in double precision. p and q are at least 1, q at most 3.
void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q);

// Sums in double precision over all pixels.
int doSurfaceFit(float* model, int n, float& quality, const float* image, int width, int height, float* coefficients,
                 float* residuals);

}  // namespace qx::plain
