#include "numerics/fits/OrthogonalSurfaceFit.h"

#include "QxUtils/Numerics.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

using qx::kPowersOfY;

constexpr int kMaxPowers = 20;
constexpr double kRoundingShare = 1e-24;

// Polynomials that are orthogonal over the sample points, by the three-term recurrence
//   P(k+1) = (t - alpha) P(k) - beta P(k-1),  t = abscissa - mean.
// Worked in double: the power coefficients of high orders cancel.
class OrthogonalPolynomials {
public:
    // values holds count x pointCount numbers.
    OrthogonalPolynomials(const float* points, int pointCount, int count, double* values) noexcept
        : pointCount_(pointCount), count_(count), values_(values), mean_(meanOf(points, pointCount)) {
        std::fill_n(values, pointCount, 1.0);
        powers_[0][0] = 1.0;
        for (int k = 0; k < count; ++k) {
            squares_[k] = squaresOf(k);
            if (k + 1 < count)
                extend(points, k);
        }
    }

    float mean() const noexcept { return mean_; }
    int count() const noexcept { return count_; }
    double value(int k, int point) const noexcept { return of(k)[point]; }

    // A sum of products with P(k), as the coefficient of P(k). A polynomial that vanishes at every point has none.
    double coefficient(int k, double sum) const noexcept {
        const double squares = squares_[k];
        return squares == 0.0 ? sum : sum / squares;
    }

    // The factor of t^power in P(k).
    double power(int k, int power) const noexcept { return powers_[k][power]; }

private:
    static float meanOf(const float* points, int count) noexcept {
        float sum = 0.0f;
        for (int i = 0; i < count; ++i)
            sum += points[i];
        return sum / static_cast<float>(count);
    }

    double* of(int k) const noexcept { return values_ + std::ptrdiff_t{k} * pointCount_; }

    double squaresOf(int k) const noexcept {
        double sum = 0.0;
        for (int i = 0; i < pointCount_; ++i)
            sum += of(k)[i] * of(k)[i];
        return sum;
    }

    void extend(const float* points, int k) noexcept {
        const double mean = mean_;
        double weighted = 0.0;
        for (int i = 0; i < pointCount_; ++i) {
            const double point = points[i];
            weighted += (point - mean) * of(k)[i] * of(k)[i];
        }
        const double alpha = coefficient(k, weighted);
        const double beta = k > 0 && squares_[k - 1] != 0.0 ? squares_[k] / squares_[k - 1] : 0.0;
        double squares = 0.0;
        double terms = 0.0;
        for (int i = 0; i < pointCount_; ++i) {
            const double point = points[i];
            const double raised = (point - mean - alpha) * of(k)[i];
            const double known = k > 0 ? beta * of(k - 1)[i] : 0.0;
            const double value = raised - known;
            of(k + 1)[i] = value;
            squares += value * value;
            terms += raised * raised + known * known;
        }
        // Fewer different points than powers: what is left of the terms is their rounding.
        if (squares <= kRoundingShare * terms)
            std::fill_n(of(k + 1), pointCount_, 0.0);
        for (int power = 0; power <= k + 1; ++power) {
            const double shifted = power > 0 ? powers_[k][power - 1] : 0.0;
            const double before = k > 0 ? powers_[k - 1][power] : 0.0;
            powers_[k + 1][power] = shifted - alpha * powers_[k][power] - beta * before;
        }
    }

    int pointCount_;
    int count_;
    double* values_;
    float mean_;
    std::array<double, kMaxPowers> squares_{};
    std::array<std::array<double, kMaxPowers>, kMaxPowers> powers_{};
};

using Products = std::array<double, kPowersOfY>;
using Table = float (*)[kPowersOfY];

// Sums of a row's values with each of the polynomials in y: four parts a sum, so that additions do not wait for each
// other.
Products rowProducts(const double* row, const OrthogonalPolynomials& inY, int count) noexcept {
    constexpr int kParts = 4;
    Products products{};
    for (int j = 0; j < inY.count(); ++j) {
        std::array<double, kParts> parts{};
        int c = 0;
        for (; c + kParts <= count; c += kParts)
            for (int part = 0; part < kParts; ++part)
                parts[part] += row[c + part] * inY.value(j, c + part);
        for (; c < count; ++c)
            parts[0] += row[c] * inY.value(j, c);
        products[j] = (parts[0] + parts[1]) + (parts[2] + parts[3]);
    }
    return products;
}

// The fit to a grid of samples in products of polynomials in x and in y.
class GridFit {
public:
    GridFit(const OrthogonalPolynomials& inX, const OrthogonalPolynomials& inY) noexcept : inX_(inX), inY_(inY) {}

    // relative holds the values of a row.
    void project(const qx::SurfaceGrid& grid, double* relative) noexcept {
        // Values are taken relative to the first one, so that a constant surface has no slope at all.
        const double base = grid.z[0][0];
        for (int r = 0; r < grid.rows; ++r) {
            for (int c = 0; c < grid.columns; ++c) {
                const double value = grid.z[r][c];
                relative[c] = value - base;
            }
            const Products products = rowProducts(relative, inY_, grid.columns);
            for (int i = 0; i < inX_.count(); ++i)
                for (int j = 0; j < inY_.count(); ++j)
                    c_[i][j] += inX_.value(i, r) * products[j];
        }
        for (int i = 0; i < inX_.count(); ++i)
            for (int j = 0; j < inY_.count(); ++j)
                c_[i][j] = inX_.coefficient(i, inY_.coefficient(j, c_[i][j]));
        c_[0][0] += base;
    }

    // The coefficient of (x - mean)^i (y - mean)^j; 0 beyond the fit's powers.
    float powerCoefficient(int i, int j) noexcept {
        double sum = 0.0;
        for (int k = i; k < inX_.count(); ++k)
            for (int l = j; l < inY_.count(); ++l)
                sum += c_[k][l] * inX_.power(k, i) * inY_.power(l, j);
        return static_cast<float>(sum);
    }

private:
    const OrthogonalPolynomials& inX_;
    const OrthogonalPolynomials& inY_;
    std::array<Products, kMaxPowers> c_{};
};

// The fitted values of a row by Horner's rule in y for each power of x.
void evaluateRow(Table a, int powersOfX, int powersOfY, float x, const float* y, int count, float* __restrict fitted) {
    std::fill_n(fitted, count, 0.0f);
    float powerOfX = 1.0f;
    for (int i = 0; i < powersOfX; ++i) {
        std::array<float, kPowersOfY> c{};
        std::copy_n(a[i], powersOfY, c.begin());
        for (int k = 0; k < count; ++k) {
            float inY = 0.0f;
            inY = inY * y[k] + c[2];
            inY = inY * y[k] + c[1];
            inY = inY * y[k] + c[0];
            fitted[k] += inY * powerOfX;
        }
        powerOfX *= x;
    }
}

// The residuals of the table's surface at the samples. x and y are taken relative to their means; offsets and fitted
// hold the values of a row.
qx::SurfaceResiduals residualsOf(const qx::SurfaceGrid& grid, Table a, const OrthogonalPolynomials& inX,
                                 const OrthogonalPolynomials& inY, float* offsets, float* fitted) noexcept {
    qx::SurfaceResiduals residuals;
    for (int c = 0; c < grid.columns; ++c)
        offsets[c] = grid.y[c] - inY.mean();
    for (int r = 0; r < grid.rows; ++r) {
        evaluateRow(a, inX.count(), inY.count(), grid.x[r] - inX.mean(), offsets, grid.columns, fitted);
        for (int c = 0; c < grid.columns; ++c)
            residuals.add(fitted[c] - grid.z[r][c]);
    }
    return residuals;
}

}  // namespace

bool qx::fitSurfaceGrid(const SurfaceGrid& grid, int p, int q, float (*a)[kPowersOfY],
                        SurfaceResiduals& residuals) noexcept {
    if (grid.x == nullptr || grid.y == nullptr || grid.z == nullptr || a == nullptr)
        return false;
    if (!isImageSize(grid.columns, grid.rows) || p < 1 || q < 1)
        return false;
    const int powersOfX = std::min({p, grid.rows, kMaxPowers});
    const int powersOfY = std::min({q, grid.columns, kPowersOfY});
    Scratch<double> tableX(powersOfX, grid.rows);
    Scratch<double> tableY(powersOfY, grid.columns);
    Scratch<double> relative(grid.columns);
    Scratch<float> offsets(grid.columns);
    Scratch<float> fitted(grid.columns);
    if (!tableX || !tableY || !relative || !offsets || !fitted)
        return false;
    const OrthogonalPolynomials inX(grid.x, grid.rows, powersOfX, tableX.data());
    const OrthogonalPolynomials inY(grid.y, grid.columns, powersOfY, tableY.data());
    GridFit fit(inX, inY);
    fit.project(grid, relative.data());
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < std::min(q, kPowersOfY); ++j)
            a[i][j] = i < powersOfX && j < powersOfY ? fit.powerCoefficient(i, j) : 0.0f;
    residuals = residualsOf(grid, a, inX, inY, offsets.data(), fitted.data());
    return true;
}

void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q) {
    qx::SurfaceResiduals residuals;
    if (dt != nullptr && qx::fitSurfaceGrid({x, y, z, n, m}, p, q, a, residuals))
        std::ranges::copy(residuals.values(), dt);
}
