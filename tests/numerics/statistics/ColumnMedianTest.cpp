#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::sameBitsEverywhere;
using qx::test::SplitMix64;
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

TEST(CalcMedianPerColumn, heights_below_1_give_1057_for_every_column) {
    const float image[1] = {3};
    for (int height : {0, -1, -5}) {
        Floats medians(8, kPoison);
        EXPECT_EQ(0, calcMedianPerColumn(medians.data(), image, 7, height));
        EXPECT_EQ((Floats{1057, 1057, 1057, 1057, 1057, 1057, 1057, kPoison}), medians) << height;
    }
}

struct Kind {
    const char* name;
    float (*pixel)(SplitMix64&);
};

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

constexpr Kind kKinds[] = {
    {"grey levels", [](SplitMix64& random) { return static_cast<float>(random.below(65536)); }},
    {"fractions", [](SplitMix64& random) { return static_cast<float>(random.uniform() - 0.5); }},
    {"ties", [](SplitMix64& random) { return static_cast<float>(random.below(3)); }},
    {"signed zeros", [](SplitMix64& random) { return random.below(2) == 0 ? 0.0f : -0.0f; }},
    {"zeros among others",
     [](SplitMix64& random) {
         constexpr float kValues[] = {0.0f, -0.0f, 1.0f, -1.0f};
         return kValues[random.below(4)];
     }},
    {"one NaN in 64", [](SplitMix64& random) { return random.below(64) == 0 ? kNan : 1.0f * random.below(50); }},
    {"anything",
     [](SplitMix64& random) {
         using Limits = std::numeric_limits<float>;
         constexpr float kValues[] = {kNan,
                                      -kNan,
                                      0.0f,
                                      -0.0f,
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      1.0f,
                                      -1.0f,
                                      Limits::max(),
                                      Limits::lowest(),
                                      Limits::denorm_min()};
         return kValues[random.below(11)];
     }},
};

void expectOracleMedians(const Kind& kind, int width, int height) {
    SplitMix64 random(static_cast<std::uint64_t>(width) * 5003 + static_cast<std::uint64_t>(height));
    Floats image(static_cast<std::size_t>(width) * height);
    for (float& pixel : image)
        pixel = kind.pixel(random);
    const Floats before = image;
    Floats expected(static_cast<std::size_t>(width) + 1, kPoison);
    Floats medians = expected;
    plain::calcMedianPerColumn(expected.data(), image.data(), width, height);
    EXPECT_EQ(0, calcMedianPerColumn(medians.data(), image.data(), width, height));
    ASSERT_TRUE(sameBitsEverywhere(expected, medians)) << kind.name << ", " << width << " x " << height;
    EXPECT_TRUE(sameBitsEverywhere(before, image));
}

TEST(CalcMedianPerColumn, selects_what_the_exchange_sort_selects) {
    for (const Kind& kind : kKinds) {
        for (int width = 1; width <= 70; ++width) {
            for (int height : {1, 2, 3, 4, 5, 23, 24, 25, 26, 64})
                expectOracleMedians(kind, width, height);
        }
        for (int height : {255, 256, 777})
            expectOracleMedians(kind, 35, height);
    }
}

TEST(CalcMedianPerColumn, refusals_leave_the_medians) {
    const float image[1] = {3};
    float median = kPoison;
    EXPECT_EQ(1057, calcMedianPerColumn(nullptr, image, 1, 1));
    EXPECT_EQ(1057, calcMedianPerColumn(&median, nullptr, 1, 1));
    for (int width : {0, -1, INT_MIN})
        EXPECT_EQ(1020, calcMedianPerColumn(&median, image, width, 1));
    EXPECT_EQ(1020, calcMedianPerColumn(&median, image, 65536, 65536));
    EXPECT_EQ(1020, calcMedianPerColumn(&median, image, INT_MAX, INT_MAX));
    EXPECT_EQ(kPoison, median);
}

}  // namespace
