#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>
#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <utility>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::sameBitsOrNanEverywhere;
using qx::test::SplitMix64;
using Points = std::vector<std::array<float, 2>>;
using Coefficients = std::vector<float>;

constexpr float kPoison = -4711.0f;

// The coefficients and, behind them, what was there before.
Coefficients fitted(const Points& points, int order, float before = kPoison, decltype(polyFit)* fit = polyFit) {
    std::vector<const float*> pointers(points.size() + 1);
    std::transform(points.begin(), points.end(), pointers.begin(), [](const auto& point) { return point.data(); });
    Coefficients coefficients(static_cast<std::size_t>(order) + 3, before);
    fit(coefficients.data(), pointers.data(), static_cast<int>(points.size()), order);
    return coefficients;
}

template <class T>
double valueAt(const std::vector<T>& coefficients, int order, double x) {
    double value = 0;
    for (int k = order; k >= 0; --k)
        value = value * x + coefficients[static_cast<std::size_t>(k)];
    return value;
}

// Powers 0 .. 5 of x = 0 .. 20 with equal or falling coefficients, and disturbances that leave the fit as it is.
Points quinticPoints(double ratio, int disturbance) {
    constexpr int kDisturbances[21] = {759,   -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 1838,  -2048, 2048,
                                       -2048, 1838,  -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 759};
    Points points;
    for (int x = 0; x <= 20; ++x) {
        double y = 0;
        for (int k = 5; k >= 0; --k)
            y = y * x * ratio + 1;
        y += 1.0 * kDisturbances[x] * disturbance;
        points.push_back({static_cast<float>(x), static_cast<float>(y)});
    }
    return points;
}

// Reference problems of a national institute. The largest distance from the certified curve counts as a fraction of its
// range.
TEST(PolyFit, certified_curves) {
    const std::vector<double> ones(6, 1.0), falling = {1, 0.1, 0.01, 0.001, 0.0001, 0.00001};
    const std::pair<Points, std::vector<double>> problems[] = {{quinticPoints(1, 0), ones},
                                                               {quinticPoints(0.1, 0), falling},
                                                               {quinticPoints(1, 1), ones},
                                                               {quinticPoints(1, 100), ones},
                                                               {quinticPoints(1, 10000), ones}};
    for (const auto& [points, certified] : problems) {
        const Coefficients fit = fitted(points, 5);
        double low = HUGE_VAL, high = -HUGE_VAL, error = 0;
        for (const auto& [x, y] : points) {
            const double truth = valueAt(certified, 5, x);
            low = std::min(low, truth);
            high = std::max(high, truth);
            error = std::max(error, std::fabs(truth - valueAt(fit, 5, x)));
        }
        EXPECT_LT(error / (high - low), 1e-4) << points[0][1];
    }
}

// The singular system of equal abscissas: a zero pivot is stepped over.
TEST(PolyFit, zero_pivots_leave_the_highest_untouched_and_others_undivided) {
    EXPECT_EQ((Coefficients{-7, 5, 5, 5}), fitted({{2, 1}, {2, 3}, {2, 5}}, 1, 5.0f));
    EXPECT_EQ((Coefficients{2, 0, 5, 5, 5}), fitted({{0, 1}, {0, 3}}, 2, 5.0f));
    // What rounding leaves beside the second pivot.
    EXPECT_EQ((Coefficients{-1.05000019f, 0x1p-21f, 5, 5, 5}), fitted({{0.9f, 1}, {0.9f, 5}}, 2, 5.0f));
    EXPECT_EQ((Coefficients{5, 5, 5}), fitted({}, 0, 5.0f));
}

// Five of the sixth have equal sums of powers 0 and 2: rows that differ tie for the pivot.
constexpr float (*kAbscissas[])(SplitMix64&, int i, int n) = {
    [](SplitMix64& random, int, int) { return static_cast<float>(2 * random.uniform() - 1); },
    [](SplitMix64&, int i, int) { return static_cast<float>(i); },
    [](SplitMix64&, int i, int n) { return static_cast<float>(3072.0 * i / n); },
    [](SplitMix64&, int, int) { return 0.1f; },
    [](SplitMix64& random, int, int) { return random.below(2) == 0 ? 1.0f : -1.0f; },
    [](SplitMix64&, int i, int) { return i % 5 < 2 ? static_cast<float>(2 - i % 5) : 0.0f; },
    [](SplitMix64& random, int, int) { return static_cast<float>(1e5 * random.gaussian()); },
    [](SplitMix64& random, int, int) { return static_cast<float>(1e-8 * random.gaussian()); },
    [](SplitMix64&, int i, int n) { return i == n / 2 ? NAN : 1.0f * i; }};

TEST(PolyFit, agrees_with_the_plain_method) {
    SplitMix64 random(11);
    for (const auto& at : kAbscissas) {
        for (int n : {0, 1, 2, 3, 4, 5, 6, 7, 8, 10, 15, 16, 17, 21, 64, 65, 300}) {
            Points points;
            for (int i = 0; i < n; ++i)
                points.push_back({at(random, i, n), static_cast<float>(100 + 30 * random.gaussian())});
            for (int order = 0; order <= 6; ++order) {
                const Coefficients expected = fitted(points, order, kPoison, plain::polyFit);
                EXPECT_TRUE(sameBitsOrNanEverywhere(expected, fitted(points, order)))
                    << "abscissas " << &at - kAbscissas << ", " << n << " points, order " << order;
            }
        }
    }
}

TEST(PolyFit, orders_above_6_throw_their_status_before_anything_else) {
    float coefficient = kPoison;
    for (int order : {7, 8, INT_MAX}) {
        try {
            polyFit(&coefficient, nullptr, -1, order);
            ADD_FAILURE() << "order " << order << " was accepted";
        } catch (StatusCode code) {
            EXPECT_EQ(StatusPolynomialOrder, code);
        }
    }
    EXPECT_EQ(1086, static_cast<int>(StatusPolynomialOrder));
    EXPECT_EQ(kPoison, coefficient);
}

TEST(PolyFit, impossible_arguments_leave_the_coefficients) {
    const float point[2] = {1, 2};
    const float* const points[1] = {point};
    float coefficient = kPoison;
    polyFit(&coefficient, nullptr, 1, 0);
    for (const auto& [n, order] : {std::pair{-1, 0}, {INT_MIN, 0}, {1, -1}})
        polyFit(&coefficient, points, n, order);
    polyFit(nullptr, points, 1, 0);
    EXPECT_EQ(kPoison, coefficient);
}

}  // namespace
