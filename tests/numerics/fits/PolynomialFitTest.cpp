#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>
#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
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

// Reference problems of a national institute: data, certified coefficients and what single precision allows.
struct Certified {
    Points points;
    std::vector<double> certified;
    double tolerance;
};

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

Points loadCellPoints() {
    constexpr float kDeflections[] = {.11019f,  .21956f,  .32949f,  .43899f,  .54803f,  .65694f,  .76562f,  .87487f,
                                      .98292f,  1.09146f, 1.20001f, 1.30822f, 1.41599f, 1.52399f, 1.63194f, 1.73947f,
                                      1.84646f, 1.95392f, 2.06128f, 2.16844f, .11052f,  .22018f,  .32939f,  .43886f,
                                      .54798f,  .65739f,  .76596f,  .87474f,  .98300f,  1.09150f, 1.20004f, 1.30818f,
                                      1.41613f, 1.52408f, 1.63159f, 1.73965f, 1.84696f, 1.95445f, 2.06177f, 2.16829f};
    Points points;
    for (int i = 0; i < 40; ++i)
        points.push_back({150000.0f * static_cast<float>(i % 20 + 1), kDeflections[i]});
    return points;
}

Points ozonePoints() {
    return {{0.2f, 0.1f},     {337.4f, 338.8f}, {118.2f, 118.1f}, {884.6f, 888.0f}, {10.1f, 9.2f},    {226.5f, 228.1f},
            {666.3f, 668.5f}, {996.3f, 998.5f}, {448.6f, 449.1f}, {777.0f, 778.9f}, {558.2f, 559.2f}, {0.4f, 0.3f},
            {0.6f, 0.1f},     {775.5f, 778.1f}, {666.9f, 668.8f}, {338.0f, 339.3f}, {447.5f, 448.9f}, {11.6f, 10.8f},
            {556.0f, 557.7f}, {228.1f, 228.3f}, {995.8f, 998.0f}, {887.6f, 888.8f}, {120.2f, 119.6f}, {0.3f, 0.3f},
            {0.3f, 0.6f},     {556.8f, 557.6f}, {339.1f, 339.3f}, {887.2f, 888.0f}, {999.0f, 998.5f}, {779.0f, 778.9f},
            {11.1f, 10.2f},   {118.3f, 117.6f}, {229.2f, 228.9f}, {669.1f, 668.4f}, {448.9f, 449.2f}, {0.5f, 0.2f}};
}

std::vector<Certified> certifiedProblems() {
    const std::vector<double> ones(6, 1.0), falling = {1, 0.1, 0.01, 0.001, 0.0001, 0.00001};
    return {{quinticPoints(1, 0), ones, 1e-4},
            {quinticPoints(0.1, 0), falling, 1e-4},
            {quinticPoints(1, 1), ones, 1e-4},
            {quinticPoints(1, 100), ones, 1e-4},
            {quinticPoints(1, 10000), ones, 1e-4},
            {loadCellPoints(), {0.673565789473684e-3, 0.732059160401003e-6, -0.316081871345029e-14}, 5e-6},
            {ozonePoints(), {-0.262323073774029, 1.00211681802045}, 1e-6}};
}

// The largest distance from the certified curve counts as a fraction of its range.
TEST(PolyFit, certified_curves) {
    for (const Certified& problem : certifiedProblems()) {
        const int order = static_cast<int>(problem.certified.size()) - 1;
        const Coefficients fit = fitted(problem.points, order);
        double low = HUGE_VAL, high = -HUGE_VAL, error = 0;
        for (const auto& [x, y] : problem.points) {
            const double truth = valueAt(problem.certified, order, x);
            low = std::min(low, truth);
            high = std::max(high, truth);
            error = std::max(error, std::fabs(truth - valueAt(fit, order, x)));
        }
        EXPECT_LT(error / (high - low), problem.tolerance) << problem.certified[0];
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
    polyFit(&coefficient, points, -1, 0);
    polyFit(&coefficient, points, INT_MIN, 0);
    polyFit(&coefficient, points, 1, -1);
    polyFit(nullptr, points, 1, 0);
    EXPECT_EQ(kPoison, coefficient);
}

}  // namespace
