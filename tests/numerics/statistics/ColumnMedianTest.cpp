#include "Compare.h"
#include "FloatKinds.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils/Numerics.h>

#include <climits>

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
