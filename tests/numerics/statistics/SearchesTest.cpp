#include "Builders.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::SplitMix64;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Values full of ties, some that cannot be an extreme of the bordered search, some that nothing compares with.
constexpr float kValues[] = {0.0f,     -0.0f,    1.0f,      1.0f, -1.0f,     50.0f,     9999.0f,
                             10000.0f, 10001.0f, -10000.0f, kNan, kInfinity, -kInfinity};
constexpr int kFinite = 10;
constexpr int kAll = 13;

std::vector<float> tiedValues(int n, int kinds, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<float> data;
    for (int i = 0; i < n; ++i)
        data.push_back(kValues[random.below(kinds)]);
    return data;
}

template <class Check>
void sweepFloats(Check check) {
    for (int n = 1; n <= 130; ++n) {
        for (int kinds : {2, 4, kFinite, kAll}) {
            SCOPED_TRACE("n = " + std::to_string(n) + ", kinds = " + std::to_string(kinds));
            check(tiedValues(n, kinds, static_cast<std::uint64_t>(n)), n);
        }
    }
}

TEST(GetMaxandMinIndex, agrees_with_the_plain_method) {
    sweepFloats([](const std::vector<float>& data, int n) {
        const std::vector<double> doubles(data.begin(), data.end());
        for (bool wantMin : {false, true}) {
            EXPECT_EQ(plain::getMaxandMinIndex(data.data(), n, wantMin), getMaxandMinIndex(data.data(), n, wantMin));
            EXPECT_EQ(plain::getMaxandMinIndex(doubles.data(), n, wantMin),
                      getMaxandMinIndex(doubles.data(), n, wantMin));
        }
    });
}

TEST(GetMaxandMinIndex, sixteen_elements_at_each_end_are_not_looked_at) {
    std::vector<double> data(33, 5.0);
    data[15] = data[17] = -9;
    EXPECT_EQ(16, getMaxandMinIndex(data.data(), 33, true));
    for (int n : {32, 1, 0, -1, INT_MIN}) {
        EXPECT_EQ(0, getMaxandMinIndex(data.data(), n, true)) << n;
        EXPECT_EQ(0, getMaxandMinIndex(data.data(), n, false)) << n;
    }
}

TEST(GetMaxandMinIndex, starting_values_bound_what_can_be_found) {
    std::vector<float> data(40, 10000.5f);
    EXPECT_EQ(0, getMaxandMinIndex(data.data(), 40, true));
    EXPECT_EQ(23, getMaxandMinIndex(data.data(), 40, false));
    data.assign(40, -0.5f);
    EXPECT_EQ(23, getMaxandMinIndex(data.data(), 40, true));
    EXPECT_EQ(0, getMaxandMinIndex(data.data(), 40, false));
    data.assign(40, 10000.0f);  // the starting value itself still counts
    EXPECT_EQ(23, getMaxandMinIndex(data.data(), 40, true));
}

TEST(GetMinIndex, first_of_the_smallest) {
    sweepFloats([](const std::vector<float>& data, int n) {
        EXPECT_EQ(plain::getMinIndex(data.data(), n), getMinIndex(data.data(), n));
        std::vector<int> ints;
        std::vector<WORD> words;
        for (float value : data) {
            ints.push_back(plain::truncateToInt(value));
            words.push_back(static_cast<WORD>(ints.back()));
        }
        EXPECT_EQ(plain::getMinIndex(ints.data(), n), getMinIndex(ints.data(), n));
        EXPECT_EQ(plain::getMinIndex(words.data(), n), getMinIndex(words.data(), n));
        EXPECT_EQ(plain::getMaxIndex(ints.data(), n), getMaxIndex(ints.data(), n));
        EXPECT_EQ(plain::getMaxIndex(data.data(), n), getMaxIndex(data.data(), n));
    });
    const int ints[] = {3, 1, 1};
    const WORD words[] = {3, 1, 1};
    const float floats[] = {3, 1, 1};
    EXPECT_EQ(1, getMinIndex(ints, 3));
    EXPECT_EQ(1, getMinIndex(words, 3));
    EXPECT_EQ(1, getMinIndex(floats, 3));
}

TEST(GetMaxIndex, last_of_the_largest) {
    const int ints[] = {5, 7, 7, INT_MIN};
    const float floats[] = {5, 7, 7, -kInfinity};
    EXPECT_EQ(2, getMaxIndex(ints, 4));
    EXPECT_EQ(2, getMaxIndex(floats, 4));
}

TEST(Searches, empty_arrays) {
    const int ints[] = {1};
    const WORD words[] = {1};
    const float floats[] = {1};
    for (int n : {0, -1, INT_MIN}) {
        EXPECT_EQ(0, getMinIndex(ints, n));
        EXPECT_EQ(0, getMinIndex(words, n));
        EXPECT_EQ(0, getMinIndex(floats, n));
        EXPECT_EQ(0, getMaxIndex(ints, n));
        EXPECT_EQ(0, getMaxIndex(floats, n));
        EXPECT_EQ(-1, findidxbigger(floats, n, 0));
        EXPECT_EQ(n, findidxsmaller(floats, n, 5));
    }
}

TEST(Searches, null_gives_1057) {
    const float* const noFloats = nullptr;
    EXPECT_EQ(1057, getMaxandMinIndex(noFloats, 40, true));
    EXPECT_EQ(1057, getMaxandMinIndex(static_cast<const double*>(nullptr), 40, false));
    EXPECT_EQ(1057, getMinIndex(noFloats, 3));
    EXPECT_EQ(1057, getMinIndex(static_cast<const int*>(nullptr), 3));
    EXPECT_EQ(1057, getMinIndex(static_cast<const WORD*>(nullptr), 3));
    EXPECT_EQ(1057, getMaxIndex(noFloats, 3));
    EXPECT_EQ(1057, getMaxIndex(static_cast<const int*>(nullptr), 3));
    EXPECT_EQ(1057, findidxbigger(noFloats, 3, 0));
    EXPECT_EQ(1057, findidxsmaller(noFloats, 3, 0));
}

TEST(ThresholdSearch, agrees_with_the_plain_method) {
    sweepFloats([](const std::vector<float>& data, int n) {
        for (float threshold : kValues) {
            EXPECT_EQ(plain::findidxbigger(data.data(), n, threshold), findidxbigger(data.data(), n, threshold));
            EXPECT_EQ(plain::findidxsmaller(data.data(), n, threshold), findidxsmaller(data.data(), n, threshold));
        }
    });
}

TEST(ThresholdSearch, first_from_the_front_and_last_from_the_back) {
    const float data[] = {1, 5, 5, 2, 5, 1, 9};
    EXPECT_EQ(1, findidxbigger(data, 7, 5));
    EXPECT_EQ(-1, findidxbigger(data, 7, 9.5f));
    EXPECT_EQ(5, findidxsmaller(data, 7, 1));
    EXPECT_EQ(7, findidxsmaller(data, 7, 0.5f));  // not -1
}

}  // namespace
