#include "Compare.h"
#include "DetectorFixture.h"
#include "PlainFits.h"

#include <QxUtils/Numerics.h>

#include <array>
#include <climits>
#include <cmath>
#include <cstdio>
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

struct Image {
    int width, height;
    Floats pixels;
};

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

// The three fits, ours and plain.
using Fit = int (*)(float*, int, float&, const float*, int, int, float*, float*);

// What a fit hands back, with poison behind each output.
struct Fitted {
    Floats model = Floats(7, kPoison);
    Floats coefficients = Floats(11, kPoison);
    Floats residuals = Floats(4, kPoison);
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
void expectNear(std::initializer_list<double> expected, const Floats& actual, double tolerance) {
    std::size_t i = 0;
    for (const double value : expected) {
        if (!std::isnan(value)) {
            EXPECT_NEAR(value, actual[i], tolerance * std::max(1.0, std::fabs(value))) << "element " << i;
        }
        ++i;
    }
    if (actual.size() > i) {
        EXPECT_EQ(kPoison, actual.back());
    }
}

// 41 columns, 21 rows, the peak of 100 in row 10.
Image peakAtColumn(int peak) {
    return imageOf(41, 21, [=](int row, int col) {
        return 100 * (1 - 0.001 * (row - 10) * (row - 10) - 0.002 * (col - peak) * (col - peak));
    });
}

// x is the row and y the column; the cross term counts offsets from the mean row and column.
TEST_F(DoSurfaceFit, finds_the_surface_an_image_was_made_of) {
    const struct {
        double A, B, C, D, x0, y0;
    } surfaces[] = {{100, 0.001, 0.002, 0, 10, 25},      {52000, 2e-5, 5e-5, 0, 30.5, 12.25},
                    {1000, -0.002, 0.003, 0.0005, 3, 7}, {-40, 0.01, 0.02, -0.003, -5, 60},
                    {1e-3, 0.004, 0.001, 1e-4, 8, 0},    {3e6, 1e-4, 3e-4, 2e-4, 20, 20}};
    constexpr int kSizes[][2] = {{41, 21}, {21, 41}, {3, 3}, {4, 3}, {3, 8}, {17, 64}, {96, 33}};
    for (const auto& [A, B, C, D, x0, y0] : surfaces) {
        for (const auto& [width, height] : kSizes) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", A = " + std::to_string(A));
            const double meanRow = (height - 1) / 2.0, meanCol = (width - 1) / 2.0;
            const Image image = imageOf(width, height, [&, A = A, B = B, C = C, D = D, x0 = x0, y0 = y0](int r, int c) {
                return A * (1 - B * (r - x0) * (r - x0) - C * (c - y0) * (c - y0) - D * (r - meanRow) * (c - meanCol));
            });
            const Fitted fit = fitted(doSurfaceFit, image);
            // A small field of a flat surface does not tell its peak in single precision.
            const double tolerance = width * height < 100 ? 2e-2 : 2e-4;
            const double truth[] = {A, B, C, D, x0, y0};
            for (int i = 0; i < 6; ++i) {
                const double scale = i == 0 ? std::fabs(A) : i < 4 ? std::fabs(B) + std::fabs(C) : 20;
                EXPECT_NEAR(truth[i], fit.model[i], tolerance * scale) << "model value " << i;
            }
            EXPECT_NEAR(1.0, fit.quality, tolerance);
        }
    }
}

// Every coefficient is a short binary fraction; the cubic row pattern is no part of any quadratic, so that it is the
// residual.
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

TEST_F(DoSurfaceFit, constant_image_has_no_finite_model) {
    for (const auto& [width, height] : {std::pair{41, 21}, {3, 3}, {20, 30}, {64, 33}}) {
        for (double level : {100.0, 52000.0, -3.0}) {
            const Fitted fit = fitted(doSurfaceFit, imageOf(width, height, [=](int, int) { return level; }));
            for (int i = 0; i < 6; ++i)
                EXPECT_FALSE(std::isfinite(fit.model[i])) << i << " of " << width << " x " << height << ", " << level;
            EXPECT_TRUE(std::isnan(fit.quality)) << width << " x " << height << ", " << level;
            expectNear({level, 0, 0, 0, 0, 0, 0, 0, 0}, fit.coefficients, 1e-6);
        }
    }
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
    return {
        imageOf(width, height, [](int row, int col) { return 700 - 0.3 * (row - 4) * (row - 4) - 0.2 * col * col; }),
        imageOf(width, height,
                [&](int row, int col) {
                    return 52000 - std::pow(row - meanRow, 2) - 2 * std::pow(col - meanCol, 2) +
                           195 * random.gaussian();
                }),
        imageOf(width, height, [&](int, int) { return random.below(65536); }),
        imageOf(width, height, [&](int, int) { return random.gaussian(); }),
        imageOf(width, height, [](int row, int col) { return (row + col) % 2 * 65535; }),
        imageOf(width, height, [=](int, int col) { return col < width / 3 ? 208 : 52000; }),
        imageOf(width, height, [](int row, int col) { return row * 13 + col * col * col * 0.01; })};
}

constexpr int kSizes[][2] = {{1, 1}, {2, 1}, {1, 3},  {2, 2},  {5, 1},   {1, 7},  {3, 2},
                             {3, 3}, {4, 3}, {16, 9}, {9, 16}, {41, 21}, {33, 64}};

// Relative to the coefficient, and to the part of it that single precision pixels settle.
TEST_F(DoSurfaceFit, agrees_with_the_plain_method) {
    setLogLevel(3);
    for (const auto& [width, height] : kSizes) {
        for (const Image& image : images(width, height)) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            const Fitted expected = fitted(plain::doSurfaceFit, image);
            const Fitted actual = fitted(doSurfaceFit, image);
            Floats model(7, kPoison);
            plain::centredFitToPeakModel(actual.coefficients.data(), (height - 1) / 2.0f, (width - 1) / 2.0f,
                                         model.data());
            EXPECT_TRUE(sameBitsOrNanEverywhere(model, actual.model));
            double largest = 0;
            for (const float pixel : image.pixels)
                largest = std::max(largest, std::fabs(double{pixel}));
            for (int i = 0; i < 3; ++i) {
                for (int j = 0; j < 3; ++j) {
                    const double e = expected.coefficients[i * 3 + j];
                    const double reach =
                        std::pow(std::max(1.0, height / 2.0), i) * std::pow(std::max(1.0, width / 2.0), j);
                    EXPECT_NEAR(e, actual.coefficients[i * 3 + j], 1e-5 * std::fabs(e) + 1e-9 * largest / reach)
                        << i << ", " << j;
                }
            }
            const double pixels = width * height;
            const double rounding[] = {1e-9 * pixels * largest * largest, 1e-5 * pixels * largest, 1e-5 * largest};
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(expected.residuals[k], actual.residuals[k], 1e-3 * expected.residuals[k] + rounding[k]);
            if (width > 2 && height > 2) {
                EXPECT_NEAR(expected.quality, actual.quality, 1e-4);
            }
        }
    }
}

// Samples at uneven places of a surface with short binary fractions, n rows at x and m columns at y.
constexpr float kX[] = {-3, -1, 0, 0.5f, 4, 8.5f};
constexpr float kY[] = {10, 11, 13, 20};
constexpr double kSurface[3][3] = {{5, -1, 0.25}, {2, 0.5, -0.125}, {-3, 0.0625, 1}};

double meanOf(const float* values, int count) {
    return std::accumulate(values, values + count, 0.0) / count;
}

void expectSurface(int n, int m, int p, int q) {
    SCOPED_TRACE("n " + std::to_string(n) + ", m " + std::to_string(m) + ", p " + std::to_string(p) + ", q " +
                 std::to_string(q));
    const int powersOfX = std::min({p, n, 3});
    const int powersOfY = std::min({q, m, 3});
    const Image samples = imageOf(m, n, [&](int i, int j) {
        double value = 0;
        for (int k = 0; k < powersOfX; ++k) {
            for (int l = 0; l < powersOfY; ++l)
                value += kSurface[k][l] * std::pow(kX[i] - meanOf(kX, n), k) * std::pow(kY[j] - meanOf(kY, m), l);
        }
        return value;
    });
    std::vector<const float*> z;
    for (int i = 0; i < n; ++i)
        z.push_back(samples.pixels.data() + i * m);
    std::vector<std::array<float, 3>> a(static_cast<std::size_t>(p) + 1, {kPoison, kPoison, kPoison});
    Floats dt(4, kPoison);
    FitSurfaceLeastSquares(kX, kY, z.data(), reinterpret_cast<float(*)[3]>(a.data()), dt.data(), n, m, p, q);
    for (int k = 0; k <= p; ++k) {
        for (int l = 0; l < 3; ++l) {
            const double truth = k < powersOfX && l < powersOfY ? kSurface[k][l] : 0;
            EXPECT_NEAR(k < p && l < q ? truth : kPoison, a[k][l], 1e-5 * (1 + std::fabs(truth))) << k << ", " << l;
        }
    }
    expectNear({0, 0, 0}, dt, 1e-3);
}

TEST(FitSurfaceLeastSquares, every_number_of_powers_and_samples) {
    for (int n : {1, 2, 3, 6}) {
        for (int m : {1, 2, 3, 4}) {
            for (int p : {1, 2, 3, 4, 6, 8, 25}) {
                for (int q : {1, 2, 3, 4, 7})
                    expectSurface(n, m, p, q);
            }
        }
    }
}

// A single pass of the residual sums, and abscissas that are all the same.
TEST(FitSurfaceLeastSquares, residuals_and_equal_abscissas) {
    const float x[] = {2, 2, 2};
    const float y[] = {0, 1};
    const float rows[3][2] = {{0, 6}, {3, 9}, {6, 12}};
    const float* const z[] = {rows[0], rows[1], rows[2]};
    float a[3][3];
    float dt[3];
    FitSurfaceLeastSquares(x, y, z, a, dt, 3, 2, 3, 3);
    expectNear({6, 6, 0, 0, 0, 0, 0, 0, 0, kPoison},
               {a[0][0], a[0][1], a[0][2], a[1][0], a[1][1], a[1][2], a[2][0], a[2][1], a[2][2], kPoison}, 1e-6);
    expectNear({36, 12, 3}, {dt[0], dt[1], dt[2], kPoison}, 1e-6);
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
    Floats x, z;
    std::vector<const float*> rows;
    for (int i = -12; i <= 12; ++i) {
        x.push_back(static_cast<float>(i * 0.1));
        z.push_back(static_cast<float>(std::pow(i * 0.1, 19)));
    }
    for (const float& value : z)
        rows.push_back(&value);
    float a[23][3];
    std::fill_n(&a[0][0], 23 * 3, kPoison);
    float dt[3];
    FitSurfaceLeastSquares(x.data(), kOnly, rows.data(), a, dt, 25, 1, 22, 1);
    EXPECT_NEAR(1, a[19][0], 0.1);
    EXPECT_EQ((Floats{0, 0, kPoison}), (Floats{a[20][0], a[21][0], a[22][0]}));
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

// x counts columns and y rows, both from the middle pixel; A is the root's, not the peak's.
TEST_F(SurfaceFormulas, find_the_polynomial_an_image_was_made_of) {
    constexpr double c[10] = {3000, 11, -7, 0.5, -2, -1.5, 0.05, -0.03, 0.02, 0.04};
    for (const auto& [width, height] : {std::pair{41, 21}, {20, 30}, {9, 9}, {64, 17}}) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        for (const int terms : {6, 10}) {
            const Image image = imageOf(width, height, [&, width = width, height = height](int row, int col) {
                const double X = col - width / 2, Y = row - height / 2;
                const double basis[10] = {1, X, Y, X * Y, X * X, Y * Y, X * X * Y, X * Y * Y, X * X * X, Y * Y * Y};
                return std::inner_product(basis, basis + terms, c, 0.0);
            });
            const Fitted fit =
                fitted(terms == 6 ? doSurfaceFitUsingGeneralFormula : doSurfaceFitUsingCubFormula, image);
            if (terms == 6)
                expectNear({c[0], c[2], c[5], c[1], c[3], 0, c[4], 0, 0, kPoison}, fit.coefficients, 2e-3);
            else
                expectNear({c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7], c[8], c[9]}, fit.coefficients, 2e-3);
            const double x0 = 11 / 4.0, y0 = -7 / 3.0;
            const double A = (3000 + std::sqrt(9e6 + 4 * (2 * x0 * x0 + 1.5 * y0 * y0))) / 2;
            expectNear({A, 11 / (2 * A * x0), -7 / (2 * A * y0), -0.5 / A, x0, y0}, fit.model, 2e-3);
            EXPECT_NEAR(1.0, fit.quality, 1e-4);
        }
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
            EXPECT_TRUE(sameBitsOrNanEverywhere(fitted(plain::doSurfaceFitUsingGeneralFormula, all[i]).all(),
                                                fitted(doSurfaceFitUsingGeneralFormula, all[i]).all()));
            EXPECT_TRUE(sameBitsOrNanEverywhere(fitted(plain::doSurfaceFitUsingCubFormula, all[i]).all(),
                                                fitted(doSurfaceFitUsingCubFormula, all[i]).all()));
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

TEST_F(SurfaceFormulas, log_the_fitter_and_print_nothing) {
    Lines expected;
    setDebug(1);
    for (const Fit fit : {doSurfaceFitUsingGeneralFormula, doSurfaceFitUsingCubFormula}) {
        // The second image has nothing to correlate with.
        for (const Image& image : {images(16, 9)[1], imageOf(5, 5, [](int, int) { return 100; })}) {
            const Fitted out = fitted(fit, image);
            EXPECT_EQ("", out.printed);
            EXPECT_EQ(image.width == 5, std::isnan(out.quality));
            char text[64];
            std::snprintf(text, sizeof text, "Utils  | I | fitResult=%.3f", out.quality);
            expected.insert(expected.end(), {"Utils  | I | <svdfit> begins", text,
                                             "Utils  | I | <svdfit> terminates with a return value 0"});
        }
    }
    EXPECT_EQ(expected, logLines());
}

TEST_F(SurfaceFits, not_a_number_in_the_image_is_not_a_fit) {
    Image image = peakAtColumn(25);
    image.pixels[400] = kNan;
    for (const Fit fit : {Fit{doSurfaceFit}, Fit{doSurfaceFitUsingGeneralFormula}, Fit{doSurfaceFitUsingCubFormula}}) {
        const Fitted found = fitted(fit, image);
        if (found.all() == Fitted{}.all())
            continue;
        EXPECT_FALSE(std::isfinite(found.quality));
        for (int i = 0; i < 6; ++i)
            EXPECT_FALSE(std::isfinite(found.model[i])) << i;
    }
}

TEST_F(SurfaceFits, impossible_arguments_leave_the_outputs) {
    float quality = kPoison, model = kPoison, coefficient = kPoison, residual = kPoison;
    const float pixel = 3;
    for (const Fit fit : {Fit{doSurfaceFit}, Fit{doSurfaceFitUsingGeneralFormula}, Fit{doSurfaceFitUsingCubFormula}}) {
        for (int missing = 0; missing < 4; ++missing) {
            printedBy([&] {
                EXPECT_EQ(0, fit(missing == 0 ? nullptr : &model, 1, quality, missing == 1 ? nullptr : &pixel, 1, 1,
                                 missing == 2 ? nullptr : &coefficient, missing == 3 ? nullptr : &residual));
            });
        }
        for (const auto& [width, height] :
             {std::pair{0, 1}, {1, 0}, {-1, -1}, {INT_MIN, 1}, {65536, 65536}, {INT_MAX, 2}})
            printedBy([&] { EXPECT_EQ(0, fit(&model, 1, quality, &pixel, width, height, &coefficient, &residual)); });
    }
    const float* const z = &pixel;
    float a[1][3] = {{kPoison, kPoison, kPoison}};
    for (const auto& [n, m] : {std::pair{0, 1}, {1, 0}, {-1, -1}, {65536, 65536}, {INT_MAX, 2}})
        FitSurfaceLeastSquares(&pixel, &pixel, &z, a, &residual, n, m, 1, 1);
    for (const auto& [p, q] : {std::pair{0, 1}, {1, 0}, {-1, -1}})
        FitSurfaceLeastSquares(&pixel, &pixel, &z, a, &residual, 1, 1, p, q);
    for (int missing = 0; missing < 5; ++missing)
        FitSurfaceLeastSquares(missing == 0 ? nullptr : &pixel, missing == 1 ? nullptr : &pixel,
                               missing == 2 ? nullptr : &z, missing == 3 ? nullptr : a,
                               missing == 4 ? nullptr : &residual, 1, 1, 1, 1);
    for (const float left : {quality, model, coefficient, residual, a[0][0], a[0][1], a[0][2]})
        EXPECT_EQ(kPoison, left);
}

}  // namespace
