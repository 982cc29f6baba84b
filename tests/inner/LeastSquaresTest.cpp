#include "Compare.h"
#include "DetectorFixture.h"
#include "PlainFits.h"

#include "numerics/LinearLeastSquares.h"
#include "numerics/SingularValues.h"
#include "numerics/SurfaceModel.h"

#include <eigen3/Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

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
constexpr char kNotConverged[] = "no convergence in 30 svdcmp iterations";

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
    plain::RowMatrix u(rows, columns);
    plain::RowMatrix v(columns, columns);
    Floats w(columns + 1);
    for (int k = 0; k < rows * columns; ++k)
        u[k % rows + 1][k / rows + 1] = matrix[k];
    Decomposition d;
    d.status = plain::svdcmp(u.rows(), rows, columns, w.data(), v.rows());
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
void expectDecomposition(const Floats& matrix, int rows, int columns, const Doubles& singularValues) {
    const Decomposition d = decomposed(matrix, rows, columns);
    ASSERT_EQ(0, d.status);
    Floats sorted = d.w;
    std::sort(sorted.rbegin(), sorted.rend());
    const double largest = singularValues[0];
    for (int k = 0; k < columns; ++k) {
        EXPECT_NEAR(singularValues[k], sorted[k], 3e-6 * largest) << "singular value " << k;
        EXPECT_GE(sorted[k], 0);
    }
    const MatrixXd u = asDouble(d.u, rows, columns);
    const MatrixXd w = asDouble(d.w, columns, 1).asDiagonal();
    const MatrixXd v = asDouble(d.v, columns, columns);
    EXPECT_LE((u * w * v.transpose() - asDouble(matrix, rows, columns)).cwiseAbs().maxCoeff(), 1e-5 * largest);
    const MatrixXd one = MatrixXd::Identity(columns, columns);
    const MatrixXd there = one.array() * (w.array() > 1e-5 * largest).cast<double>();
    EXPECT_LE((v.transpose() * v - one).cwiseAbs().maxCoeff(), 1e-5);
    EXPECT_LE((there * (u.transpose() * u - one) * there).cwiseAbs().maxCoeff(), 3e-5);
}

Element byRow(int columns, Doubles values) {
    return [columns, values](int i, int j) { return values[i * columns + j]; };
}

Element design(plain::FitBasis basis, int count, int width, int height) {
    return [=](int i, int j) {
        float values[10];
        basis(static_cast<float>(i + 1), values, count, width, height);
        return values[j];
    };
}

void expectPublished(int rows, int columns, const Element& element, const Doubles& singularValues) {
    SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(columns));
    expectDecomposition(matrixOf(rows, columns, element), rows, columns, singularValues);
}

TEST(Svdcmp, published_matrices) {
    expectPublished(8, 5, byRow(5, {22, 10, 2, 3,  7, 14, 7, 10, 0, 8,  -1, 13, -1, -11, 3, -3, -2, 13, -2, 4,
                                    9,  8,  1, -2, 4, 9,  1, -7, 5, -1, 2,  -6, 6,  5,   1, 4,  5,  0,  -2, 2}),
                    {std::sqrt(1248), 20, std::sqrt(384), 0, 0});
    expectPublished(
        4, 4,
        byRow(4, {16, -120, 240, -140, -120, 1200, -2700, 1680, 240, -2700, 6480, -4200, -140, 1680, -4200, 2800}),
        {10341.015243715688, 148.40596546051063, 5.9122193791123525, 0.66657144468770313});
    expectPublished(
        5, 5, [](int i, int j) { return std::pow(i + 1, 4 - j); },
        {695.84175855785224, 18.249862985735678, 2.0018248184114298, 0.42607335789538586, 0.026589608532538628});
    expectPublished(6, 6, [](int i, int j) { return 1.0 / (i + j + 1); },
                    {1.6188998589243391, 0.24236087057520952, 0.016321521319875808, 0.00061574835418264095,
                     1.2570757122647529e-05, 1.0827994845022364e-07});
    expectPublished(3, 3, [](int i, int j) { return i == j ? 1 : 0; }, {1, 1, 1});
    expectPublished(5, 3, [](int, int) { return 0; }, {0, 0, 0});
    expectPublished(6, 3, byRow(3, {1, 0, 0, 2, 0, 1, 3, 0, 4, 4, 0, 2, 5, 0, 2, 6, 0, 4}),
                    {11.283926285909878, 2.1617140361648541, 0});
    expectPublished(6, 4, [](int i, int j) { return j < 2    ? i
                                                    : j == 2 ? 1
                                                             : i * i; },
                    {32.958488687789668, 2.7954287539572911, 0.96104188170405347, 0});
    expectPublished(5, 1, byRow(1, {3, 4, 0, 0, 12}), {13});
    expectPublished(861, 6, design(plain::quadraticBasis, 6, 41, 21),
                    {5570.2110539400155, 2102.3320384753679, 1184.3321314410668, 347.18870949384319, 177.67948671695339,
                     15.659406143046189});
    expectPublished(3072, 10, design(plain::cubicBasis, 10, 64, 48),
                    {712697.23241386667, 420430.91689446417, 186326.32627967314, 177821.9274564427, 26743.221716748878,
                     14116.36045004679, 11133.89911259918, 373.96725192057391, 280.49967990038994, 29.572137991939879});
    // Negative values are turned around, the order stays.
    EXPECT_EQ((Floats{2, 5, 3}), decomposed({-2, 0, 0, 0, -5, 0, 0, 0, 3}, 3, 3).w);
}

TEST(Svdcmp, agrees_with_a_decomposition_in_double_precision) {
    SplitMix64 random(5);
    for (int columns = 1; columns <= 10; ++columns) {
        for (int rows : {columns, columns + 1, 2 * columns, 40, 200}) {
            for (const double scale : {1.0, 1e-15, 1e15}) {
                SCOPED_TRACE(std::to_string(rows) + " x " + std::to_string(columns));
                const Floats matrix = matrixOf(rows, columns, [&](int, int) { return scale * random.gaussian(); });
                const auto truth = Eigen::JacobiSVD<MatrixXd>(asDouble(matrix, rows, columns)).singularValues().eval();
                expectDecomposition(matrix, rows, columns, Doubles(truth.begin(), truth.end()));
            }
        }
    }
}

constexpr struct {
    const char* name;
    double (*element)(SplitMix64&, int row, int column);
} kKinds[] = {
    {"noise", [](SplitMix64& random, int, int) { return random.gaussian(); }},
    {"small whole numbers", [](SplitMix64& random, int, int) { return random.below(3) - 1.0; }},
    {"mostly zero", [](SplitMix64& random, int, int) { return random.below(5) == 0 ? random.gaussian() : 0.0; }},
    {"zero column", [](SplitMix64& random, int, int column) { return column == 1 ? 0.0 : random.gaussian(); }},
    {"equal columns", [](SplitMix64&, int row, int column) { return std::cos(row * row + column / 2); }},
    {"rank one", [](SplitMix64&, int row, int column) { return (row + 1.0) * (column + 1.0); }},
    {"powers", [](SplitMix64&, int row, int column) { return std::pow(row - 7.0, column); }},
    {"diagonal", [](SplitMix64&, int row, int column) { return row == column ? 5.0 - row : 0.0; }},
    {"tiny", [](SplitMix64& random, int, int) { return 1e-41 * random.gaussian(); }},
    {"large", [](SplitMix64& random, int, int) { return 1e17 * random.gaussian(); }},
    {"overflowing", [](SplitMix64& random, int, int) { return 1e35 * random.gaussian(); }},
    {"of every size",
     [](SplitMix64& random, int, int) { return std::pow(10, random.below(60) - 30) * random.gaussian(); }},
};

// With more columns than rows too, as images of a few pixels give.
TEST(Svdcmp, equals_the_plain_method_bit_for_bit) {
    std::vector<std::pair<Floats, int>> failing;  // and their rows
    for (const auto& [name, element] : kKinds) {
        SplitMix64 random(99);
        for (int rows = 1; rows <= 40; ++rows) {
            for (int columns = 1; columns <= 10; ++columns) {
                const Floats matrix =
                    matrixOf(rows, columns, [&, at = element](int i, int j) { return at(random, i, j); });
                const Decomposition expected = plainlyDecomposed(matrix, rows, columns);
                if (expected.status != 0) {
                    failing.emplace_back(matrix, rows);
                    continue;
                }
                const Decomposition actual = decomposed(matrix, rows, columns);
                SCOPED_TRACE(std::string(name) + ", " + std::to_string(rows) + " x " + std::to_string(columns));
                ASSERT_EQ(0, actual.status);
                ASSERT_TRUE(sameBitsOrNanEverywhere(expected.w, actual.w));
                ASSERT_TRUE(sameBitsOrNanEverywhere(expected.u, actual.u));
                ASSERT_TRUE(sameBitsOrNanEverywhere(expected.v, actual.v));
            }
        }
    }
    std::vector<int> statuses;
    printedBy([&] {
        for (const auto& [matrix, rows] : failing)
            statuses.push_back(decomposed(matrix, rows, static_cast<int>(matrix.size()) / rows).status);
    });
    EXPECT_LT(100u, failing.size());
    EXPECT_EQ(std::vector<int>(failing.size(), 1079), statuses);
}

TEST(Svdcmp, elements_that_are_not_numbers_end_the_sweeps) {
    for (const float odd : {kNan, HUGE_VALF}) {
        for (int columns : {1, 2, 6}) {
            for (int place = 0; place < 12 * columns; place += 5) {
                Floats matrix = matrixOf(12, columns, [](int i, int j) { return std::pow(i - 5.0, j); });
                matrix[place] = odd;
                Decomposition d;
                const std::string printed = printedBy([&] { d = decomposed(matrix, 12, columns); });
                EXPECT_EQ(d.status == 0 ? "" : kNotConverged, printed);
                const bool finite = std::all_of(d.w.begin(), d.w.end(), [](float w) { return std::isfinite(w); });
                EXPECT_TRUE(d.status == 1079 || (d.status == 0 && !finite)) << d.status << ", place " << place;
            }
        }
    }
}

TEST(SvdBackSubstitute, leaves_out_components_without_a_singular_value) {
    Floats u = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    Floats v = {0, 1, 0, 1, 0, 0, 0, 0, -1};  // exchanges the first two, turns the third
    const float w[] = {2, 4, 0};
    const float b[] = {6, 20, 9};
    Floats a(4, kPoison);
    EXPECT_EQ(0, qx::svdBackSubstitute({u.data(), 3, 3}, w, {v.data(), 3, 3}, b, a.data()));
    EXPECT_EQ((Floats{5, 3, 0, kPoison}), a);
}

using Svdfit = qx::test::DetectorFixture;

// What a fit hands back, with poison behind the coefficients.
struct Fit {
    int status = 0;
    Floats a, w;
    float chiSquare = kPoison;
    float fitResult = kPoison;

    Floats all() const {
        Floats values = {chiSquare, fitResult};
        values.insert(values.end(), a.begin(), a.end());
        values.insert(values.end(), w.begin(), w.end());
        return values;
    }
};

// x, y and deviations; x counts from 0.
struct Samples {
    Floats x, y, sigma;
    explicit Samples(Floats values) : y(std::move(values)), sigma(y.size(), 1.0f) {
        for (std::size_t i = 0; i < y.size(); ++i)
            x.push_back(static_cast<float>(i));
    }
    int count() const { return static_cast<int>(y.size()); }
};

// The plain method asks for the values at one abscissa, the library for those at all of them.
struct Basis {
    int count;
    plain::FitBasis at;
    qx::FitBasis fill;
    int first = 0, second = 0;
};

template <plain::FitBasis at>
void fillBy(const float* abscissas, qx::ColumnMatrix values, int first, int second) noexcept {
    Floats row(values.columns);
    for (int i = 0; i < values.rows; ++i) {
        at(abscissas[i], row.data(), values.columns, first, second);
        for (int j = 0; j < values.columns; ++j)
            values.at(i, j) = row[j];
    }
}

template <plain::FitBasis at>
Basis basisOf(int count, int first = 0, int second = 0) {
    return {count, at, fillBy<at>, first, second};
}

Fit fitted(const Samples& s, const Basis& basis) {
    const int m = s.count(), n = basis.count;
    Floats u(m * n, kPoison);
    Floats v(n * n, kPoison);
    Fit fit{0, Floats(n + 1, kPoison), Floats(n, kPoison)};
    fit.status =
        qx::svdfit({s.x.data(), s.y.data(), s.sigma.data(), m}, basis.first, basis.second, fit.a.data(),
                   {{u.data(), m, n}, {v.data(), n, n}, fit.w.data()}, fit.chiSquare, basis.fill, fit.fitResult);
    return fit;
}

// Element 0 of the plain method's arrays is not looked at.
Fit plainlyFitted(const Samples& s, const Basis& basis) {
    const int m = s.count(), n = basis.count;
    plain::RowMatrix u(m, n);
    plain::RowMatrix v(n, n);
    Fit fit{0, Floats(n + 1, kPoison), Floats(n, kPoison)};
    fit.status = plain::svdfit(s.x.data() - 1, s.y.data() - 1, s.sigma.data() - 1, m, basis.first, basis.second,
                               fit.a.data() - 1, n, u.rows(), v.rows(), fit.w.data() - 1, &fit.chiSquare, basis.at,
                               fit.fitResult);
    return fit;
}

void powers(float x, float* values, int count, int, int) noexcept {
    for (int k = 0; k < count; ++k)
        values[k] = k == 0 ? 1.0f : values[k - 1] * x;
}

void oneZeroAndX(float x, float* values, int, int, int) noexcept {
    values[0] = 1.0f;
    values[1] = 0.0f;
    values[2] = x;
}

void passedThrough(float, float* values, int, int first, int second) noexcept {
    values[0] = static_cast<float>(first - second);
}

constexpr float kDiagonal[] = {2e-5f, 1.0f, 1e-5f, 0.99e-5f, 0.0f, 1.01e-5f};

void diagonal(float x, float* values, int count, int, int) noexcept {
    for (int k = 0; k < count; ++k)
        values[k] = static_cast<int>(x) == k ? kDiagonal[k] : 0.0f;
}

void notNumbers(float, float* values, int count, int, int) noexcept {
    std::fill_n(values, count, kNan);
}

// Coefficients, and behind them chi-square and fitResult.
void expectFit(const Samples& samples, const Basis& basis, const Doubles& expected) {
    const Fit fit = fitted(samples, basis);
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
    expectFit(Samples({-1, 1, 3, 5}), basisOf<powers>(2), {-1, 2, 0, 1});
    expectFit(Samples({1, 3, 2, 6}), basisOf<powers>(2), {0.9, 1.4, 4.2, 0.7});
    expectFit(Samples({7, 5, 3, 1}), basisOf<oneZeroAndX>(3), {7, 0, -2, 0, 1});
    expectFit(Samples({4, 4, 4, 4}), basisOf<powers>(2), {4, 0, 0, kNan});
    Samples weighted({10, 20});
    weighted.sigma[0] = 0.5f;
    expectFit(weighted, basisOf<passedThrough>(1, 9, 8), {12, 80, kNan});
    // A hundred thousandth of the largest singular value stays, less does not.
    const Samples diagonals(Floats(kDiagonal, kDiagonal + 6));
    expectFit(diagonals, basisOf<diagonal>(6), {1, 1, 1, 0, 0, 1, 0, 1});
    EXPECT_EQ((Floats{2e-5f, 1, 1e-5f, 0, 0, 1.01e-5f}), fitted(diagonals, basisOf<diagonal>(6)).w);
    Lines lines = logLines();
    lines.resize(6);
    EXPECT_EQ((Lines{"Utils  | I | <svdfit> begins", "Utils  | I | fitResult=1.000",
                     "Utils  | I | <svdfit> terminates with a return value 0", "Utils  | I | <svdfit> begins",
                     "Utils  | I | fitResult=0.700", "Utils  | I | <svdfit> terminates with a return value 0"}),
              lines);
}

TEST_F(Svdfit, equals_the_plain_method_bit_for_bit) {
    setLogLevel(3);
    SplitMix64 random(3);
    for (const Basis& basis : {basisOf<powers>(1),
                               basisOf<powers>(2),
                               basisOf<powers>(4),
                               basisOf<powers>(7),
                               basisOf<oneZeroAndX>(3),
                               basisOf<diagonal>(6),
                               {6, plain::quadraticBasis, qx::quadraticBasis, 17, 11},
                               {10, plain::cubicBasis, qx::cubicBasis, 12, 15}}) {
        for (int m : {1, 2, 3, 5, 6, 7, 10, 11, 30, 180}) {
            for (int kind = 0; kind < 4; ++kind) {
                Samples samples(Floats(m, 5.0f));
                for (int i = 0; i < m; ++i) {
                    samples.x[i] += basis.first > 0 ? 1.0f : 0.0f;
                    samples.y[i] += kind > 0 ? static_cast<float>(i + 20 * random.gaussian()) : 0.0f;
                    samples.sigma[i] = kind > 1 ? static_cast<float>(0.1 + random.uniform()) : 1.0f;
                }
                if (kind == 3)
                    samples.y[m / 2] = kNan;
                const Fit expected = plainlyFitted(samples, basis);
                const Fit actual = fitted(samples, basis);
                ASSERT_EQ(expected.status, actual.status);
                ASSERT_TRUE(sameBitsOrNanEverywhere(expected.all(), actual.all()))
                    << basis.count << " coefficients, " << m << " samples, kind " << kind;
            }
        }
    }
}

TEST_F(Svdfit, failure_to_converge_is_told_and_leaves_the_outputs) {
    const std::string text = "svdfit failed, no convergence in 30 svdcmp iterations";
    Lines expected;
    for (int debug : {0, 1}) {
        setDebug(debug);
        Fit fit;
        EXPECT_EQ(kNotConverged + (debug != 0 ? text + "\n" : ""), printedBy([&] {
                      fit = fitted(Samples({1, 2, 3, 4}), basisOf<notNumbers>(3));
                  }));
        EXPECT_EQ(1079, fit.status);
        EXPECT_EQ(Floats(4, kPoison), fit.a);
        EXPECT_EQ((Floats{kPoison, kPoison}), (Floats{fit.chiSquare, fit.fitResult}));
        expected.insert(expected.end(), {"Utils  | I | <svdfit> begins", "Utils  | E | " + text,
                                         "Utils  | I | <svdfit> terminates with a return value 1079"});
    }
    EXPECT_EQ(expected, logLines());
}

// Pixels may come in any order: the first ones jump, the last ones follow each other into the next row.
TEST(SurfaceBasis, counts_columns_and_rows_from_the_middle_pixel) {
    struct Place {
        float abscissa;
        double x, y;
    };
    const struct {
        int width, height;
        std::vector<Place> places;
    } images[] = {{5, 4, {{20, 2, 1}, {1, -2, -2}, {13.75f, 0, 0}, {4, 1, -2}, {5, 2, -2}, {6, -2, -1}, {7, -1, -1}}},
                  {4, 7, {{1, -2, -3}}},
                  {1, 1, {{1, 0, 0}}},
                  {1, 3, {{1, 0, -1}, {2, 0, 0}, {3, 0, 1}}},
                  {3072, 2048, {{1, -1536, -1024}, {3072, 1535, -1024}, {3073, -1536, -1023}}},
                  {131072, 2, {{1, -65536, -1}, {3, -65534, -1}}},
                  // From 2^24 on whole numbers have gaps, and one more or less is rounded.
                  {6000, 6000, {{0x1p24f, -1785, -204}, {0x1p24f, -1785, -204}, {0x1p24f + 2, -1784, -204}}},
                  {2000000000, 1, {{1, -1e9, 0}}}};
    for (const auto& [width, height, places] : images) {
        Floats abscissas;
        for (const Place& place : places)
            abscissas.push_back(place.abscissa);
        const int rows = static_cast<int>(places.size());
        for (int count : {6, 10}) {
            Floats values(rows * count + 1, kPoison);
            (count == 6 ? qx::quadraticBasis : qx::cubicBasis)(abscissas.data(), {values.data(), rows, count}, width,
                                                               height);
            Floats expected = matrixOf(rows, count, [&](int i, int j) {
                const auto [abscissa, x, y] = places[i];
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
