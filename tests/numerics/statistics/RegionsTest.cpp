#include "Builders.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::TestImage;

constexpr int kWidth = 70;
constexpr int kHeight = 60;
// First and last row, first and last column.
constexpr int kRegions[][4] = {{0, 0, 0, 0},    {0, 0, 0, 1},    {5, 6, 7, 7},     {3, 5, 2, 4},     {0, 59, 0, 69},
                               {59, 59, 0, 69}, {0, 59, 69, 69}, {10, 41, 10, 41}, {10, 42, 10, 41}, {20, 36, 0, 68}};

TEST(RegionStatistics, agree_with_the_plain_method) {
    for (const TestImage& image :
         {qx::test::randomImage(kWidth, kHeight, 0, 65535, 1), qx::test::twoValuedImage(kWidth, kHeight, 7, 65535, 2),
          qx::test::randomImage(kWidth, kHeight, 200, 215, 3), qx::test::rampImage(kWidth, kHeight, 0)}) {
        std::vector<float> floats;
        for (WORD pixel : image.pixels)
            floats.push_back(static_cast<float>(pixel) * 1.37f - 20000.0f);
        for (const auto& [top, bottom, left, right] : kRegions) {
            SCOPED_TRACE(testing::Message() << top << ".." << bottom << ", " << left << ".." << right);
            EXPECT_EQ(plain::getROIMedian(image.data(), top, bottom, left, right, kWidth),
                      getROIMedian(image.data(), top, bottom, left, right, kWidth));
            EXPECT_EQ(plain::getROIMedian(floats.data(), top, bottom, left, right, kWidth),
                      getROIMedian(floats.data(), top, bottom, left, right, kWidth));
            EXPECT_EQ(plain::getROIMean(image.data(), top, bottom, left, right, kWidth),
                      getROIMean(image.data(), top, bottom, left, right, kWidth));
        }
    }
}

TEST(RegionStatistics, by_hand) {
    const WORD words[] = {1, 2, 3, 4, 100, 65535};
    const float floats[] = {-1.9f, -2.9f, 3.9f, 4.9f, 3e9f, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_EQ(2, getROIMedian(words, 0, 0, 0, 3, 6));    // the lower middle
    EXPECT_EQ(-1, getROIMedian(floats, 0, 0, 0, 1, 6));  // the upper middle, truncated towards zero
    EXPECT_EQ(3, getROIMedian(floats, 0, 1, 0, 1, 2));
    EXPECT_EQ(INT_MIN, getROIMedian(floats, 0, 0, 4, 4, 6));
    EXPECT_EQ(INT_MIN, getROIMedian(floats, 0, 0, 5, 5, 6));
    EXPECT_EQ(2, getROIMean(words, 0, 0, 0, 3, 6));  // 2.5 truncated
    EXPECT_EQ(65535, getROIMedian(words, 0, 0, 5, 5, 6));
}

// A median of nothing has a code of its own, the mean of no rows is 0. Both ranges reversed multiply to a positive
// count, of zeros.
TEST(RegionStatistics, null_and_impossible_regions) {
    const std::vector<WORD> words(100, 9);
    const std::vector<float> floats(100, 9.0f);
    EXPECT_EQ(1057, getROIMedian(static_cast<const WORD*>(nullptr), 0, 1, 0, 1, 10));
    EXPECT_EQ(1057, getROIMedian(static_cast<const float*>(nullptr), 0, 1, 0, 1, 10));
    EXPECT_EQ(1057, getROIMean(nullptr, 0, 1, 0, 1, 10));
    const struct {
        int top, bottom, left, right, median, mean;
    } cases[] = {
        {0, 3, 6, 4, 1020, 1020},       {-1, 3, 0, 3, 1020, 1020}, {0, 3, -11, 3, 1020, 1020},
        {0, 3, 4, INT_MIN, 1020, 1020}, {0, 3, 5, 4, 1057, 1020},  {INT_MAX, INT_MIN, INT_MAX, INT_MIN, 1020, 0},
        {3, 2, 0, 3, 1057, 0},          {3, 1, 0, 3, 1020, 0},     {5, 1, 5, 1, 0, 0}};
    for (const auto& [top, bottom, left, right, median, mean] : cases) {
        SCOPED_TRACE(testing::Message() << top << ".." << bottom << ", " << left << ".." << right);
        EXPECT_EQ(median, getROIMedian(words.data(), top, bottom, left, right, 10));
        EXPECT_EQ(median, getROIMedian(floats.data(), top, bottom, left, right, 10));
        EXPECT_EQ(mean, getROIMean(words.data(), top, bottom, left, right, 10));
    }
    // Rows that start inside the image and leave it backwards.
    EXPECT_EQ(1020, getROIMedian(words.data(), 0, 1, 0, 3, -10));
}

}  // namespace
