#include "Compare.h"
#include "FloatKinds.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <climits>
#include <cmath>
#include <span>
#include <vector>

namespace {

namespace plain = qx::plain;
using namespace qx::test;

constexpr int kSizes[][2] = {{1, 1},   {1, 2},   {2, 1},   {3, 5},     {7, 1},    {8, 2},
                             {17, 13}, {31, 33}, {64, 64}, {129, 257}, {300, 200}};

// The mean of negative values is truncated towards zero; single precision rounds the squares of large ones.
constexpr Draw<int> kIntKinds[] = {[](SplitMix64& random) { return random.below(65536) - 208; },
                                   [](SplitMix64& random) { return random.below(1 << 30) - (1 << 29); },
                                   [](SplitMix64& random) { return -1 - random.below(3); },
                                   [](SplitMix64& random) { return random.below(3) == 0 ? INT_MAX : INT_MIN; }};

template <class T>
void expectPlainMoments(std::span<const Draw<T>> draws) {
    for (const Draw<T>& draw : draws) {
        for (const auto& [width, height] : kSizes) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ", draw " << &draw - draws.data());
            const std::vector<T> image = drawn(draw, width * height, 7);
            EXPECT_TRUE(
                sameBitsOrNan(plain::getStdev(image.data(), width, height), getStdev(image.data(), width, height)));
            if constexpr (std::is_same_v<T, int>) {
                float expectedMean = 0, expectedStdev = 0, mean = -1, stdev = -1;
                plain::getStdevAndMean(image.data(), width, height, expectedMean, expectedStdev);
                getStdevAndMean(image.data(), width, height, mean, stdev);
                EXPECT_TRUE(sameBits(expectedMean, mean));
                EXPECT_TRUE(sameBits(expectedStdev, stdev));
            }
        }
    }
}

TEST(GetStdev, agrees_with_the_plain_method) {
    expectPlainMoments<int>(kIntKinds);
    expectPlainMoments<float>(kFloatKinds<float>);
}

TEST(GetStdev, integer_members_measure_around_the_truncated_mean) {
    const WORD words[] = {1, 2};
    const int ints[] = {1, 2};
    const float floats[] = {1, 2};
    const float truncated = static_cast<float>(std::sqrt(0.5));
    EXPECT_EQ(truncated, getStdev(words, 2, 1));
    EXPECT_EQ(truncated, getStdev(ints, 1, 2));
    EXPECT_EQ(0.5f, getStdev(floats, 2, 1));
    // The mean lies further above the lowest of these than the pixels that a likely one is taken from tell.
    WORD uneven[512];
    for (int i = 0; i < 512; ++i)
        uneven[i] = i % 3 == 1 ? 16876 : i % 6 == 0 ? 13774 : 20793;
    EXPECT_EQ(2685.77417f, getStdev(uneven, 512, 1));
    EXPECT_EQ(plain::getStdev(uneven, 512, 1), getStdev(uneven, 512, 1));
    // The square of 4097 is odd, and rounded.
    const WORD wide[] = {10000 - 4097, 10000 + 4097, 10000, 10000};
    EXPECT_EQ(plain::getStdev(wide, 4, 1), getStdev(wide, 4, 1));
    float mean = 0, stdev = 0;
    getStdevAndMean(ints, 2, 1, mean, stdev);
    EXPECT_EQ(1.5f, mean);
    EXPECT_EQ(0.5f, stdev);
}

template <class T>
void expectRefusals() {
    const T one[] = {1};
    for (const auto& [width, height] : {std::pair{1, 0}, {1, -3}, {0, 1}})
        EXPECT_TRUE(std::isnan(getStdev(one, width, height)));
    EXPECT_EQ(1057.0f, getStdev(static_cast<const T*>(nullptr), 1, 1));
    for (const auto& [width, height] : {std::pair{65536, 65536}, {65536, 65537}, {32768, 65536}})
        EXPECT_EQ(1020.0f, getStdev(one, width, height));
}

TEST(Moments, empty_images_have_none_and_null_and_sizes_beyond_32_bits_are_refused) {
    expectRefusals<WORD>();
    expectRefusals<int>();
    expectRefusals<float>();
    const WORD word = 1;
    EXPECT_TRUE(std::isnan(getMean(&word, 0)));
    EXPECT_EQ(1057.0, getMean(static_cast<const WORD*>(nullptr), 1));
    float mean = -1, stdev = -2;
    getStdevAndMean(nullptr, 1, 1, mean, stdev);
    EXPECT_EQ(std::pair(-1.0f, -2.0f), std::pair(mean, stdev));
    const int pixel = 1;
    for (int height : {0, -3}) {
        stdev = 0;
        getStdevAndMean(&pixel, 1, height, mean, stdev);
        EXPECT_TRUE(std::isnan(stdev));
    }
}

TEST(Moments, certified_numbers_that_are_hard_to_add) {
    const int large[] = {10000001, 10000003, 10000002};
    EXPECT_FLOAT_EQ(0.816496580927726f, getStdev(large, 3, 1));
    // A thousand alternating values and one between them; the deviation is certified as 0.0999500374687773.
    for (double base : {1.2, 1000.2}) {
        std::vector<float> values = {static_cast<float>(base)};
        for (int i = 0; i < 500; ++i) {
            values.push_back(static_cast<float>(base - 0.1));
            values.push_back(static_cast<float>(base + 0.1));
        }
        EXPECT_NEAR(0.0999500374687773, getStdev(values.data(), 77, 13), base * 1e-7);
    }
}

}  // namespace
