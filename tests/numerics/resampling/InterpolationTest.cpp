#include "Builders.h"
#include "Compare.h"
#include "kernels/SplineKernels.h"
#include "levels/AtVectorLevel.h"
#include "numerics/resampling/BandSplines.h"
#include "numerics/resampling/BlockSplines.h"
#include "numerics/resampling/SplineSpacing.h"
#include "reference/numerics/PlainSpline.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <utility>
#include <vector>

namespace {

using namespace qx::test;
using Words = std::vector<WORD>;

constexpr WORD kPoison = 47110;

WORD** flat(const Words& image) {
    return reinterpret_cast<WORD**>(const_cast<WORD*>(image.data()));
}

Words resampled(const TestImage& in, int outRows, int outColumns) {
    Words out(static_cast<std::size_t>(outRows) * outColumns, kPoison);
    interpImg2D(flat(out), outRows, outColumns, flat(in.pixels), in.height, in.width);
    return out;
}

// The same line as each of two rows and as each of two columns, at count positions; both must agree.
Words resampledLine(const Words& knots, int count) {
    const int n = static_cast<int>(knots.size());
    TestImage rows = constantImage(n, 2, 0);
    TestImage columns = constantImage(2, n, 0);
    for (int i = 0; i < 2 * n; ++i)
        rows.at(i / n, i % n) = columns.at(i % n, i / n) = knots[i % n];
    const Words across = resampled(rows, 2, count);
    const Words down = resampled(columns, count, 2);
    for (int j = 0; j < 2 * count; ++j)
        EXPECT_EQ(across[j], down[j % count * 2 + j / count]) << j;
    return {across.begin(), across.begin() + count};
}

// Halfway between knots the exact splines have these values.
TEST(InterpImg2D, exact_values_between_knots) {
    const std::pair<Words, std::vector<double>> cases[] = {
        {{100, 200}, {150}},
        {{0, 64000, 0}, {44000, 44000}},
        {{0, 0, 56000, 0, 0}, {-9000, 34000, 34000, -9000}},
        {{0, 0, 0, 62400, 0, 0, 0}, {2700, -8100, 37500, 37500, -8100, 2700}},
        {{0, 3920, 15680, 35280, 62720}, {1330, 8750, 24430, 48370}},
        {{0, 418, 3344, 11286, 26752, 52250}, {56, 1399.5, 6572.5, 17768, 38664}},
        {{0, 65535, 0, 65535}, {49151.25, 32767.5, 16383.75}},
        {{0, 0, 65535, 65535}, {-8191.875, 32767.5, 73726.875}}};
    for (const auto& [knots, between] : cases) {
        const Words out = resampledLine(knots, static_cast<int>(2 * knots.size() - 1));
        for (std::size_t i = 0; i < knots.size(); ++i)
            EXPECT_EQ(knots[i], out[2 * i]);
        for (std::size_t i = 0; i < between.size(); ++i)
            EXPECT_NEAR(std::clamp(between[i], 0.0, 65535.0), out[2 * i + 1], 0.51) << knots[1] << ", " << i;
    }
}

// The first midpoint of 0, 0, 4, 4 is -0.5, of which every step is exact.
TEST(InterpImg2D, minus_one_half_becomes_white_and_less_black) {
    EXPECT_EQ((Words{0, 65535, 0, 2, 4, 5, 4}), resampledLine({0, 0, 4, 4}, 7));
    EXPECT_EQ((Words{0, 0, 0, 3, 5, 6, 5}), resampledLine({0, 0, 5, 5}, 7));
}

TEST(InterpImg2D, planes_and_constants_stay_and_the_same_size_copies) {
    TestImage plane = constantImage(6, 5, 0);
    for (int i = 0; i < 30; ++i)
        plane.at(i / 6, i % 6) = static_cast<WORD>(500 + 1000 * (i / 6) + 100 * (i % 6));
    for (const auto& [rows, columns] : {std::pair{9, 13}, {2, 2}, {40, 3}, {17, 65}}) {
        const Words out = resampled(plane, rows, columns);
        for (int i = 0; i < rows * columns; ++i)
            EXPECT_NEAR(500 + 4000.0 * (i / columns) / (rows - 1) + 500.0 * (i % columns) / (columns - 1), out[i],
                        0.51);
        for (const WORD grey : Words{0, 1, 32768, 65534, 65535}) {
            EXPECT_EQ(Words(out.size(), grey), resampled(constantImage(6, 5, grey), rows, columns));
            EXPECT_EQ(Words(out.size(), grey), resampled(constantImage(1, 1, grey), rows, columns));
        }
        const TestImage same = randomImage(columns, rows, 0, 65535, 1);
        EXPECT_EQ(same.pixels, resampled(same, rows, columns));
        EXPECT_EQ(Words(rows, 65535), resampled(plane, rows, 1));
        EXPECT_EQ(Words(columns, 65535), resampled(plane, 1, columns));
    }
    EXPECT_EQ(Words(1, 65535), resampled(constantImage(1, 1, 3), 1, 1));
}

template <class Splines>
auto resampledBy(const TestImage& in, int outRows, int outColumns, Words& out) {
    const qx::SplineSpacing alongRows(in.width, outColumns);
    const qx::SplineSpacing downColumns(in.height, outRows);
    out.assign(static_cast<std::size_t>(outRows) * outColumns, kPoison);
    return Splines({in.data(), in.width, in.height}, alongRows, downColumns)
        .resample({out.data(), outColumns, outRows});
}

Words resampledTheLongWay(const TestImage& in, int outRows, int outColumns) {
    Words out;
    resampledBy<qx::BlockSplines>(in, outRows, outColumns, out);
    return out;
}

void expectLineByLine(const TestImage& in, int outRows, int outColumns) {
    Words expected(static_cast<std::size_t>(outRows) * outColumns);
    qx::plain::interpImg2D(expected.data(), outRows, outColumns, in.data(), in.height, in.width);
    atEachVectorLevel([&] {
        EXPECT_TRUE(sameBitsEverywhere(expected, resampledTheLongWay(in, outRows, outColumns)))
            << in.height << " x " << in.width << " to " << outRows << " x " << outColumns;
        EXPECT_TRUE(sameBitsEverywhere(expected, resampled(in, outRows, outColumns)))
            << in.height << " x " << in.width << " to " << outRows << " x " << outColumns;
    });
}

TEST(InterpImg2D, equals_the_splines_line_by_line) {
    constexpr int kIn[] = {1, 2, 3, 4, 5, 15, 16, 17, 31, 32, 33, 49, 64, 65, 100};
    constexpr int kOut[] = {2, 3, 15, 16, 17, 33, 64, 65, 130};
    for (int rows : kIn) {
        for (int columns : kIn) {
            const TestImage images[] = {randomImage(columns, rows, 0, 65535, 1), randomImage(columns, rows, 0, 4, 2),
                                        twoValuedImage(columns, rows, 0, 65535, 3)};
            for (int i = 0; i < 18; ++i)
                expectLineByLine(images[(i + i / 9 + rows) % 3], kOut[i % 9], kOut[(i * 2 + rows) % 9]);
        }
    }
    // Around the borders of bands. Where an image stops to change, the splines from two bounds hardly meet.
    for (int rows : {63, 66, 95, 96, 97, 98, 128, 129, 161}) {
        for (int columns : {1, 7, 33, 65}) {
            TestImage images[] = {randomImage(columns, rows, 0, 65535, 1), twoValuedImage(columns, rows, 0, 65535, 3),
                                  randomImage(columns, rows, 0, 4, 2)};
            for (int i = 0; i < 12; ++i) {
                images[i % 3].fill(20 + 4 * i, 0, 43 - 4 * i, columns, static_cast<WORD>(i * 5957));
                expectLineByLine(images[i % 3], std::array{rows, 2 * rows - 1, 40, 333}[i % 4], 2 + 8 * i);
            }
        }
    }
    // 3024 positions end beyond the last knot, 4144 before it.
    for (const auto& [knots, positions] : {std::pair{3072, 3212}, {3072, 3024}, {1500, 4144}, {1500, 200}}) {
        expectLineByLine(randomImage(knots, 3, 0, 65535, 5), 2, positions);
        expectLineByLine(randomImage(18, knots, 0, 65535, 6), positions, 19);
    }
    for (int i = 0; i < 24 * 79; ++i) {
        expectLineByLine(randomImage(2 + i % 24, 1, 0, 65535, 7), 2, 2 + i / 24);
        expectLineByLine(randomImage(1, 2 + i % 24, 0, 65535, 8), 2 + i / 24, 2);
    }
}

// So many rows that only a few columns are held at a time, and of many columns not every state in between.
TEST(InterpImg2D, tall_images_equal_the_splines_too) {
    constexpr int kRows = 33000;
    for (const auto& [knots, positions] :
         {std::pair{1, 70}, {2, 100}, {3, 97}, {7, 100}, {12, 130}, {50, 100}, {64, 65}, {200, 90}, {40, 1400}})
        expectLineByLine(randomImage(knots, kRows, 0, 65535, 9), 3, positions);
}

using Lines = std::array<float, qx::kSplineLines>;

Lines everyLine(float value, float last) {
    Lines lines;
    lines.fill(value);
    lines.back() = last;
    return lines;
}

TEST(SplineKernels, states_meet_or_differ_in_one_line) {
    const std::vector<qx::SplineStep> steps(40, {3.75f, -0.25f});
    const std::vector<float> zeros(40 * qx::kSplineLines, 0.0f);
    const std::vector<float> ones(zeros.size(), 1.0f);
    atEachVectorLevel([&] {
        const auto meet = [&](const std::vector<float>& eliminated, int count, Lines one, Lines other) {
            return qx::splineKernels().substituteBoth(eliminated.data(), steps.data(), count, one.data(), other.data());
        };
        EXPECT_TRUE(meet(ones, 40, everyLine(-9e9f, -9e9f), everyLine(9e9f, 9e9f)));
        EXPECT_FALSE(meet(zeros, 40, everyLine(-9e9f, -9e9f), everyLine(9e9f, 9e9f)));
        for (int count : {0, 1, 2}) {
            EXPECT_TRUE(meet(zeros, count, everyLine(5.0f, 7.0f), everyLine(5.0f, 7.0f)));
            EXPECT_FALSE(meet(zeros, count, everyLine(5.0f, 7.0f), everyLine(5.0f, 8.0f)));
            EXPECT_EQ(count > 0, meet(zeros, count, everyLine(5.0f, 0.0f), everyLine(5.0f, -0.0f)));
        }
    });
}

// The knots have one value, and the second derivatives of the last line lie somewhere between 0 and -6 times a change.
TEST(SplineKernels, pixels_between_second_derivatives_are_certain_or_refused) {
    constexpr qx::SplinePoint kPoint{3, {1.0f, 0.0f}, {-0.5f, -0.5f}};
    const std::pair<float, std::pair<float, bool>> cases[] = {
        {7.0f, {0.25f, true}},     {7.0f, {0.5f, false}},      {7.5f, {-0.25f, false}}, {-0.5f, {0.0f, true}},
        {-0.5f, {1e-6f, false}},   {-0.6f, {0.2f, false}},     {-3.0f, {2.0f, true}},   {65534.0f, {0.25f, true}},
        {65534.0f, {1.0f, false}}, {70000.0f, {100.0f, true}}, {-0.75f, {0.25f, false}}};
    atEachVectorLevel([&] {
        for (const auto& [knot, expected] : cases) {
            const auto& [change, certain] = expected;
            const std::vector<float> knots(2 * qx::kSplineLines, knot);
            std::vector<float> one(knots.size(), 0.0f);
            std::vector<float> other = one;
            // The bounds change places from knot to knot.
            other[qx::kSplineLines - 1] = one.back() = -6.0f * change;
            Words pixels(3 * qx::kSplineLines, kPoison);
            const qx::SplinePoint points[] = {{3, {1.0f, 0.0f}, {0.0f, 0.0f}}, kPoint, kPoint};
            EXPECT_EQ(certain, qx::splineKernels().pixelsBetween({knots.data(), one.data(), 3}, other.data(), points, 3,
                                                                 qx::kSplineLines, pixels.data(), qx::kSplineLines))
                << knot << " + " << change;
            EXPECT_EQ(pixels[0], pixels[qx::kSplineLines - 1]);
            EXPECT_EQ(certain ? pixels[0] : kPoison, pixels.back()) << knot << " + " << change;
        }
    });
}

// Halves above which an edge has decayed to what makes them round down at one row, or not, as the bounds have it.
TEST(InterpImg2D, a_pixel_that_bounds_leave_open_goes_the_long_way) {
    TestImage open = randomImage(2, 65, 0, 0, 1);
    for (int row = 0; row < 65; ++row)
        open.at(row, 1) = 1;
    open.fill(0, 0, 12, 2, 28881);
    TestImage settled = open;
    settled.fill(0, 0, 12, 2, 28880);
    expectLineByLine(open, 2561, 3);
    expectLineByLine(settled, 2561, 3);
    atEachVectorLevel([&] {
        Words out;
        EXPECT_FALSE(resampledBy<qx::BandSplines>(open, 2561, 3, out));
        EXPECT_TRUE(resampledBy<qx::BandSplines>(settled, 2561, 3, out));
        EXPECT_EQ(resampled(settled, 2561, 3), out);
    });
}

TEST(InterpImg2D, impossible_arguments_leave_the_output) {
    const Words in(4, 3);
    Words out(4, kPoison);
    for (const auto& [side, other] : {std::pair{0, 2}, {-1, 2}, {INT_MIN, 2}, {-2, -2}, {65536, 65536}}) {
        interpImg2D(flat(out), side, other, flat(in), 2, 2);
        interpImg2D(flat(out), other, side, flat(in), 2, 2);
        interpImg2D(flat(out), 2, 2, flat(in), side, other);
        interpImg2D(flat(out), 2, 2, flat(in), other, side);
    }
    interpImg2D(nullptr, 2, 2, flat(in), 2, 2);
    interpImg2D(flat(out), 2, 2, nullptr, 2, 2);
    EXPECT_EQ(Words(4, kPoison), out);
}

TEST(GetIntepolationSize, table_of_sizes) {
    constexpr int kSizes[4][2] = {{2816, 2304}, {3032, 2480}, {3120, 2552}, {3212, 2628}};
    int first = -1;
    int second = -1;
    for (int index : {0, 5, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(1020, getIntepolationSize(first, second, index, 4));
    EXPECT_EQ(std::pair(-1, -1), std::pair(first, second));
    for (int i = 0; i < 4 * 13; ++i) {
        const int type = i / 4;
        EXPECT_EQ(0, getIntepolationSize(first, second, i % 4 + 1, type));
        EXPECT_EQ(kSizes[i % 4][0], first);
        EXPECT_EQ(kSizes[i % 4][type == 4 || type == 9 ? 0 : 1], second) << type;
    }
}

}  // namespace
