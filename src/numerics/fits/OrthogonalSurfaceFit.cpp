#include "numerics/fits/OrthogonalSurfaceFit.h"

#include "QxUtils/Numerics.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace {

using qx::kPowersOfY;

constexpr int kMaxPowers = 20;
constexpr double kRoundingShare = 1e-24;

float meanOf(const float* values, int count) noexcept {
    float sum = 0.0f;
    for (int i = 0; i < count; ++i)
        sum += values[i];
    return sum / static_cast<float>(count);
}

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

    double squares(int k) const noexcept { return squares_[k]; }

    // A sum of products with P(k), as the coefficient of P(k). A polynomial that vanishes at every point has none.
    double coefficient(int k, double sum) const noexcept {
        const double squares = squares_[k];
        return squares == 0.0 ? sum : sum / squares;
    }

    // The factor of t^power in P(k).
    double power(int k, int power) const noexcept { return powers_[k][power]; }

private:
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
using Coefficients = std::array<Products, kMaxPowers>;

// The fit to a grid of samples in products of polynomials in x and in y.
class GridFit {
public:
    // valuesInY holds kPowersOfY polynomials in y, those beyond the fit's powers too.
    GridFit(const OrthogonalPolynomials& inX, const OrthogonalPolynomials& inY, const double* valuesInY) noexcept
        : inX_(inX), inY_(inY), valuesInY_(valuesInY) {}

    void project(const qx::SurfaceGrid& grid) noexcept {
        // Values are taken relative to the first one, so that a constant surface has no slope at all.
        const double base = grid.z[0][0];
        std::array<const double*, qx::kRowFactors> factors{};
        for (int j = 0; j < qx::kRowFactors; ++j)
            factors[j] = valuesInY_ + (j + std::ptrdiff_t{1}) * grid.columns;
        for (int r = 0; r < grid.rows; ++r) {
            Products products{};
            qx::surfaceKernels().rowProducts(grid.z[r], grid.columns, base, factors.data(), products.data());
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
    float powerCoefficient(int i, int j) const noexcept {
        double sum = 0.0;
        for (int k = i; k < inX_.count(); ++k)
            for (int l = j; l < inY_.count(); ++l)
                sum += c_[k][l] * inX_.power(k, i) * inY_.power(l, j);
        return static_cast<float>(sum);
    }

    // The sums of the surface that these power coefficients describe, which has been rounded, beside the samples. The
    // products of polynomials are orthogonal, and only the first of them has a mean: no sample is needed anew.
    void correlate(Coefficients a, double samples, qx::SurfaceSums& sums) const noexcept {
        toPolynomials(a);
        for (int k = 0; k < inX_.count(); ++k) {
            for (int l = 0; l < inY_.count(); ++l) {
                const double squares = k + l > 0 ? inX_.squares(k) * inY_.squares(l) : 0.0;
                sums.fitSquares += a[k][l] * a[k][l] * squares;
                sums.mixed += a[k][l] * c_[k][l] * squares;
            }
        }
        const double meanResidual = a[0][0] - c_[0][0];
        sums.sampleSquares =
            sums.residuals.squares - samples * meanResidual * meanResidual + 2.0 * sums.mixed - sums.fitSquares;
    }

private:
    // Power coefficients become those of the products of polynomials, from the highest on.
    void toPolynomials(Coefficients& a) const noexcept {
        for (int k = inX_.count() - 1; k > 0; --k)
            for (int i = 0; i < k; ++i)
                for (int j = 0; j < inY_.count(); ++j)
                    a[i][j] -= a[k][j] * inX_.power(k, i);
        for (int l = inY_.count() - 1; l > 0; --l)
            for (int j = 0; j < l; ++j)
                for (int i = 0; i < inX_.count(); ++i)
                    a[i][j] -= a[i][l] * inY_.power(l, j);
    }

    const OrthogonalPolynomials& inX_;
    const OrthogonalPolynomials& inY_;
    const double* valuesInY_;
    Coefficients c_{};
};

// The residuals of a surface, in power coefficients, over a grid. offsets receives those of the columns.
qx::ResidualSums residualSums(const qx::SurfaceGrid& grid, const Coefficients& a, const OrthogonalPolynomials& inX,
                              const OrthogonalPolynomials& inY, double* offsets) noexcept {
    for (int c = 0; c < grid.columns; ++c)
        offsets[c] = double{grid.y[c]} - double{inY.mean()};
    qx::ResidualSums sums;
    for (int r = 0; r < grid.rows; ++r) {
        const double x = double{grid.x[r]} - double{inX.mean()};
        Products c{};
        for (int i = inX.count() - 1; i >= 0; --i)
            for (int j = 0; j < kPowersOfY; ++j)
                c[j] = c[j] * x + a[i][j];
        qx::surfaceKernels().addResiduals(grid.z[r], offsets, grid.columns, {c[0], c[1], c[2]}, sums);
    }
    return sums;
}

// The values of a row of a table's surface, in single precision.
void evaluateRow(const float (*a)[kPowersOfY], int powersOfX, int powersOfY, float x, std::span<const float> y,
                 float* fitted) noexcept {
    std::fill_n(fitted, y.size(), 0.0f);
    float powerOfX = 1.0f;
    for (int i = 0; i < powersOfX; ++i) {
        std::array<float, kPowersOfY> c{};
        std::copy_n(a[i], powersOfY, c.begin());
        for (std::size_t k = 0; k < y.size(); ++k) {
            const float inY = (c[2] * y[k] + c[1]) * y[k] + c[0];
            fitted[k] += inY * powerOfX;
        }
        powerOfX *= x;
    }
}

// Sum of squares, sum of magnitudes and largest magnitude of the residuals in single precision, in the order of the
// samples. offsets and fitted have room for a row.
std::array<float, 3> residualsInSingle(const qx::SurfaceGrid& grid, const float (*a)[kPowersOfY], int p, int q,
                                       std::span<float> offsets, float* fitted) noexcept {
    const float meanX = meanOf(grid.x, grid.rows);
    const float meanY = meanOf(grid.y, grid.columns);
    std::ranges::transform(std::span(grid.y, offsets.size()), offsets.begin(), [=](float y) { return y - meanY; });
    const int powersOfX = std::min({p, grid.rows, kMaxPowers});
    const int powersOfY = std::min({q, grid.columns, kPowersOfY});
    std::array<float, 3> sums{};
    for (int r = 0; r < grid.rows; ++r) {
        evaluateRow(a, powersOfX, powersOfY, grid.x[r] - meanX, offsets, fitted);
        for (int c = 0; c < grid.columns; ++c) {
            const float residual = fitted[c] - grid.z[r][c];
            sums[0] += residual * residual;
            sums[1] += std::fabs(residual);
            sums[2] = std::max(sums[2], std::fabs(residual));
        }
    }
    return sums;
}

}  // namespace

std::array<float, 3> qx::SurfaceSums::ofPasses(int passes) const noexcept {
    return {static_cast<float>(passes * residuals.squares), static_cast<float>(passes * residuals.magnitudes),
            static_cast<float>(residuals.largest)};
}

bool qx::fitSurfaceGrid(const SurfaceGrid& grid, int p, int q, float (*a)[kPowersOfY], SurfaceSums* sums) noexcept {
    if (grid.x == nullptr || grid.y == nullptr || grid.z == nullptr || a == nullptr)
        return false;
    if (!isImageSize(grid.columns, grid.rows) || p < 1 || q < 1)
        return false;
    const int powersOfX = std::min({p, grid.rows, kMaxPowers});
    const int powersOfY = std::min({q, grid.columns, kPowersOfY});
    Scratch<double> tableX(powersOfX, grid.rows);
    Scratch<double> tableY(kPowersOfY, grid.columns);
    Scratch<double> offsets(grid.columns);
    if (!tableX || !tableY || !offsets)
        return false;
    tableY.clear();
    const OrthogonalPolynomials inX(grid.x, grid.rows, powersOfX, tableX.data());
    const OrthogonalPolynomials inY(grid.y, grid.columns, powersOfY, tableY.data());
    GridFit fit(inX, inY, tableY.data());
    fit.project(grid);
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < std::min(q, kPowersOfY); ++j)
            a[i][j] = i < powersOfX && j < powersOfY ? fit.powerCoefficient(i, j) : 0.0f;
    if (sums == nullptr)
        return true;
    Coefficients rounded{};
    for (int i = 0; i < powersOfX; ++i)
        std::copy_n(a[i], powersOfY, rounded[i].begin());
    sums->residuals = residualSums(grid, rounded, inX, inY, offsets.data());
    fit.correlate(rounded, double(grid.rows) * grid.columns, *sums);
    return true;
}

void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q) {
    const qx::SurfaceGrid grid{x, y, z, n, m};
    qx::Scratch<float> offsets(m);
    qx::Scratch<float> fitted(m);
    if (dt != nullptr && offsets && fitted && qx::fitSurfaceGrid(grid, p, q, a))
        std::ranges::copy(residualsInSingle(grid, a, p, q, offsets.span(), fitted.data()), dt);
}
