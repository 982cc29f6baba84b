#include "Builders.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <type_traits>
#include <vector>

namespace {

namespace plain = qx::plain;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Values full of ties, some that cannot be an extreme of the bordered search, some that nothing compares with.
constexpr float kValues[] = {0.0f,     -0.0f,    1.0f,      1.0f, -1.0f,     50.0f,     9999.0f,
                             10000.0f, 10001.0f, -10000.0f, kNan, kInfinity, -kInfinity};
constexpr int kFinite = 10;
constexpr int kAll = 13;

template <class T>
void expectPlainIndices(const std::vector<T>& data, int n) {
    EXPECT_EQ(plain::getMinIndex(data.data(), n), getMinIndex(data.data(), n));
    if constexpr (!std::is_same_v<T, WORD>) {
        EXPECT_EQ(plain::getMaxIndex(data.data(), n), getMaxIndex(data.data(), n));
    }
}

template <class T>
void expectPlainInnerIndices(const std::vector<T>& data, int n) {
    for (bool wantMin : {false, true}) {
        EXPECT_EQ(plain::getMaxandMinIndex(data.data(), n, wantMin), getMaxandMinIndex(data.data(), n, wantMin));
    }
}

TEST(Searches, agree_with_the_plain_methods) {
    for (int n = 1; n <= 130; ++n) {
        for (int kinds : {2, 4, kFinite, kAll}) {
            SCOPED_TRACE("n = " + std::to_string(n) + ", kinds = " + std::to_string(kinds));
            qx::test::SplitMix64 random(static_cast<std::uint64_t>(n));
            std::vector<float> data;
            for (int i = 0; i < n; ++i)
                data.push_back(kValues[random.below(kinds)]);
            std::vector<int> ints(data.size());
            std::transform(data.begin(), data.end(), ints.begin(), plain::truncateToInt);
            expectPlainIndices(data, n);
            expectPlainIndices(ints, n);
            expectPlainIndices(std::vector<WORD>(ints.begin(), ints.end()), n);
            expectPlainInnerIndices(data, n);
            expectPlainInnerIndices(std::vector<double>(data.begin(), data.end()), n);
            for (float threshold : kValues) {
                EXPECT_EQ(plain::findidxbigger(data.data(), n, threshold), findidxbigger(data.data(), n, threshold));
                EXPECT_EQ(plain::findidxsmaller(data.data(), n, threshold), findidxsmaller(data.data(), n, threshold));
            }
        }
    }
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

TEST(GetMaxandMinIndex, minima_above_10000_are_not_found) {
    const std::vector<float> above(40, 10000.5f), limit(40, 10000.0f);
    EXPECT_EQ(0, getMaxandMinIndex(above.data(), 40, true));
    EXPECT_EQ(23, getMaxandMinIndex(limit.data(), 40, true));
}

// The first of the smallest, the last of the largest, and what null and empty arrays give.
template <class T>
void expectIndices() {
    const T smallest[] = {3, 1, 1}, *const null = nullptr;
    EXPECT_EQ(1, getMinIndex(smallest, 3));
    EXPECT_EQ(1057, getMinIndex(null, 3));
    for (int n : {0, -1, INT_MIN})
        EXPECT_EQ(0, getMinIndex(smallest, n));
    if constexpr (!std::is_same_v<T, WORD>) {
        const T largest[] = {5, 7, 7, static_cast<T>(INT_MIN)};
        EXPECT_EQ(2, getMaxIndex(largest, 4));
        EXPECT_EQ(1057, getMaxIndex(null, 3));
        for (int n : {0, -1, INT_MIN})
            EXPECT_EQ(0, getMaxIndex(largest, n));
    }
}

TEST(Searches, by_hand) {
    expectIndices<int>();
    expectIndices<WORD>();
    expectIndices<float>();
    const float* const null = nullptr;
    EXPECT_EQ(1057, getMaxandMinIndex(null, 40, true));
    EXPECT_EQ(1057, getMaxandMinIndex(static_cast<const double*>(nullptr), 40, false));
    EXPECT_EQ(1057, findidxbigger(null, 3, 0));
    EXPECT_EQ(1057, findidxsmaller(null, 3, 0));
    const float one = 1;
    for (int n : {0, -1, INT_MIN}) {
        EXPECT_EQ(-1, findidxbigger(&one, n, 0));
        EXPECT_EQ(n, findidxsmaller(&one, n, 5));
    }
}

TEST(ThresholdSearch, first_from_the_front_and_last_from_the_back) {
    const float data[] = {1, 5, 5, 2, 5, 1, 9};
    EXPECT_EQ(1, findidxbigger(data, 7, 5));
    EXPECT_EQ(-1, findidxbigger(data, 7, 9.5f));
    EXPECT_EQ(5, findidxsmaller(data, 7, 1));
    EXPECT_EQ(7, findidxsmaller(data, 7, 0.5f));  // not -1
}

}  // namespace
