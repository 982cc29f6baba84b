#include "numerics/fits/OrthogonalSurfaceFit.h"

#include "QxUtils/Numerics.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace {

constexpr int kMaxPowers = 20;
constexpr int kTableColumns = 3;
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
            squares_[index(k)] = squaresOf(k);
            if (k + 1 < count)
                extend(points, k);
        }
    }

    float mean() const noexcept { return mean_; }
    int count() const noexcept { return count_; }
    double value(int k, int point) const noexcept { return of(k)[point]; }

    // A sum of products with P(k), as the coefficient of P(k). A polynomial that vanishes at every point has none.
    double coefficient(int k, double sum) const noexcept {
        const double squares = squares_[index(k)];
        return squares == 0.0 ? sum : sum / squares;
    }

    // The factor of t^power in P(k).
    double power(int k, int power) const noexcept { return powers_[index(k)][index(power)]; }

private:
    static std::size_t index(int k) noexcept { return static_cast<std::size_t>(k); }

    static float meanOf(const float* points, int count) noexcept {
        float sum = 0.0f;
        for (int i = 0; i < count; ++i)
            sum += points[i];
        return sum / static_cast<float>(count);
    }

    double* of(int k) const noexcept { return values_ + static_cast<std::ptrdiff_t>(k) * pointCount_; }

    double squaresOf(int k) const noexcept {
        double sum = 0.0;
        for (int i = 0; i < pointCount_; ++i)
            sum += of(k)[i] * of(k)[i];
        return sum;
    }

    void extend(const float* points, int k) noexcept {
        const double mean = static_cast<double>(mean_);
        double weighted = 0.0;
        for (int i = 0; i < pointCount_; ++i)
            weighted += (static_cast<double>(points[i]) - mean) * of(k)[i] * of(k)[i];
        const double alpha = coefficient(k, weighted);
        const double beta = k > 0 && squares_[index(k - 1)] != 0.0 ? squares_[index(k)] / squares_[index(k - 1)] : 0.0;
        double squares = 0.0;
        double terms = 0.0;
        for (int i = 0; i < pointCount_; ++i) {
            const double raised = (static_cast<double>(points[i]) - mean - alpha) * of(k)[i];
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
            const double shifted = power > 0 ? powers_[index(k)][index(power - 1)] : 0.0;
            const double before = k > 0 ? powers_[index(k - 1)][index(power)] : 0.0;
            powers_[index(k + 1)][index(power)] = shifted - alpha * powers_[index(k)][index(power)] - beta * before;
        }
    }

    int pointCount_;
    int count_;
    double* values_;
    float mean_;
    std::array<double, kMaxPowers> squares_{};
    std::array<std::array<double, kMaxPowers>, kMaxPowers> powers_{};
};

using Products = std::array<double, kTableColumns>;
using Table = float (*)[kTableColumns];

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
                parts[static_cast<std::size_t>(part)] += row[c + part] * inY.value(j, c + part);
        for (; c < count; ++c)
            parts[0] += row[c] * inY.value(j, c);
        products[static_cast<std::size_t>(j)] = (parts[0] + parts[1]) + (parts[2] + parts[3]);
    }
    return products;
}

// The fit to a grid of samples in products of polynomials in x and in y.
class GridFit {
public:
    GridFit(const OrthogonalPolynomials& inX, const OrthogonalPolynomials& inY) noexcept : inX_(inX), inY_(inY) {}

    // z has n rows of m values.
    // relative holds m numbers.
    void project(const float* const* z, int n, int m, double* relative) noexcept {
        // Values are taken relative to the first one, so that a constant surface has no slope at all.
        const auto base = static_cast<double>(z[0][0]);
        for (int r = 0; r < n; ++r) {
            for (int c = 0; c < m; ++c)
                relative[c] = static_cast<double>(z[r][c]) - base;
            const Products products = rowProducts(relative, inY_, m);
            for (int i = 0; i < inX_.count(); ++i)
                for (int j = 0; j < inY_.count(); ++j)
                    at(i, j) += inX_.value(i, r) * products[static_cast<std::size_t>(j)];
        }
        for (int i = 0; i < inX_.count(); ++i)
            for (int j = 0; j < inY_.count(); ++j)
                at(i, j) = inX_.coefficient(i, inY_.coefficient(j, at(i, j)));
        at(0, 0) += base;
    }

    // The coefficient of (x - mean)^i (y - mean)^j; 0 beyond the fit's powers.
    float powerCoefficient(int i, int j) noexcept {
        double sum = 0.0;
        for (int k = i; k < inX_.count(); ++k)
            for (int l = j; l < inY_.count(); ++l)
                sum += at(k, l) * inX_.power(k, i) * inY_.power(l, j);
        return static_cast<float>(sum);
    }

private:
    double& at(int i, int j) noexcept { return c_[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)]; }

    const OrthogonalPolynomials& inX_;
    const OrthogonalPolynomials& inY_;
    std::array<Products, kMaxPowers> c_{};
};

// The fitted values of a row by Horner's rule in y for each power of x.
void evaluateRow(Table a, int powersOfX, int powersOfY, float x, const float* y, int count, float* __restrict fitted) {
    std::fill_n(fitted, count, 0.0f);
    float powerOfX = 1.0f;
    for (int i = 0; i < powersOfX; ++i) {
        std::array<float, kTableColumns> c{};
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

}  // namespace

bool qx::fitSurfaceGrid(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n, int m,
                        int p, int q) noexcept {
    if (x == nullptr || y == nullptr || z == nullptr || a == nullptr || dt == nullptr)
        return false;
    if (!isImageSize(n, m) || p < 1 || q < 1)
        return false;
    const int powersOfX = std::min({p, n, kMaxPowers});
    const int powersOfY = std::min({q, m, kTableColumns});
    qx::Scratch<double> tableX(static_cast<std::size_t>(powersOfX) * static_cast<std::size_t>(n));
    qx::Scratch<double> tableY(static_cast<std::size_t>(powersOfY) * static_cast<std::size_t>(m));
    qx::Scratch<double> relative(static_cast<std::size_t>(m));
    qx::Scratch<float> offsets(static_cast<std::size_t>(m));
    qx::Scratch<float> fitted(static_cast<std::size_t>(m));
    if (!tableX || !tableY || !relative || !offsets || !fitted)
        return false;
    const OrthogonalPolynomials inX(x, n, powersOfX, tableX.data());
    const OrthogonalPolynomials inY(y, m, powersOfY, tableY.data());
    GridFit fit(inX, inY);
    fit.project(z, n, m, relative.data());
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < std::min(q, kTableColumns); ++j)
            a[i][j] = i < powersOfX && j < powersOfY ? fit.powerCoefficient(i, j) : 0.0f;

    for (int c = 0; c < m; ++c)
        offsets[static_cast<std::size_t>(c)] = y[c] - inY.mean();
    std::array<float, 3> residuals{};
    for (int r = 0; r < n; ++r) {
        evaluateRow(a, powersOfX, powersOfY, x[r] - inX.mean(), offsets.data(), m, fitted.data());
        for (int c = 0; c < m; ++c) {
            const float residual = fitted[static_cast<std::size_t>(c)] - z[r][c];
            residuals[0] += residual * residual;
            residuals[1] += std::fabs(residual);
            residuals[2] = std::max(residuals[2], std::fabs(residual));
        }
    }
    std::copy(residuals.begin(), residuals.end(), dt);
    return true;
}

void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt, int n,
                            int m, int p, int q) {
    qx::fitSurfaceGrid(x, y, z, a, dt, n, m, p, q);
}
