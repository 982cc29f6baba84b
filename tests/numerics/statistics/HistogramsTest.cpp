#include "Compare.h"
#include "FloatKinds.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

namespace plain = qx::plain;
using namespace qx::test;

constexpr int kPoison = -4711;

std::vector<std::vector<WORD>> wordInputs() {
    std::vector<std::vector<WORD>> inputs;
    for (int n : {1, 2, 3, 19, 20, 21, 39, 40, 100, 1000, 4097}) {
        const auto seed = static_cast<std::uint64_t>(n);
        for (const TestImage& image : {rampImage(n, 1, 0), randomImage(n, 1, 100, 115, seed),
                                       randomImage(n, 1, 0, 65535, seed), twoValuedImage(n, 1, 3, 60000, seed),
                                       constantImage(n, 1, 0), constantImage(n, 1, 65535), saturatedImage(n, 1, seed)})
            inputs.push_back(image.pixels);
    }
    return inputs;
}

TEST(GetHisMedian, agrees_with_the_plain_method_and_fills_the_histogram) {
    for (const auto& values : wordInputs()) {
        for (int bins : {0, 1, 2, 110, 256, 65535, 65536}) {
            SCOPED_TRACE(testing::Message() << values.size() << " pixels, " << bins << " bins");
            const int n = static_cast<int>(values.size());
            std::vector<int> expected(bins + 1, kPoison), hist = expected;
            EXPECT_EQ(plain::getHisMedian(values.data(), n, expected.data(), bins),
                      getHisMedian(values.data(), n, hist.data(), bins));
            EXPECT_EQ(expected, hist);
        }
    }
}

TEST(GetHisMedian, edges) {
    const WORD values[] = {50, 60, 70, 80};
    int hist[100];
    EXPECT_EQ(40, getHisMedian(values, 4, hist, 40));  // every value lies above the bins
    EXPECT_EQ(60, getHisMedian(values, 4, hist, 100));
    EXPECT_EQ(55, getHisMedian(values, 4, hist, 55));  // one of four is counted, but the ignored ones are in n
    EXPECT_EQ(0, getHisMedian(values, 1, hist, 100));  // n/2 is 0, which nothing has to reach
    for (int n : {0, -4})
        EXPECT_EQ(1057, getHisMedian(values, n, hist, 100));
    EXPECT_EQ(1057, getHisMedian(nullptr, 4, hist, 100));
}

// Among them values finer than a bin, above the ceiling of 110 and the start of the minimum, and ranges of millions of
// bins most of which are empty.
constexpr Draw<float> kSpreads[] = {
    [](SplitMix64& random) { return static_cast<float>(random.uniform() * 110); },
    [](SplitMix64& random) { return static_cast<float>(1 + 0.01 * random.gaussian()); },
    [](SplitMix64& random) { return static_cast<float>(5 + 0.00003 * random.uniform()); },
    [](SplitMix64& random) { return 1.0f + 0.0001f * static_cast<float>(random.below(5)); },
    [](SplitMix64& random) { return static_cast<float>(random.below(2)); },
    [](SplitMix64& random) { return static_cast<float>(100 + 400 * random.uniform()); },
    [](SplitMix64& random) { return static_cast<float>(111 + 400 * random.uniform()); },
    [](SplitMix64& random) { return static_cast<float>(100 - 300 * random.uniform()); },
    [](SplitMix64& random) { return random.below(3) == 0 ? -150.0f : 0.25f * static_cast<float>(random.below(4)); },
    [](SplitMix64& random) { return static_cast<float>(random.gaussian()); },
    [](SplitMix64& random) { return random.below(4) == 0 ? NAN : static_cast<float>(random.uniform()); },
    [](SplitMix64&) { return 7.25f; },
    [](SplitMix64&) { return 110.0f; },
    [](SplitMix64&) { return 70000.0f; },
    [](SplitMix64&) { return NAN; }};

TEST(GetFloatHisMedian, agrees_with_the_plain_method) {
    for (const auto& spread : kSpreads) {
        for (int n : {1, 2, 3, 4, 5, 16, 17, 100, 1001}) {
            SCOPED_TRACE(testing::Message() << "spread " << &spread - kSpreads << ", n = " << n);
            const std::vector<float> data = drawn(spread, n, static_cast<std::uint64_t>(n)), before = data;
            EXPECT_TRUE(
                sameBits(plain::getFloatHisMedian(data.data(), n), getFloatHisMedian(data.data(), n, nullptr, 0)));
            EXPECT_TRUE(sameBitsEverywhere(before, data));
        }
    }
}

TEST(GetFloatHisMedian, edges) {
    const float high[] = {10, 20, 30, 500};
    const float clipped[] = {10, 20, 30, 110};
    EXPECT_TRUE(sameBits(getFloatHisMedian(clipped, 4, nullptr, 0), getFloatHisMedian(high, 4, nullptr, 0)));
    for (int n : {0, -1})
        EXPECT_EQ(1057.0f, getFloatHisMedian(high, n, nullptr, 0));
    EXPECT_EQ(1057.0f, getFloatHisMedian(nullptr, 4, nullptr, 0));
    // No bin is passed where there is none, or half of one value: the minimum and a sum of nothing.
    for (const float highest : {5e-5f, 5.0f})
        EXPECT_TRUE(
            sameBits(0.0f, getFloatHisMedian(std::array{-0.0f, highest}.data(), highest < 1 ? 2 : 1, nullptr, 0)));
    // 3e9 bins, and endless ones.
    for (const float lowest : {-3e5f, -HUGE_VALF})
        EXPECT_EQ(1020.0f, getFloatHisMedian(std::array{lowest, 0.0f}.data(), 2, nullptr, 0));
}

TEST(GetHistogramByBins, agrees_with_the_plain_method) {
    for (const auto& values : wordInputs()) {
        for (int bins : {1, 2, 3, 7, 16, 17, 100, 1000, 70000}) {
            SCOPED_TRACE(testing::Message() << values.size() << " pixels, " << bins << " bins");
            const int n = static_cast<int>(values.size());
            std::vector<int> expectedCounts(bins + 1, kPoison), expectedCenters = expectedCounts;
            std::vector<int> counts = expectedCounts, centers = expectedCounts;
            plain::getHistogramByBins(expectedCounts.data(), expectedCenters.data(), bins, values.data(), n);
            EXPECT_EQ(0, getHistogramByBins(counts.data(), centers.data(), bins, values.data(), n));
            ASSERT_TRUE(sameBitsEverywhere(expectedCounts, counts));
            ASSERT_TRUE(sameBitsEverywhere(expectedCenters, centers));
        }
    }
}

TEST(GetHistogramByBins, by_hand) {
    // 0..99: five values go at each end, 5..94 remain, 90 values in 4 bins of 23, 23, 22 and 22.
    const auto ramp = rampImage(100, 1, 0);
    int counts[4], centers[4];
    EXPECT_EQ(0, getHistogramByBins(counts, centers, 4, ramp.data(), 100));
    EXPECT_EQ((std::vector<int>{23, 23, 22, 22}), std::vector<int>(counts, counts + 4));
    EXPECT_EQ((std::vector<int>{16, 39, 61, 83}), std::vector<int>(centers, centers + 4));
    // Nothing at all: the whole range in two bins whose centres are their middles.
    EXPECT_EQ(0, getHistogramByBins(counts, centers, 2, ramp.data(), 0));
    EXPECT_EQ((std::vector<int>{0, 0, 22, 22}), std::vector<int>(counts, counts + 4));
    EXPECT_EQ((std::vector<int>{16384, 49152, 61, 83}), std::vector<int>(centers, centers + 4));
    for (int bins : {0, -1, std::numeric_limits<int>::min()})
        EXPECT_EQ(0, getHistogramByBins(counts, centers, bins, ramp.data(), 100));
    EXPECT_EQ(1057, getHistogramByBins(nullptr, centers, 4, ramp.data(), 100));
    EXPECT_EQ(1057, getHistogramByBins(counts, nullptr, 4, ramp.data(), 100));
    EXPECT_EQ(1057, getHistogramByBins(counts, centers, 4, nullptr, 100));
    EXPECT_EQ((std::vector<int>{0, 0, 22, 22}), std::vector<int>(counts, counts + 4));
}

// 5 % of 19999999 are 999999.95, and 1000000 in single precision: one more than the black pixels there are.
TEST(GetHistogramByBins, tail_is_taken_in_single_precision) {
    std::vector<WORD> values(19999999, 1000);
    std::fill_n(values.begin(), 999999, WORD{0});
    int count = kPoison, center = kPoison;
    EXPECT_EQ(0, getHistogramByBins(&count, &center, 1, values.data(), 19999999));
    EXPECT_EQ(0, count);  // cut off from both ends, nothing is left between 1001 and 999
    EXPECT_EQ(1001, center);
}

TEST(GetGaussValue, follows_the_polar_method_draw_by_draw) {
    constexpr int kDraws = 400;  // even: the cache is empty before and after
    std::srand(5);
    std::vector<double> expected, actual;
    plain::GaussSource source;
    for (int i = 0; i < kDraws; ++i)
        expected.push_back(source.next(0.5 * i, -3));
    std::srand(5);
    for (int i = 0; i < kDraws; ++i)
        actual.push_back(getGaussValue(0.5 * i, -3));
    EXPECT_TRUE(sameBitsEverywhere(expected, actual));
}

TEST(GetCovOfTwoImages, is_always_one) {
    const WORD pixels[] = {1, 2, 3, 4};
    EXPECT_EQ(1.0f, GetCovOfTwoImages(pixels, 2, 2));
    EXPECT_EQ(1.0f, GetCovOfTwoImages(nullptr, -1, 0));
}

}  // namespace
