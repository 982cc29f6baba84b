#pragma once

#include <vector>

// The fits written out step by step, in single precision and with one allocation a row: what the library's fits are
// compared with, and the plain method of the benchmarks. The names are the library's; nothing is logged or printed.
// Arrays of the decomposition and of svdfit are indexed from 1, element 0 is not used.
namespace qx::plain {

// Orders of 0 .. 6.
void polyFit(float* coefficients, const float* const* points, int pointCount, int order);

int calcMedianPerColumn(float* medians, const float* image, int width, int height);

// Rows 1 .. rows and columns 1 .. columns, every row in memory of its own, all zero.
class RowMatrix {
public:
    RowMatrix(int rows, int columns);
    float** rows() { return pointers_.data(); }
    float* operator[](int row) { return pointers_[static_cast<std::size_t>(row)]; }

private:
    std::vector<std::vector<float>> rows_;
    std::vector<float*> pointers_;
};

// Decomposes the m x n matrix u in place into U diag(w) V^T. Returns 0 or 1079.
int svdcmp(float** u, int m, int n, float* w, float** v);

// Solves U diag(w) V^T a = b, without the components whose singular value is 0.
void svdBackSubstitute(float** u, const float* w, float** v, int m, int n, const float* b, float* a);

// Writes the basis values to values[0 .. count - 1].
using FitBasis = void (*)(float abscissa, float* values, int count, int first, int second);

// u has m rows, u and v have n columns. Returns 0 or 1079; a, chiSquare and fitResult stay as they were then.
int svdfit(const float* x, const float* y, const float* sigma, int m, int first, int second, float* a, int n, float** u,
           float** v, float* w, float* chiSquare, FitBasis basis, float& fitResult);

void quadraticBasis(float abscissa, float* values, int count, int width, int height);
void cubicBasis(float abscissa, float* values, int count, int width, int height);

// c holds six coefficients from index 0.
void quadricToPeakModel(const float* c, float* model);

int doSurfaceFitUsingGeneralFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                    float* coefficients, float* chiSquare);
int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width, int height,
                                float* coefficients, float* chiSquare);

// Orthogonal polynomials by the three-term recurrence, in double precision. p and q are at least 1, q at most 3.
void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q);

// a holds 3 x 3 coefficients of offsets from the mean row and column.
void centredFitToPeakModel(const float* a, float meanRow, float meanColumn, float* model);

int doSurfaceFit(float* model, int n, float& quality, const float* image, int width, int height, float* coefficients,
                 float* residuals);

}  // namespace qx::plain
