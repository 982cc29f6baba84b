#include "Compare.h"
#include "DetectorFixture.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>

#include <array>
#include <climits>
#include <cmath>
#include <limits>
#include <numeric>

namespace {

namespace plain = qx::plain;
using qx::test::printedBy;
using qx::test::sameBitsOrNanEverywhere;
using qx::test::SplitMix64;
using Floats = std::vector<float>;
using Lines = std::vector<std::string>;

constexpr float kPoison = -4711.0f;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using DoSurfaceFit = qx::test::DetectorFixture;
using SurfaceFits = qx::test::DetectorFixture;
using SurfaceFormulas = qx::test::DetectorFixture;

using Image = qx::test::ImageOf<float>;

// Value at(row, col) for every pixel.
template <class Value>
Image imageOf(int width, int height, Value at) {
    Image image{width, height, {}};
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col)
            image.pixels.push_back(static_cast<float>(at(row, col)));
    }
    return image;
}

using Fit = int (*)(float*, int, float&, const float*, int, int, float*, float*);
constexpr Fit kFits[] = {doSurfaceFit, doSurfaceFitUsingGeneralFormula, doSurfaceFitUsingCubFormula};

// What a fit hands back, with poison behind each output.
struct Fitted {
    Floats model = Floats(7, kPoison), coefficients = Floats(11, kPoison), residuals = Floats(4, kPoison);
    float quality = kPoison;
    std::string printed;

    // All numbers.
    Floats all() const {
        Floats values = {quality};
        for (const Floats* part : {&model, &coefficients, &residuals})
            values.insert(values.end(), part->begin(), part->end());
        return values;
    }
};

Fitted fitted(Fit fit, const Image& image, int n = 10) {
    Fitted out;
    out.printed = printedBy([&] {
        EXPECT_EQ(0, fit(out.model.data(), n, out.quality, image.pixels.data(), image.width, image.height,
                         out.coefficients.data(), out.residuals.data()));
    });
    return out;
}

// Values that are not a number stand for any, poison may only follow.
void expectNear(const std::vector<double>& expected, const Floats& actual, double tolerance) {
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_TRUE(std::isnan(expected[i]) ||
                    std::fabs(expected[i] - actual[i]) <= tolerance * std::max(1.0, std::fabs(expected[i])))
            << "element " << i << ": " << actual[i] << " instead of " << expected[i];
    EXPECT_TRUE(actual.size() == expected.size() || actual.back() == kPoison);
}

// 41 columns, 21 rows, the peak of 100 in row 10.
Image peakAtColumn(int peak) {
    return imageOf(41, 21, [=](int row, int col) {
        return 100 * (1 - 0.001 * (row - 10) * (row - 10) - 0.002 * (col - peak) * (col - peak));
    });
}

// x is the row and y the column. Every coefficient is a short binary fraction; the cubic row pattern is no part of any
// quadratic, so that it is the residual.
TEST_F(DoSurfaceFit, prints_and_logs_the_fit_and_triples_the_residual_sums) {
    constexpr double a[3][3] = {{7.25, 1, -0.5}, {1, 0.25, 0.125}, {-1, -0.25, 0.0625}};
    constexpr double kCubic[4] = {-0.125, 0.375, -0.375, 0.125};
    const Image image = imageOf(5, 4, [&](int row, int col) {
        double value = kCubic[row];
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j)
                value += a[i][j] * std::pow(row - 1.5, i) * std::pow(col - 2, j);
        }
        return value;
    });
    const std::string printed = "a=\n"
                                "7.250000\t1.000000\t-0.500000\t\n"
                                "1.000000\t0.250000\t0.125000\t\n"
                                "-1.000000\t-0.250000\t0.062500\t\n"
                                "dt=\n"
                                "1.562500\t5.000000\t0.375000\t\n"
                                "fit formual:\n"
                                "F(x,y)=8.000000[1-0.125000(x-2.000000)^2-0.062500(y-3.000000)^2--0.031250xy]\n";
    const Fitted fit = fitted(doSurfaceFit, image, -3);
    EXPECT_EQ(printed, fit.printed);
    EXPECT_EQ((Lines{"Utils  | I | a= ", "Utils  | I | 7.250000\t1.000000\t-0.500000",
                     "Utils  | I | 1.000000\t0.250000\t0.125000", "Utils  | I | -1.000000\t-0.250000\t0.062500"}),
              logLines());
    setDebug(1);
    EXPECT_EQ(printed, fitted(doSurfaceFit, image).printed);
    expectNear({8, 0.125, 0.0625, -0.03125, 2, 3}, fit.model, 1e-6);
    expectNear({7.25, 1, -0.5, 1, 0.25, 0.125, -1, -0.25, 0.0625}, fit.coefficients, 1e-6);
    expectNear({4.6875, 15, 0.375}, fit.residuals, 1e-5);
    double sum = 0, squares = 0;
    for (const double value : image.pixels) {
        sum += value;
        squares += value * value;
    }
    EXPECT_NEAR(1 - 1.5625 / (squares - sum * sum / 20), fit.quality, 1e-5);
}

TEST_F(DoSurfaceFit, constant_image_and_one_with_a_nan_have_no_finite_model) {
    const auto expectNoModel = [](const Fitted& fit) {
        EXPECT_TRUE(std::none_of(fit.model.begin(), fit.model.end() - 1, [](float x) { return std::isfinite(x); }));
        EXPECT_TRUE(std::isnan(fit.quality));
    };
    // More pixels than a sum in single precision could count.
    for (const auto& [width, height] : {std::pair{41, 21}, {3, 3}, {64, 33}, {700, 500}}) {
        for (double level : {52000.0, -3.0, 0.1}) {
            const Fitted fit = fitted(doSurfaceFit, imageOf(width, height, [=](int, int) { return level; }));
            expectNoModel(fit);
            expectNear({level, 0, 0, 0, 0, 0, 0, 0, 0}, fit.coefficients, 1e-6);
        }
    }
    Image image = peakAtColumn(25);
    image.pixels[400] = kNan;
    const Fitted none = fitted(doSurfaceFit, image);
    expectNoModel(none);
    EXPECT_TRUE(sameBitsOrNanEverywhere(Floats{kNan, kNan, 0, kPoison}, none.residuals));
}

// The first sum that single precision rounds is that of 5794 indices.
TEST_F(DoSurfaceFit, means_of_rows_and_columns_are_single_precision_sums) {
    Floats indices(6000);
    std::iota(indices.begin(), indices.end(), 0.0f);
    const float mean = std::accumulate(indices.begin(), indices.end(), 0.0f) / 6000;
    ASSERT_NE(2999.5f, mean);
    const auto at = [](int row, int col) { return std::pow((row + col) / 1000.0 - 2, 2); };
    const Fitted flat = fitted(doSurfaceFit, imageOf(6000, 1, at));
    EXPECT_EQ(mean - flat.coefficients[1] / (2 * flat.coefficients[2]), flat.model[5]);
    const Fitted tall = fitted(doSurfaceFit, imageOf(1, 6000, at));
    EXPECT_EQ(mean - tall.coefficients[3] / (2 * tall.coefficients[6]), tall.model[4]);
}

std::vector<Image> images(int width, int height) {
    SplitMix64 random(static_cast<std::uint64_t>(width) * 1009 + static_cast<std::uint64_t>(height));
    const double meanRow = (height - 1) / 2.0, meanCol = (width - 1) / 2.0;
    const auto of = [=](auto at) { return imageOf(width, height, at); };
    return {of([](int row, int col) { return 700 - 0.3 * (row - 4) * (row - 4) - 0.2 * col * col; }),
            of([&](int row, int col) {
                return 52000 - std::pow(row - meanRow, 2) - 2 * std::pow(col - meanCol, 2) + 195 * random.gaussian();
            }),
            of([&](int, int) { return random.below(65536); }), of([&](int, int) { return random.gaussian(); }),
            of([](int row, int col) { return (row + col) % 2 * 65535; }),
            of([=](int, int col) { return col < width / 3 ? 208 : 52000; }),
            // Steps of the last bit, so that the rounded surface and the image differ in their means.
            of([](int row, int) { return 16'000'000 + row / 20; }),
            of([](int row, int col) { return row * 13 + col * col * col * 0.01; })};
}

constexpr int kSizes[][2] = {{1, 1}, {1, 3}, {2, 2}, {5, 1}, {3, 2}, {3, 3}, {4, 3}, {16, 9}, {41, 21}, {33, 64}};

// As the plain method within a rounding to single precision, and with the same bits at every vector level. A surface
// without any slope has no correlation; what rounding leaves of one has hardly any.
void expectPlainFit(const Image& image) {
    const Fitted expected = fitted(plain::doSurfaceFit, image);
    const auto [low, high] = std::minmax_element(image.pixels.begin(), image.pixels.end());
    const double range = std::max(std::fabs(double{*low}), std::fabs(double{*high}));
    const auto correlation = [](const Fitted& fit) { return std::isnan(fit.quality) ? 0.0 : fit.quality; };
    Floats first;
    qx::test::atEachVectorLevel([&] {
        const Fitted fit = fitted(doSurfaceFit, image);
        for (int i = 0; i < 9; ++i)
            EXPECT_NEAR(expected.coefficients[i], fit.coefficients[i], 1e-6 * range) << i;
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(expected.residuals[i], fit.residuals[i], 1e-6 * (range + std::fabs(expected.residuals[i])))
                << i;
        EXPECT_NEAR(correlation(expected), correlation(fit), 2e-7);
        first = first.empty() ? fit.all() : first;
        EXPECT_TRUE(sameBitsOrNanEverywhere(first, fit.all()));
    });
}

TEST_F(DoSurfaceFit, agrees_with_the_plain_method_and_levels_with_each_other) {
    setLogLevel(3);
    for (const auto& [width, height] : kSizes) {
        const std::vector<Image> all = images(width, height);
        for (const Image& image : all) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", image " +
                         std::to_string(&image - all.data()));
            expectPlainFit(image);
        }
    }
    // So many squares that a sum in single precision would take each of them for more than it is.
    expectPlainFit(imageOf(700, 700, [](int row, int col) {
        return 3000 - 0.0125 * (row - 320) * (row - 320) - 0.00625 * (col - 370) * (col - 370) +
               ((row + col) % 2 == 0 ? 100.5 : -100.5);
    }));
}

// Noise at uneven places, n rows at x and m columns at y.
TEST(FitSurfaceLeastSquares, agrees_with_the_plain_method_for_every_number_of_powers_and_samples) {
    constexpr float kX[] = {-3, -1, 0, 0.5f, 4, 8.5f}, kY[] = {10, 11, 13, 20};
    const Image noise = imageOf(4, 6, [random = SplitMix64(1)](int, int) mutable { return random.gaussian(); });
    const float* z[6];
    for (int i = 0; i < 6; ++i)
        z[i] = noise.pixels.data() + 4 * i;
    for (int run = 0; run < 4 * 4 * 7 * 4; ++run) {
        const int n = std::array{1, 2, 3, 6}[run % 4], m = run / 4 % 4 + 1;
        const int p = std::array{1, 2, 3, 4, 6, 8, 25}[run / 16 % 7], q = run / 112 + 1;
        Floats expected(3 * (p + 1) + 4, kPoison), actual = expected;
        float* const dt = expected.data() + 3 * (p + 1);
        plain::FitSurfaceLeastSquares(kX, kY, z, reinterpret_cast<float(*)[3]>(expected.data()), dt, n, m, p,
                                      std::min(q, 3));
        FitSurfaceLeastSquares(kX, kY, z, reinterpret_cast<float(*)[3]>(actual.data()), actual.data() + 3 * (p + 1), n,
                               m, p, q);
        for (int i = 0; i < 3 * (p + 1) + 4; ++i)
            EXPECT_NEAR(expected[i], actual[i], i < 3 * p ? 1e-5 * (1 + std::fabs(expected[i])) : 1e-3)
                << n << " x " << m << ", " << p << " x " << q << ", number " << i;
    }
}

// A single pass of the residual sums, and abscissas that are all the same.
TEST(FitSurfaceLeastSquares, residuals_and_equal_abscissas) {
    const float x[] = {2, 2, 2}, y[] = {0, 1}, rows[3][2] = {{0, 6}, {3, 9}, {6, 12}};
    const float* const z[] = {rows[0], rows[1], rows[2]};
    Floats a(10, kPoison), dt(4, kPoison);
    FitSurfaceLeastSquares(x, y, z, reinterpret_cast<float(*)[3]>(a.data()), dt.data(), 3, 2, 3, 3);
    expectNear({6, 6, 0, 0, 0, 0, 0, 0, 0}, a, 1e-6);
    expectNear({36, 12, 3}, dt, 1e-6);
    const float same[] = {2, 2, 2, 2}, *const four[] = {rows[0], rows[1], rows[2], rows[0]};
    Floats equal(12, kPoison);
    FitSurfaceLeastSquares(same, y, four, reinterpret_cast<float(*)[3]>(equal.data()), dt.data(), 4, 2, 4, 3);
    expectNear({5.25, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, equal, 1e-6);
    // Two different abscissas carry two powers, whatever is left of the third by rounding.
    constexpr float kTwo[] = {55.6070061f, 30.8695507f, 55.6070061f, 55.6070061f};
    constexpr float kFour[] = {0, 1, 2, 3};
    const Image noise = imageOf(4, 4, [random = SplitMix64(1)](int, int) mutable { return random.uniform(); });
    const float* const noiseRows[] = {&noise.pixels[0], &noise.pixels[4], &noise.pixels[8], &noise.pixels[12]};
    Floats fits[2] = {Floats(12, 0.0f), Floats(12, 0.0f)};  // with two powers and three
    for (const int p : {2, 3}) {
        float* const out = fits[p - 2].data();
        FitSurfaceLeastSquares(kTwo, kFour, noiseRows, reinterpret_cast<float(*)[3]>(out), out + 9, 4, 4, p, 3);
    }
    EXPECT_EQ(fits[0], fits[1]);
}

// 25 samples in x of its 19th power.
TEST(FitSurfaceLeastSquares, twenty_powers_at_most) {
    constexpr float kOnly[] = {0};
    float x[25], values[25], dt[3];
    const float* rows[25];
    for (int i = 0; i < 25; ++i) {
        x[i] = static_cast<float>((i - 12) * 0.01);
        values[i] = static_cast<float>(std::pow(x[i], 19));
        rows[i] = &values[i];
    }
    Floats a(23 * 3, kPoison);
    FitSurfaceLeastSquares(x, kOnly, rows, reinterpret_cast<float(*)[3]>(a.data()), dt, 25, 1, 22, 1);
    EXPECT_NEAR(1, a[19 * 3], 0.1);
    EXPECT_EQ((Floats{0, 0, kPoison}), (Floats{a[20 * 3], a[21 * 3], a[22 * 3]}));
}

TEST_F(SurfaceFits, peak_on_and_beside_the_middle_pixel) {
    const Fitted absolute = fitted(doSurfaceFit, peakAtColumn(20));
    expectNear({100, 0.001, 0.002, 0, 10, 20}, absolute.model, 1e-6);
    expectNear({100, 0, -0.2, 0, 0, 0, -0.1, 0, 0}, absolute.coefficients, 1e-6);
    // The same peak has nothing to tell B and C from; beside it A is not the peak value.
    const Fitted middle = fitted(doSurfaceFitUsingGeneralFormula, peakAtColumn(20));
    expectNear({100, kNan, kNan, 0, 0, 0}, middle.model, 1e-4);
    expectNear({100, 0, -0.1, 0, 0, 0, -0.2, 0, 0, kPoison}, middle.coefficients, 1e-4);
    const Fitted general = fitted(doSurfaceFitUsingGeneralFormula, peakAtColumn(25));
    expectNear({95.0526, kNan, kNan, 0, 5, 0}, general.model, 2e-4);
    expectNear({95, 0, -0.1, 2, 0, 0, -0.2, 0, 0, kPoison}, general.coefficients, 1e-4);
    const Fitted cubic = fitted(doSurfaceFitUsingCubFormula, peakAtColumn(25));
    expectNear({95.0526, kNan, kNan, 0, 5, 0}, cubic.model, 5e-4);
    expectNear({95, 2, 0, 0, -0.2, -0.1, 0, 0, 0, 0}, cubic.coefficients, 1e-4);
    for (const Fitted& fit : {general, cubic}) {
        EXPECT_NEAR(0.002104, fit.model[1], 2e-6);
        EXPECT_NEAR(1.0, fit.quality, 1e-5);
        EXPECT_NEAR(0, fit.residuals[0], 0.1);
    }
}

TEST_F(SurfaceFormulas, agree_with_the_plain_method) {
    setLogLevel(3);
    for (const auto& [width, height] : kSizes) {
        std::vector<Image> all = images(width, height);
        all.push_back(imageOf(width, height, [](int, int) { return 100; }));
        all.push_back(imageOf(width, height, [](int, int) { return 0; }));
        for (const double scale : {1e-42, 1e-20, 1e20, 1e37}) {
            all.push_back(all[3]);
            for (float& pixel : all.back().pixels)
                pixel *= static_cast<float>(scale);
        }
        for (const float odd : {kNan, HUGE_VALF, -0.0f}) {
            all.push_back(all[0]);
            all.back().pixels[all[0].pixels.size() / 2] = odd;
        }
        for (std::size_t i = 0; i < all.size(); ++i) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", image " + std::to_string(i));
            for (const auto& [plainly, fit] : {std::pair<Fit, Fit>{plain::doSurfaceFitUsingGeneralFormula, kFits[1]},
                                               {plain::doSurfaceFitUsingCubFormula, kFits[2]}})
                EXPECT_TRUE(sameBitsOrNanEverywhere(fitted(plainly, all[i]).all(), fitted(fit, all[i]).all()));
        }
    }
}

TEST_F(SurfaceFormulas, cubic_formula_copies_as_many_coefficients_as_asked) {
    const Image image = images(16, 9)[1];
    const Floats all = fitted(doSurfaceFitUsingCubFormula, image).coefficients;
    for (int n : {-1, 0, 1, 6, 9, 10, 11, INT_MAX, INT_MIN}) {
        Floats expected(11, kPoison);
        std::copy_n(all.begin(), std::clamp(n, 0, 10), expected.begin());
        EXPECT_EQ(expected, fitted(doSurfaceFitUsingCubFormula, image, n).coefficients) << n;
    }
}

TEST_F(SurfaceFits, impossible_arguments_leave_the_outputs) {
    float quality = kPoison, model = kPoison, coefficient = kPoison, residual = kPoison;
    const float pixel = 3;
    for (const Fit fit : kFits) {
        for (int missing = 0; missing < 4; ++missing) {
            printedBy([&] {
                EXPECT_EQ(0, fit(missing == 0 ? nullptr : &model, 1, quality, missing == 1 ? nullptr : &pixel, 1, 1,
                                 missing == 2 ? nullptr : &coefficient, missing == 3 ? nullptr : &residual));
            });
        }
        for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-1, -1}, {INT_MIN, 1}, {65536, 65536}})
            printedBy([&, width = width, height = height] {
                EXPECT_EQ(0, fit(&model, 1, quality, &pixel, width, height, &coefficient, &residual));
            });
    }
    const float* const z = &pixel;
    float a[1][3] = {{kPoison, kPoison, kPoison}};
    constexpr int kShapes[][4] = {{0, 1, 1, 1},         {1, 0, 1, 1}, {-1, -1, 1, 1},
                                  {65536, 65536, 1, 1}, {1, 1, 0, 1}, {1, 1, 1, 0}};
    for (const auto& [n, m, p, q] : kShapes)
        FitSurfaceLeastSquares(&pixel, &pixel, &z, a, &residual, n, m, p, q);
    for (int missing = 0; missing < 5; ++missing)
        FitSurfaceLeastSquares(missing == 0 ? nullptr : &pixel, missing == 1 ? nullptr : &pixel,
                               missing == 2 ? nullptr : &z, missing == 3 ? nullptr : a,
                               missing == 4 ? nullptr : &residual, 1, 1, 1, 1);
    for (const float left : {quality, model, coefficient, residual, a[0][0], a[0][1], a[0][2]})
        EXPECT_EQ(kPoison, left);
}

}  // namespace
