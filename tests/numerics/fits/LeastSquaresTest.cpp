#include "Compare.h"
#include "DetectorFixture.h"
#include "reference/numerics/PlainFits.h"

#include "numerics/fits/LinearLeastSquares.h"
#include "numerics/fits/SingularValues.h"
#include "numerics/fits/SurfaceModel.h"

#include <eigen3/Eigen/Dense>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>

namespace {

namespace plain = qx::plain;
using Eigen::MatrixXd;
using qx::test::printedBy;
using qx::test::sameBitsOrNanEverywhere;
using qx::test::SplitMix64;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;
using Lines = std::vector<std::string>;

constexpr float kPoison = -4711.0f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Element = std::function<double(int, int)>;

// Element(row, column) of every place, column after column.
Floats matrixOf(int rows, int columns, const Element& element) {
    Floats matrix;
    for (int j = 0; j < columns; ++j) {
        for (int i = 0; i < rows; ++i)
            matrix.push_back(static_cast<float>(element(i, j)));
    }
    return matrix;
}

struct Decomposition {
    Floats u, w, v;
    int status = 0;
};

Decomposition decomposed(const Floats& matrix, int rows, int columns) {
    Decomposition d{matrix, Floats(columns, kPoison), Floats(columns * columns, kPoison)};
    d.status = qx::svdcmp({d.u.data(), rows, columns}, d.w.data(), {d.v.data(), columns, columns});
    return d;
}

// The plain method, its result laid out as the library's.
Decomposition plainlyDecomposed(const Floats& matrix, int rows, int columns) {
    plain::RowMatrix u = plain::rowMatrix(rows, columns), v = plain::rowMatrix(columns, columns);
    Floats w(columns + 1);
    for (int k = 0; k < rows * columns; ++k)
        u[k % rows + 1][k / rows + 1] = matrix[k];
    Decomposition d;
    d.status = plain::svdcmp(u, rows, columns, w.data(), v);
    d.u = matrixOf(rows, columns, [&](int i, int j) { return u[i + 1][j + 1]; });
    d.v = matrixOf(columns, columns, [&](int i, int j) { return v[i + 1][j + 1]; });
    d.w.assign(w.begin() + 1, w.end());
    return d;
}

MatrixXd asDouble(const Floats& matrix, int rows, int columns) {
    return Eigen::Map<const Eigen::MatrixXf>(matrix.data(), rows, columns).cast<double>();
}

// The singular values are the expected ones, U diag(w) V^T is the matrix, V is orthogonal, and so are the columns of U
// that have a singular value.
void expectDecomposition(int rows, int columns, const Element& element, const Doubles& singularValues) {
    SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(columns));
    const Floats matrix = matrixOf(rows, columns, element);
    const Decomposition d = decomposed(matrix, rows, columns);
    ASSERT_EQ(0, d.status);
    Floats sorted = d.w;
    std::sort(sorted.rbegin(), sorted.rend());
    const double largest = singularValues[0];
    for (int k = 0; k < columns; ++k)
        EXPECT_NEAR(singularValues[k], sorted[k], 3e-6 * largest) << "singular value " << k;
    EXPECT_GE(sorted.back(), 0);
    const MatrixXd u = asDouble(d.u, rows, columns), v = asDouble(d.v, columns, columns);
    const MatrixXd w = asDouble(d.w, columns, 1).asDiagonal(), one = MatrixXd::Identity(columns, columns);
    EXPECT_LE((u * w * v.transpose() - asDouble(matrix, rows, columns)).cwiseAbs().maxCoeff(), 1e-5 * largest);
    const MatrixXd there = one.array() * (w.array() > 1e-5 * largest).cast<double>();
    EXPECT_LE((v.transpose() * v - one).cwiseAbs().maxCoeff(), 1e-5);
    EXPECT_LE((there * (u.transpose() * u - one) * there).cwiseAbs().maxCoeff(), 3e-5);
}

Element byRow(int columns, Doubles values) {
    return [columns, values](int i, int j) { return values[i * columns + j]; };
}

TEST(Svdcmp, published_matrices) {
    expectDecomposition(8, 5, byRow(5, {22, 10, 2, 3,  7, 14, 7, 10, 0, 8,  -1, 13, -1, -11, 3, -3, -2, 13, -2, 4,
                                        9,  8,  1, -2, 4, 9,  1, -7, 5, -1, 2,  -6, 6,  5,   1, 4,  5,  0,  -2, 2}),
                        {std::sqrt(1248), 20, std::sqrt(384), 0, 0});
    expectDecomposition(
        4, 4,
        byRow(4, {16, -120, 240, -140, -120, 1200, -2700, 1680, 240, -2700, 6480, -4200, -140, 1680, -4200, 2800}),
        {10341.015243715688, 148.40596546051063, 5.9122193791123525, 0.66657144468770313});
    expectDecomposition(6, 6, [](int i, int j) { return 1.0 / (i + j + 1); },
                        {1.6188998589243391, 0.24236087057520952, 0.016321521319875808, 0.00061574835418264095,
                         1.2570757122647529e-05, 1.0827994845022364e-07});
    expectDecomposition(5, 3, [](int, int) { return 0; }, {0, 0, 0});
    expectDecomposition(6, 3, byRow(3, {1, 0, 0, 2, 0, 1, 3, 0, 4, 4, 0, 2, 5, 0, 2, 6, 0, 4}),
                        {11.283926285909878, 2.1617140361648541, 0});
    // Negative values are turned around, the order stays.
    EXPECT_EQ((Floats{2, 5, 3}), decomposed({-2, 0, 0, 0, -5, 0, 0, 0, 3}, 3, 3).w);
}

// Noise, small whole numbers, mostly zeros, a column of zeros, equal columns, powers, a diagonal, noise that is
// tiny, overflowing and of every size, some elements that are infinite or no numbers.
constexpr double (*kElements[])(SplitMix64&, int row, int column) = {
    [](SplitMix64& random, int, int) { return random.gaussian(); },
    [](SplitMix64& random, int, int) { return random.below(3) - 1.0; },
    [](SplitMix64& random, int, int) { return random.below(5) == 0 ? random.gaussian() : 0.0; },
    [](SplitMix64& random, int, int column) { return column == 1 ? 0.0 : random.gaussian(); },
    [](SplitMix64&, int row, int column) { return std::cos(row * row + column / 2); },
    [](SplitMix64&, int row, int column) { return std::pow(row - 7.0, column); },
    [](SplitMix64&, int row, int column) { return row == column ? 5.0 - row : 0.0; },
    [](SplitMix64& random, int, int) { return 1e-41 * random.gaussian(); },
    [](SplitMix64& random, int, int) { return 1e35 * random.gaussian(); },
    [](SplitMix64& random, int, int) { return std::pow(10, random.below(60) - 30) * random.gaussian(); },
    [](SplitMix64& random, int, int) { return random.below(30) == 0 ? HUGE_VAL : random.gaussian(); },
    [](SplitMix64& random, int, int) { return random.below(30) == 0 ? NAN : random.gaussian(); }};

// With more columns than rows too, as images of a few pixels give.
TEST(Svdcmp, equals_the_plain_method_bit_for_bit) {
    std::vector<int> statuses;  // where the plain method fails
    const std::string printed = printedBy([&] {
        for (const auto& element : kElements) {
            SplitMix64 random(99);
            for (int rows = 1; rows <= 40; ++rows) {
                for (int columns = 1; columns <= 10; ++columns) {
                    SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(columns));
                    const Floats matrix = matrixOf(rows, columns, [&](int i, int j) { return element(random, i, j); });
                    const Decomposition expected = plainlyDecomposed(matrix, rows, columns);
                    const Decomposition actual = decomposed(matrix, rows, columns);
                    if (expected.status != 0) {
                        statuses.push_back(actual.status);
                        continue;
                    }
                    ASSERT_EQ(0, actual.status) << &element - kElements;
                    ASSERT_TRUE(sameBitsOrNanEverywhere(expected.w, actual.w)) << &element - kElements;
                    ASSERT_TRUE(sameBitsOrNanEverywhere(expected.u, actual.u)) << &element - kElements;
                    ASSERT_TRUE(sameBitsOrNanEverywhere(expected.v, actual.v)) << &element - kElements;
                }
            }
        }
    });
    EXPECT_FALSE(HasFailure()) << printed;
    EXPECT_LT(100u, statuses.size());
    EXPECT_EQ(std::vector<int>(statuses.size(), 1079), statuses);
}

using Svdfit = qx::test::DetectorFixture;

// What a fit hands back, with poison behind the coefficients.
struct Fit {
    int status = 0;
    Floats a, w;
    float chiSquare = kPoison, fitResult = kPoison;
};

// x, y and deviations; x counts from 0.
struct Samples {
    Floats x, y, sigma;
    explicit Samples(Floats values) : x(values.size()), y(std::move(values)), sigma(y.size(), 1.0f) {
        std::iota(x.begin(), x.end(), 0.0f);
    }
};

Fit fitted(const Samples& s, int n, qx::FitBasis basis, int first = 0, int second = 0) {
    const int m = static_cast<int>(s.y.size());
    Floats u(m * n, kPoison), v(n * n, kPoison);
    Fit fit{0, Floats(n + 1, kPoison), Floats(n, kPoison)};
    fit.status = qx::svdfit({s.x.data(), s.y.data(), s.sigma.data(), m}, first, second, fit.a.data(),
                            {{u.data(), m, n}, {v.data(), n, n}, fit.w.data()}, fit.chiSquare, basis, fit.fitResult);
    return fit;
}

void line(const float* x, qx::ColumnMatrix values, int, int) noexcept {
    std::fill_n(values.column(0), values.rows, 1.0f);
    std::copy_n(x, values.rows, values.column(1));
}

void passedThrough(const float*, qx::ColumnMatrix values, int first, int second) noexcept {
    std::fill_n(values.column(0), values.rows, static_cast<float>(first - second));
}

constexpr float kDiagonal[] = {2e-5f, 1.0f, 1e-5f, 0.99e-5f, 0.0f, 1.01e-5f};

void diagonal(const float*, qx::ColumnMatrix values, int, int) noexcept {
    for (int i = 0; i < values.rows; ++i) {
        for (int j = 0; j < values.columns; ++j)
            values.at(i, j) = i == j ? kDiagonal[j] : 0.0f;
    }
}

// Coefficients, and behind them chi-square and fitResult.
void expectFit(const Fit& fit, const Doubles& expected) {
    EXPECT_EQ(0, fit.status);
    EXPECT_EQ(kPoison, fit.a.back());
    Floats found(fit.a.begin(), fit.a.end() - 1);
    found.insert(found.end(), {fit.chiSquare, fit.fitResult});
    for (std::size_t k = 0; k < expected.size(); ++k)
        EXPECT_TRUE(std::fabs(expected[k] - found[k]) < 5e-6 * (1 + std::fabs(expected[k])) ||
                    (std::isnan(expected[k]) && std::isnan(found[k])))
            << "value " << k << ": " << found[k] << " instead of " << expected[k];
}

TEST_F(Svdfit, by_hand) {
    expectFit(fitted(Samples({-1, 1, 3, 5}), 2, line), {-1, 2, 0, 1});
    expectFit(fitted(Samples({1, 3, 2, 6}), 2, line), {0.9, 1.4, 4.2, 0.7});
    expectFit(fitted(Samples({4, 4, 4, 4}), 2, line), {4, 0, 0, kNan});
    Samples weighted({10, 20});
    weighted.sigma[0] = 0.5f;
    expectFit(fitted(weighted, 1, passedThrough, 9, 8), {12, 80, kNan});
    // A hundred thousandth of the largest singular value stays, less does not.
    const Fit edited = fitted(Samples(Floats(kDiagonal, kDiagonal + 6)), 6, diagonal);
    expectFit(edited, {1, 1, 1, 0, 0, 1, 0, 1});
    EXPECT_EQ((Floats{2e-5f, 1, 1e-5f, 0, 0, 1.01e-5f}), edited.w);
    Lines lines = logLines();
    lines.erase(lines.begin(), lines.begin() + 3);
    lines.resize(3);
    EXPECT_EQ((Lines{"Utils  | I | <svdfit> begins", "Utils  | I | fitResult=0.700",
                     "Utils  | I | <svdfit> terminates with a return value 0"}),
              lines);
}

TEST_F(Svdfit, failure_to_converge_is_told_and_leaves_the_outputs) {
    const std::string text = "svdfit failed, no convergence in 30 svdcmp iterations";
    Samples odd({1, 2, 3, 4});
    odd.sigma.assign(4, kNan);
    Lines expected;
    for (int debug : {0, 1}) {
        setDebug(debug);
        Fit fit;
        const std::string printed = printedBy([&] { fit = fitted(odd, 2, line); });
        EXPECT_EQ("no convergence in 30 svdcmp iterations" + (debug != 0 ? text + "\n" : ""), printed);
        EXPECT_EQ(1079, fit.status);
        EXPECT_EQ(Floats(3, kPoison), fit.a);
        EXPECT_EQ((Floats{kPoison, kPoison}), (Floats{fit.chiSquare, fit.fitResult}));
        expected.insert(expected.end(), {"Utils  | I | <svdfit> begins", "Utils  | E | " + text,
                                         "Utils  | I | <svdfit> terminates with a return value 1079"});
    }
    EXPECT_EQ(expected, logLines());
}

// Pixels may come in any order: the first ones jump, the last ones follow each other into the next row.
TEST(SurfaceBasis, counts_columns_and_rows_from_the_middle_pixel) {
    const struct {
        int width, height;
        std::vector<std::array<double, 3>> places;  // abscissa, x, y
    } images[] = {{5, 4, {{20, 2, 1}, {1, -2, -2}, {13.75, 0, 0}, {4, 1, -2}, {5, 2, -2}, {6, -2, -1}, {7, -1, -1}}},
                  {1, 3, {{1, 0, -1}, {2, 0, 0}, {3, 0, 1}}},
                  {3072, 2048, {{1, -1536, -1024}, {3072, 1535, -1024}, {3073, -1536, -1023}}},
                  // From 2^24 on whole numbers have gaps, and one more or less is rounded.
                  {6000, 6000, {{0x1p24, -1785, -204}, {0x1p24, -1785, -204}, {0x1p24 + 2, -1784, -204}}},
                  {2000000000, 1, {{1, -1e9, 0}}}};
    for (const auto& image : images) {
        const auto& [width, height, places] = image;
        Floats abscissas;
        for (const auto& place : places)
            abscissas.push_back(static_cast<float>(place[0]));
        const int rows = static_cast<int>(places.size());
        for (int count : {6, 10}) {
            Floats values(rows * count + 1, kPoison);
            (count == 6 ? qx::quadraticBasis : qx::cubicBasis)(abscissas.data(), {values.data(), rows, count}, width,
                                                               height);
            Floats expected = matrixOf(rows, count, [&](int i, int j) {
                const auto [abscissa, x, y] = image.places[i];
                return Doubles{1, x, y, x * y, x * x, y * y, x * x * y, x * y * y, x * x * x, y * y * y}[j];
            });
            expected.push_back(kPoison);
            EXPECT_EQ(expected, values) << width << " x " << height;
        }
    }
}

TEST(QuadricToPeakModel, by_hand) {
    // A is the larger root of A^2 - 8 A - 9, not the peak's 17.
    Floats model(7, kPoison);
    qx::quadricToPeakModel(Floats{8, 2, 4, 18, -1, -0.5f}.data(), model.data());
    EXPECT_EQ((Floats{9, 2 / 18.0f, 4 / 72.0f, -2, 1, 4, kPoison}), model);
    // A valley deeper than the square allows, and no curvature along x.
    for (const Floats& c : {Floats{1, -2, 4, 18, 1, 0.125f}, Floats{8, 2, 4, 18, 0, -0.5f}}) {
        qx::quadricToPeakModel(c.data(), model.data());
        EXPECT_EQ(c[4] != 0, std::isfinite(model[4]));
        EXPECT_EQ(4 / (-2 * c[5]), model[5]);
        EXPECT_TRUE(std::all_of(model.begin(), model.begin() + 4, [](float value) { return std::isnan(value); }));
    }
}

}  // namespace
