#include "Compare.h"
#include "FloatKinds.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainFits.h"
#include "reference/numerics/PlainStatistics.h"

#include "kernels/ColumnKernels.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>

namespace {

namespace plain = qx::plain;
using namespace qx::test;
using Floats = std::vector<float>;

constexpr float kPoison = -4711.0f;

TEST(CalcMedianPerColumn, by_hand) {
    const struct {
        Floats image;
        int width, height;
        Floats medians;
    } cases[] = {{{1, 2, 3, 4}, 1, 4, {2}},    {{1, 2, 3, 4, 5}, 1, 5, {3}},
                 {{4, 3, 1, 2}, 1, 4, {2}},    {{7, -1, 8}, 3, 1, {7, -1, 8}},
                 {{1, 9, 3, 7}, 2, 2, {1, 7}}, {{1, 10, 100, 3, 30, 300, 2, 20, 200}, 3, 3, {2, 20, 200}}};
    for (const auto& [image, width, height, expected] : cases) {
        Floats medians(expected.size(), kPoison);
        EXPECT_EQ(0, calcMedianPerColumn(medians.data(), image.data(), width, height));
        EXPECT_EQ(expected, medians) << width << " x " << height;
    }
}

class CalcMedianPerColumnAt : public AtVectorLevel {};
INSTANTIATE_TEST_SUITE_P(Levels, CalcMedianPerColumnAt, kVectorLevels, levelName);

TEST_P(CalcMedianPerColumnAt, selects_what_the_exchange_sort_selects) {
    const auto check = [](Draw<float> kind, int width, int height) {
        const Floats image = drawn(kind, width * height, static_cast<std::uint64_t>(width * 5003 + height));
        const Floats before = image;
        Floats expected(static_cast<std::size_t>(width) + 1, kPoison), medians = expected;
        plain::calcMedianPerColumn(expected.data(), image.data(), width, height);
        EXPECT_EQ(0, calcMedianPerColumn(medians.data(), image.data(), width, height));
        ASSERT_TRUE(sameBitsEverywhere(expected, medians)) << width << " x " << height;
        EXPECT_TRUE(sameBitsEverywhere(before, image));
    };
    for (const auto& kind : kFloatKinds<float>) {
        SCOPED_TRACE("kind " + std::to_string(&kind - kFloatKinds<float>));
        for (int width = 1; width <= 130; width += width < 70 ? 1 : 15) {
            for (int height : {1, 2, 3, 4, 5, 23, 24, 25, 26, 64})
                check(kind, width, height);
        }
        for (int height : {255, 256, 777})
            check(kind, 35, height);
        for (int width : {64, 97})
            check(kind, width, qx::kFewestSampledRows);
    }
}

constexpr int kColumns = qx::kSampledPanels * qx::kPanelColumns;
constexpr int kRows = 2000;

// Columns of normally distributed values, of which some are changed.
struct SampledContent {
    const char* name;
    int leftColumns;  // of kColumns, those that the sample does not settle; -1: one or a few
    float (*value)(int column, int row, float normal);
};
const SampledContent kSampledContents[] = {
    {"noise, of which a sample misses the middle", -1, [](int, int, float normal) { return normal; }},
    {"wide", 0, [](int, int row, float normal) { return normal + static_cast<float>(row); }},
    {"many of the value in the middle", -1, [](int, int, float normal) { return std::floor(18 * normal); }},
    {"few values", kColumns, [](int, int, float normal) { return std::floor(normal); }},
    {"three constant columns", 3,
     [](int column, int row, float normal) { return column % 100 == 5 ? 7.0f : normal + static_cast<float>(row); }},
    {"constant columns", kColumns, [](int column, int, float normal) { return column % 5 == 0 ? 7.0f : normal; }},
    {"two heaps of values", kColumns, [](int, int row, float normal) { return normal + (row % 2 == 0 ? 1e6f : 0.0f); }},
    {"values about the same far from others", kColumns,
     [](int, int row, float normal) {
         const float far = 1000 + std::fabs(normal);
         return row % 20 == 1 ? 1e-3f * normal : row % 2 == 0 ? far : -far;
     }},
    {"negative zeros, infinities and what is no number", 4,
     [](int column, int row, float normal) {
         constexpr float kInfinity = std::numeric_limits<float>::infinity();
         constexpr float kOdd[] = {-0.0f, kInfinity, -kInfinity, std::numeric_limits<float>::quiet_NaN()};
         return column % 64 == 9 && row == 700 ? kOdd[column / 64] : normal + static_cast<float>(row);
     }},
};

// One sample in some 5000 misses the middle of its column, and one of these does.
Floats imageOf(const SampledContent& content) {
    SplitMix64 random(21);
    Floats image;
    for (int i = 0; i < kColumns * kRows; ++i)
        image.push_back(content.value(i % kColumns, i / kColumns, static_cast<float>(random.gaussian())));
    return image;
}

float medianOfColumn(const Floats& image, int c) {
    Floats column;
    for (int y = 0; y < kRows; ++y)
        column.push_back(image[static_cast<std::size_t>(y * kColumns + c)]);
    if (std::ranges::any_of(column, [](float value) { return std::isnan(value); }))
        return plain::descendingMedian(column.data(), kRows);
    std::ranges::nth_element(column, column.begin() + kRows / 2, std::greater<>());
    return column[kRows / 2];
}

// Settled columns have the value of the rank, and the others are counted.
TEST_P(CalcMedianPerColumnAt, samples_settle_columns_or_leave_them) {
    constexpr int kRank = kRows - 1 - kRows / 2;
    for (const SampledContent& content : kSampledContents) {
        SCOPED_TRACE(content.name);
        const Floats image = imageOf(content);
        Floats expected, values(kColumns, kPoison);
        for (int c = 0; c < kColumns; ++c)
            expected.push_back(medianOfColumn(image, c));
        std::vector<std::int8_t> codes(image.size());
        std::uint64_t unsettled[qx::kSampledPanels];
        qx::columnKernels().sampledRanks(image.data(), kColumns, qx::kSampledPanels, kRows, kRank, codes.data(),
                                         values.data(), unsettled);
        int left = 0;
        for (std::size_t c = 0; c < values.size(); ++c) {
            const bool isLeft = (unsettled[c / 64] >> c % 64 & 1u) != 0;
            left += isLeft ? 1 : 0;
            EXPECT_TRUE(isLeft || sameBits(expected[c], values[c])) << c;
        }
        if (content.leftColumns < 0)
            EXPECT_TRUE(left > 0 && left < 10) << left;
        else
            EXPECT_EQ(content.leftColumns, left);
        EXPECT_EQ(0, calcMedianPerColumn(values.data(), image.data(), kColumns, kRows));
        EXPECT_TRUE(sameBitsEverywhere(expected, values));
    }
}

TEST(CalcMedianPerColumn, heights_below_1_give_1057_for_every_column_and_other_refusals_leave_them) {
    const float image[1] = {3};
    Floats medians(8, kPoison);
    EXPECT_EQ(1057, calcMedianPerColumn(nullptr, image, 1, 1));
    EXPECT_EQ(1057, calcMedianPerColumn(medians.data(), nullptr, 1, 1));
    for (const auto& [width, height] :
         {std::pair{0, 1}, {-1, 1}, {INT_MIN, 1}, {0, 0}, {65536, 65536}, {INT_MAX, INT_MAX}})
        EXPECT_EQ(1020, calcMedianPerColumn(medians.data(), image, width, height)) << width;
    EXPECT_EQ(Floats(8, kPoison), medians);
    for (int height : {0, -1, -5}) {
        medians.assign(8, kPoison);
        EXPECT_EQ(0, calcMedianPerColumn(medians.data(), image, 7, height));
        EXPECT_EQ((Floats{1057, 1057, 1057, 1057, 1057, 1057, 1057, kPoison}), medians) << height;
    }
}

}  // namespace
