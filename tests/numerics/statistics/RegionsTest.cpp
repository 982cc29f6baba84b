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

struct Region {
    int rowStart, rowEnd, colStart, colEnd;
};

void PrintTo(const Region& r, std::ostream* out) {
    *out << "rows " << r.rowStart << ".." << r.rowEnd << ", columns " << r.colStart << ".." << r.colEnd;
}

constexpr int kWidth = 70;
constexpr int kHeight = 60;
constexpr Region kRegions[] = {{0, 0, 0, 0},    {0, 0, 0, 1},    {5, 6, 7, 7},     {3, 5, 2, 4},     {0, 59, 0, 69},
                               {59, 59, 0, 69}, {0, 59, 69, 69}, {10, 41, 10, 41}, {10, 42, 10, 41}, {20, 36, 0, 68}};

TEST(RegionStatistics, agree_with_the_plain_method) {
    for (const TestImage& image :
         {qx::test::randomImage(kWidth, kHeight, 0, 65535, 1), qx::test::twoValuedImage(kWidth, kHeight, 7, 65535, 2),
          qx::test::randomImage(kWidth, kHeight, 200, 215, 3), qx::test::rampImage(kWidth, kHeight, 0)}) {
        std::vector<float> floats;
        for (WORD pixel : image.pixels)
            floats.push_back(static_cast<float>(pixel) * 1.37f - 20000.0f);
        for (const Region& r : kRegions) {
            EXPECT_EQ(plain::getROIMedian(image.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth),
                      getROIMedian(image.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth))
                << testing::PrintToString(r);
            EXPECT_EQ(plain::getROIMedian(floats.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth),
                      getROIMedian(floats.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth))
                << testing::PrintToString(r);
            EXPECT_EQ(plain::getROIMean(image.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth),
                      getROIMean(image.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, kWidth))
                << testing::PrintToString(r);
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

TEST(RegionStatistics, null_and_impossible_regions) {
    const std::vector<WORD> words(100, 9);
    const std::vector<float> floats(100, 9.0f);
    EXPECT_EQ(1057, getROIMedian(static_cast<const WORD*>(nullptr), 0, 1, 0, 1, 10));
    EXPECT_EQ(1057, getROIMedian(static_cast<const float*>(nullptr), 0, 1, 0, 1, 10));
    EXPECT_EQ(1057, getROIMean(nullptr, 0, 1, 0, 1, 10));
    for (const Region& r : {Region{0, 3, 6, 4}, Region{-1, 3, 0, 3}, Region{0, 3, -11, 3}, Region{0, 3, 4, INT_MIN},
                            Region{INT_MAX, INT_MIN, INT_MAX, INT_MIN}}) {
        const bool rowsReversed = r.rowStart > r.rowEnd;
        EXPECT_EQ(1020, getROIMedian(words.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, 10));
        EXPECT_EQ(1020, getROIMedian(floats.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, 10));
        EXPECT_EQ(rowsReversed ? 0 : 1020, getROIMean(words.data(), r.rowStart, r.rowEnd, r.colStart, r.colEnd, 10));
    }
    // Rows that start inside the image and leave it backwards.
    EXPECT_EQ(1020, getROIMedian(words.data(), 0, 1, 0, 3, -10));
    // A median of nothing has a code of its own.
    EXPECT_EQ(1057, getROIMedian(words.data(), 0, 3, 5, 4, 10));
    EXPECT_EQ(1057, getROIMedian(floats.data(), 0, 3, 5, 4, 10));
    EXPECT_EQ(1020, getROIMean(words.data(), 0, 3, 5, 4, 10));
    // No rows are no pixels for the medians and 0 for the mean; reversed ones are an impossible region for the medians.
    EXPECT_EQ(1057, getROIMedian(words.data(), 3, 2, 0, 3, 10));
    EXPECT_EQ(1057, getROIMedian(floats.data(), 3, 2, 0, 3, 10));
    EXPECT_EQ(0, getROIMean(words.data(), 3, 2, 0, 3, 10));
    EXPECT_EQ(1020, getROIMedian(words.data(), 3, 1, 0, 3, 10));
    // Both ranges reversed multiply to a positive count, of zeros.
    EXPECT_EQ(0, getROIMedian(words.data(), 5, 1, 5, 1, 10));
    EXPECT_EQ(0, getROIMedian(floats.data(), 5, 1, 5, 1, 10));
    EXPECT_EQ(0, getROIMean(words.data(), 5, 1, 5, 1, 10));
}

}  // namespace
