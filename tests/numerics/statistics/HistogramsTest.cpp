#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::sameBits;
using qx::test::SplitMix64;

constexpr int kPoison = -4711;

struct WordInput {
    std::string name;
    std::vector<WORD> values;
};

std::vector<WordInput> wordInputs() {
    std::vector<WordInput> inputs;
    for (int n : {1, 2, 3, 19, 20, 21, 39, 40, 100, 1000, 4097}) {
        const std::string size = ", n = " + std::to_string(n);
        const auto seed = static_cast<std::uint64_t>(n);
        inputs.push_back({"ramp" + size, qx::test::rampImage(n, 1, 0).pixels});
        inputs.push_back({"narrow" + size, qx::test::randomImage(n, 1, 100, 115, seed).pixels});
        inputs.push_back({"wide" + size, qx::test::randomImage(n, 1, 0, 65535, seed).pixels});
        inputs.push_back({"two-valued" + size, qx::test::twoValuedImage(n, 1, 3, 60000, seed).pixels});
        inputs.push_back({"black" + size, qx::test::constantImage(n, 1, 0).pixels});
        inputs.push_back({"white" + size, qx::test::constantImage(n, 1, 65535).pixels});
        inputs.push_back({"saturated" + size, qx::test::saturatedImage(n, 1, seed).pixels});
    }
    return inputs;
}

TEST(GetHisMedian, agrees_with_the_plain_method_and_fills_the_histogram) {
    for (const auto& [name, values] : wordInputs()) {
        for (int bins : {0, 1, 2, 110, 256, 65535, 65536}) {
            const int n = static_cast<int>(values.size());
            std::vector<int> expected(bins + 1, kPoison);
            std::vector<int> hist(bins + 1, kPoison);
            EXPECT_EQ(plain::getHisMedian(values.data(), n, expected.data(), bins),
                      getHisMedian(values.data(), n, hist.data(), bins))
                << name << ", bins = " << bins;
            EXPECT_EQ(expected, hist) << name << ", bins = " << bins;
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
    EXPECT_EQ(1057, getHisMedian(values, 0, hist, 100));
    EXPECT_EQ(1057, getHisMedian(values, -4, hist, 100));
    EXPECT_EQ(1057, getHisMedian(nullptr, 4, hist, 100));
}

struct FloatKind {
    const char* name;
    float (*element)(SplitMix64&);
};

constexpr FloatKind kFloatKinds[] = {
    {"0 to 110", [](SplitMix64& r) { return static_cast<float>(r.uniform() * 110); }},
    {"around one", [](SplitMix64& r) { return static_cast<float>(1 + 0.01 * r.gaussian()); }},
    {"finer than a bin", [](SplitMix64& r) { return static_cast<float>(5 + 0.00003 * r.uniform()); }},
    {"a few bins", [](SplitMix64& r) { return 1.0f + 0.0001f * static_cast<float>(r.below(5)); }},
    {"two values", [](SplitMix64& r) { return r.below(2) == 0 ? 0.0f : 1.0f; }},
    {"above the ceiling", [](SplitMix64& r) { return static_cast<float>(100 + 400 * r.uniform()); }},
    {"all above the ceiling", [](SplitMix64& r) { return static_cast<float>(111 + 400 * r.uniform()); }},
    {"millions of bins, most of them empty", [](SplitMix64& r) { return static_cast<float>(100 - 300 * r.uniform()); }},
    {"millions of bins, a few values",
     [](SplitMix64& r) { return r.below(3) == 0 ? -150.0f : 0.25f * static_cast<float>(r.below(4)); }},
    {"negative", [](SplitMix64& r) { return static_cast<float>(-3 * r.uniform()); }},
    {"either sign", [](SplitMix64& r) { return static_cast<float>(r.gaussian()); }},
    {"constant", [](SplitMix64&) { return 7.25f; }},
    {"at the ceiling", [](SplitMix64&) { return 110.0f; }},
    {"above the start of the minimum", [](SplitMix64&) { return 70000.0f; }},
    {"one NaN in four",
     [](SplitMix64& r) {
         return r.below(4) == 0 ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(r.uniform());
     }},
    {"nothing but NaN", [](SplitMix64&) { return std::numeric_limits<float>::quiet_NaN(); }},
};

TEST(GetFloatHisMedian, agrees_with_the_plain_method) {
    for (const FloatKind& kind : kFloatKinds) {
        for (int n : {1, 2, 3, 4, 5, 16, 17, 100, 1001}) {
            SplitMix64 random(static_cast<std::uint64_t>(n));
            std::vector<float> data;
            for (int i = 0; i < n; ++i)
                data.push_back(kind.element(random));
            const std::vector<float> before = data;
            EXPECT_TRUE(
                sameBits(plain::getFloatHisMedian(data.data(), n), getFloatHisMedian(data.data(), n, nullptr, 0)))
                << kind.name << ", n = " << n;
            EXPECT_TRUE(qx::test::sameBitsEverywhere(before, data));
        }
    }
}

TEST(GetFloatHisMedian, edges) {
    const float high[] = {10, 20, 30, 500};
    const float clipped[] = {10, 20, 30, 110};
    EXPECT_TRUE(sameBits(getFloatHisMedian(clipped, 4, nullptr, 0), getFloatHisMedian(high, 4, nullptr, 0)));
    EXPECT_EQ(1057.0f, getFloatHisMedian(high, 0, nullptr, 0));
    EXPECT_EQ(1057.0f, getFloatHisMedian(high, -1, nullptr, 0));
    EXPECT_EQ(1057.0f, getFloatHisMedian(nullptr, 4, nullptr, 0));
    const float tooWide[] = {-3e5f, 0};  // 3e9 bins
    EXPECT_EQ(1020.0f, getFloatHisMedian(tooWide, 2, nullptr, 0));
    const float endless[] = {-std::numeric_limits<float>::infinity(), 0};
    EXPECT_EQ(1020.0f, getFloatHisMedian(endless, 2, nullptr, 0));
}

TEST(GetHistogramByBins, agrees_with_the_plain_method) {
    for (const auto& [name, values] : wordInputs()) {
        for (int bins : {1, 2, 3, 7, 16, 17, 100, 1000, 70000}) {
            const int n = static_cast<int>(values.size());
            std::vector<int> expectedCounts(bins + 1, kPoison), counts(bins + 1, kPoison);
            std::vector<int> expectedCenters(bins + 1, kPoison), centers(bins + 1, kPoison);
            plain::getHistogramByBins(expectedCounts.data(), expectedCenters.data(), bins, values.data(), n);
            EXPECT_EQ(0, getHistogramByBins(counts.data(), centers.data(), bins, values.data(), n));
            ASSERT_TRUE(qx::test::sameBitsEverywhere(expectedCounts, counts)) << name << ", bins = " << bins;
            ASSERT_TRUE(qx::test::sameBitsEverywhere(expectedCenters, centers)) << name << ", bins = " << bins;
        }
    }
}

TEST(GetHistogramByBins, by_hand) {
    // 0..99: five values go at each end, 5..94 remain, 90 values in 4 bins of 23, 23, 22 and 22.
    const auto ramp = qx::test::rampImage(100, 1, 0);
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
    EXPECT_TRUE(qx::test::sameBitsEverywhere(expected, actual));
}

TEST(GetGaussValue, mean_and_deviation_are_those_asked_for) {
    constexpr int kDraws = 20000;
    std::srand(1);
    double sum = 0;
    double squares = 0;
    for (int i = 0; i < kDraws; ++i) {
        const double value = getGaussValue(2, 10);
        sum += value;
        squares += (value - 10) * (value - 10);
    }
    EXPECT_NEAR(10, sum / kDraws, 5 * 2 / std::sqrt(kDraws));
    EXPECT_NEAR(4, squares / kDraws, 5 * 4 * std::sqrt(2.0 / kDraws));
}

TEST(GetCovOfTwoImages, is_always_one) {
    const WORD pixels[] = {1, 2, 3, 4};
    EXPECT_EQ(1.0f, GetCovOfTwoImages(pixels, 2, 2));
    EXPECT_EQ(1.0f, GetCovOfTwoImages(nullptr, -1, 0));
}

}  // namespace
