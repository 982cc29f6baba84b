#include "Compare.h"
#include "FloatKinds.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <climits>
#include <type_traits>
#include <vector>

namespace {

namespace plain = qx::plain;
using namespace qx::test;

// Orders in which a careless selection takes quadratic time, and ties.
constexpr int (*kShapes[])(SplitMix64&, int i, int n) = {
    [](SplitMix64&, int i, int) { return i; }, [](SplitMix64&, int i, int n) { return n - i; },
    [](SplitMix64&, int i, int n) { return std::min(i, n - i); }, [](SplitMix64&, int i, int) { return i % 7; },
    // Defeats the median of three.
    [](SplitMix64&, int i, int n) {
        const int half = n / 2;
        return i >= half ? (i - half + 1) * 2 : i % 2 == 0 ? i + 1 : half + i / 2 * 2 + 1;
    },
    [](SplitMix64&, int, int) { return 208; }, [](SplitMix64& random, int, int) { return random.below(3); },
    [](SplitMix64& random, int, int) { return random.below(65536); }};

template <class T, class Shape>
std::vector<T> shaped(Shape shape, int n, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<T> values;
    for (int i = 0; i < n; ++i)
        values.push_back(static_cast<T>(shape(random, i, n)));
    return values;
}

template <class T>
std::vector<Draw<T>> kindsOf() {
    if constexpr (std::is_floating_point_v<T>)
        return {std::begin(kFloatKinds<T>), std::end(kFloatKinds<T>)};
    else
        return {[](SplitMix64& random) { return static_cast<T>(random.next()); },
                [](SplitMix64& random) {
                    using Limits = std::numeric_limits<T>;
                    constexpr T kValues[] = {Limits::min(), Limits::max(), T(0), T(-1), Limits::max() - 1};
                    return kValues[random.below(5)];
                }};
}

// A member, the plain one, and which of two middles they take.
template <class T>
struct Member {
    T (*ours)(T*, int);
    T (*plain)(T*, int);
    int fromUpper;
    bool mayTakeLong = false;
};

template <class T>
std::vector<Member<T>> members() {
    const auto descending = [](T* data, int n) { return plain::descendingMedian(data, n); };
    if constexpr (std::is_same_v<T, WORD>)
        return {{[](T* data, int n) { return getMedian(data, n); }, descending, 1},
                {[](T* data, int n) { return getWordMedian(data, n); }, descending, 1}};
    else if constexpr (std::is_same_v<T, double>)
        return {{[](T* data, int n) { return getfloatMedian(data, n); }, descending, 1}};
    else if constexpr (std::is_same_v<T, int>)
        return {{[](T* data, int n) { return getMedian(data, n); }, descending, 1}};
    else
        return {{[](T* data, int n) { return getMedian(data, n); }, descending, 1},
                {[](T* data, int n) { return getFloatMedian(static_cast<const T*>(data), n); },
                 [](T* data, int n) { return plain::ascendingMedian(data, n); }, 0},
                {getFloatMedian, plain::ascendingMedianInPlace, 0},
                {getFloatMedianByQuickMethod, plain::getFloatMedianByQuickMethod, 0, true}};
}

template <class T>
class Medians : public ::testing::Test {};
using Elements = ::testing::Types<int, WORD, float, double>;
TYPED_TEST_SUITE(Medians, Elements);

// Every size up to a few vectors, sizes around powers of two, and one where a quadratic sort begins to hurt.
TYPED_TEST(Medians, members_select_and_reorder_as_the_exchange_sort_does) {
    std::vector<int> sizes = {63, 64, 65, 127, 128, 129, 255, 256, 257, 511, 512, 1023, 1344};
    for (int n = 1; n <= 40; ++n)
        sizes.push_back(n);
    for (const int n : sizes) {
        std::vector<std::vector<TypeParam>> inputs;
        for (std::uint64_t seed = 0; seed < (n < 100 ? 3u : 1u); ++seed) {
            for (const auto shape : kShapes)
                inputs.push_back(shaped<TypeParam>(shape, n, seed));
            for (const auto kind : kindsOf<TypeParam>())
                inputs.push_back(drawn(kind, n, 31 * static_cast<std::uint64_t>(n) + seed));
        }
        for (const auto& member : members<TypeParam>()) {
            for (const auto& input : inputs) {
                std::vector<TypeParam> expected = input, actual = input;
                ASSERT_TRUE(sameBits(member.plain(expected.data(), n), member.ours(actual.data(), n)))
                    << "input " << &input - inputs.data() << ", n = " << n;
                ASSERT_TRUE(sameBitsEverywhere(expected, actual))
                    << "input " << &input - inputs.data() << ", n = " << n;
            }
        }
    }
}

// They would keep the quadratic sort busy for half an hour.
TYPED_TEST(Medians, a_million_values_are_selected_at_once) {
    constexpr int kCount = 1 << 20;
    for (const auto shape : kShapes) {
        std::vector<TypeParam> values = shaped<TypeParam>(shape, kCount, 5), sorted = values;
        std::sort(sorted.begin(), sorted.end());
        for (const auto& member : members<TypeParam>()) {
            if (member.mayTakeLong)
                continue;
            EXPECT_EQ(sorted[kCount / 2 - member.fromUpper], member.ours(values.data(), kCount));
        }
    }
}

TYPED_TEST(Medians, null_or_nothing_gives_1057) {
    TypeParam values[2] = {3, 2};
    for (const auto& member : members<TypeParam>()) {
        for (int n : {0, -1, INT_MIN})
            EXPECT_EQ(TypeParam(1057), member.ours(values, n));
        EXPECT_EQ(TypeParam(1057), member.ours(nullptr, 2));
    }
}

// Statistics test data of a scientific library, an organ pipe and a killer sequence, with both middles.
const struct {
    std::vector<int> values;
    int lower, upper;
} kPublished[] = {{{3, 1, 2}, 2, 2},
                  {{1, 2, 3, 4}, 2, 3},
                  {{-5, 3, INT_MIN, INT_MAX, 0, -1}, -1, 0},
                  {{19, 20, 22, 24, 10, 25, 20, 22, 21, 23, 20, 10, 12, 14, 12, 20, 22, 24, 23, 17}, 20, 20},
                  {{1, 9, 3, 11, 5, 13, 7, 15, 2, 4, 6, 8, 10, 12, 14, 16}, 8, 9},
                  {{0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0}, 3, 4}};

TYPED_TEST(Medians, published_sequences) {
    for (const auto& [values, lower, upper] : kPublished) {
        if (std::is_same_v<TypeParam, WORD> && lower < 0)
            continue;
        for (const auto& member : members<TypeParam>()) {
            std::vector<TypeParam> data(values.begin(), values.end());
            const int expected = member.fromUpper == 0 ? upper : lower;
            EXPECT_EQ(static_cast<TypeParam>(expected), member.ours(data.data(), static_cast<int>(data.size())))
                << "sequence of " << data.size();
        }
    }
}

}  // namespace
