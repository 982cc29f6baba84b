#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <string>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::sameBits;
using qx::test::sameBitsEverywhere;
using qx::test::SplitMix64;

// Every size up to a few vectors, sizes around powers of two, and sizes where a quadratic sort begins to hurt.
std::vector<int> sizeLadder() {
    std::vector<int> sizes;
    for (int n = 1; n <= 40; ++n)
        sizes.push_back(n);
    for (int n : {63, 64, 65, 127, 128, 129, 255, 256, 257, 511, 512, 1023, 1024, 1344})
        sizes.push_back(n);
    return sizes;
}

// How element i of n comes about; shape 0 and up are the same for every type.
template <class T>
struct Kind {
    const char* name;
    T (*element)(SplitMix64&, int i, int n);
};

template <class T>
std::vector<T> make(const Kind<T>& kind, int n, std::uint64_t seed) {
    SplitMix64 random(seed);
    std::vector<T> data;
    for (int i = 0; i < n; ++i)
        data.push_back(kind.element(random, i, n));
    return data;
}

template <class T>
std::vector<Kind<T>> shapes() {
    return {{"ascending", [](SplitMix64&, int i, int) { return static_cast<T>(i); }},
            {"descending", [](SplitMix64&, int i, int n) { return static_cast<T>(n - i); }},
            {"organ pipe", [](SplitMix64&, int i, int n) { return static_cast<T>(std::min(i, n - i)); }},
            {"saw tooth", [](SplitMix64&, int i, int) { return static_cast<T>(i % 7); }},
            // Defeats the median of three.
            {"killer",
             [](SplitMix64&, int i, int n) {
                 const int half = n / 2;
                 return static_cast<T>(i >= half ? (i - half + 1) * 2 : i % 2 == 0 ? i + 1 : half + i / 2 * 2 + 1);
             }},
            {"constant", [](SplitMix64&, int, int) { return static_cast<T>(208); }},
            {"few values", [](SplitMix64& random, int, int) { return static_cast<T>(random.below(3)); }},
            {"random", [](SplitMix64& random, int, int) { return static_cast<T>(random.below(65536)); }}};
}

template <class T>
void append(std::vector<Kind<T>>& kinds, std::initializer_list<Kind<T>> more) {
    kinds.insert(kinds.end(), more);
}

std::vector<Kind<int>> intKinds() {
    auto kinds = shapes<int>();
    append<int>(kinds,
                {{"all of the range", [](SplitMix64& random, int, int) { return static_cast<int>(random.next()); }},
                 {"extremes", [](SplitMix64& random, int, int) {
                      constexpr int kValues[] = {INT_MIN, INT_MAX, 0, -1, INT_MIN + 1, INT_MAX - 1};
                      return kValues[random.below(6)];
                  }}});
    return kinds;
}

std::vector<Kind<WORD>> wordKinds() {
    auto kinds = shapes<WORD>();
    append<WORD>(
        kinds,
        {{"saturated",
          [](SplitMix64& random, int, int) { return static_cast<WORD>(std::min(65535, 65500 + random.below(70))); }},
         {"black and white", [](SplitMix64& random, int, int) { return static_cast<WORD>(random.below(2) * 65535); }}});
    return kinds;
}

// Values that comparisons cannot tell apart or order: NaN of several kinds, zeros of either sign, infinities.
template <class T>
T special(int which) {
    using Limits = std::numeric_limits<T>;
    const T values[] = {Limits::quiet_NaN(),
                        -Limits::quiet_NaN(),
                        T(0),
                        -T(0),
                        Limits::infinity(),
                        -Limits::infinity(),
                        T(1),
                        T(-1),
                        Limits::max(),
                        Limits::lowest(),
                        Limits::denorm_min(),
                        -Limits::denorm_min()};
    return values[which];
}

template <class T>
std::vector<Kind<T>> floatKinds() {
    auto kinds = shapes<T>();
    append<T>(
        kinds,
        {{"fractions", [](SplitMix64& random, int, int) { return static_cast<T>(random.uniform() - 0.5); }},
         {"signed zeros", [](SplitMix64& random, int, int) { return special<T>(2 + random.below(2)); }},
         {"zeros among others",
          [](SplitMix64& random, int, int) {
              constexpr int kWhich[] = {2, 3, 2, 3, 6, 7};
              return special<T>(kWhich[random.below(6)]);
          }},
         {"one NaN in eight",
          [](SplitMix64& random, int, int) {
              return random.below(8) == 0 ? special<T>(random.below(2)) : static_cast<T>(random.below(100) - 50);
          }},
         {"NaN in the middle", [](SplitMix64& random, int i,
                                  int n) { return i == n / 2 ? special<T>(0) : static_cast<T>(random.uniform()); }},
         {"NaN at the ends",
          [](SplitMix64& random, int i, int n) {
              return i == 0 || i == n - 1 ? special<T>(1) : static_cast<T>(random.uniform());
          }},
         {"nothing but NaN", [](SplitMix64& random, int, int) { return special<T>(random.below(2)); }},
         {"anything", [](SplitMix64& random, int, int) { return special<T>(random.below(12)); }}});
    return kinds;
}

constexpr int kSeeds = 3;

// Runs check(input) on every kind, size and seed.
template <class T, class Check>
void sweep(const std::vector<Kind<T>>& kinds, const std::vector<int>& sizes, Check check) {
    for (const Kind<T>& kind : kinds) {
        for (int n : sizes) {
            for (int seed = 0; seed < (n < 100 ? kSeeds : 1); ++seed) {
                SCOPED_TRACE(std::string(kind.name) + ", n = " + std::to_string(n) + ", seed " + std::to_string(seed));
                check(make(kind, n, static_cast<std::uint64_t>(n) * 31 + static_cast<std::uint64_t>(seed)));
                if (testing::Test::HasFailure())
                    return;
            }
        }
    }
}

// A member that works on a copy: the oracle's element, and the input as it was.
template <class T>
auto copyingMemberCheck(T (*ours)(const T*, int), T (*oracle)(const T*, int)) {
    return [=](const std::vector<T>& input) {
        const std::vector<T> data = input;
        const int n = static_cast<int>(data.size());
        EXPECT_TRUE(sameBits(oracle(data.data(), n), ours(data.data(), n)));
        EXPECT_TRUE(sameBitsEverywhere(input, data));
    };
}

// A member that reorders the array: the oracle's element and the oracle's order.
auto reorderingMemberCheck(float (*ours)(float*, int), float (*oracle)(float*, int)) {
    return [=](const std::vector<float>& input) {
        std::vector<float> expected = input;
        std::vector<float> actual = input;
        const int n = static_cast<int>(input.size());
        const float median = oracle(expected.data(), n);
        EXPECT_TRUE(sameBits(median, ours(actual.data(), n)));
        EXPECT_TRUE(sameBitsEverywhere(expected, actual));
    };
}

TEST(GetMedian, int_member_selects_what_the_exchange_sort_selects) {
    sweep(intKinds(), sizeLadder(), copyingMemberCheck<int>(getMedian, plain::descendingMedian));
}

TEST(GetMedian, word_members_select_what_the_exchange_sort_selects) {
    sweep(wordKinds(), sizeLadder(), copyingMemberCheck<WORD>(getMedian, plain::descendingMedian));
    sweep(wordKinds(), {1, 2, 3, 4, 25, 1344}, copyingMemberCheck<WORD>(getWordMedian, plain::descendingMedian));
}

TEST(GetMedian, float_member_selects_what_the_exchange_sort_selects) {
    sweep(floatKinds<float>(), sizeLadder(), copyingMemberCheck<float>(getMedian, plain::descendingMedian));
}

TEST(GetfloatMedian, selects_what_the_exchange_sort_selects) {
    auto kinds = floatKinds<double>();
    append<double>(kinds, {{"below single precision",
                            [](SplitMix64& random, int, int) { return 1.0 + random.below(50) * 0x1p-40; }}});
    sweep(kinds, sizeLadder(), copyingMemberCheck<double>(getfloatMedian, plain::descendingMedian));
}

TEST(GetFloatMedian, const_member_selects_what_the_exchange_sort_selects) {
    sweep(floatKinds<float>(), sizeLadder(), copyingMemberCheck<float>(getFloatMedian, plain::ascendingMedian));
}

TEST(GetFloatMedian, other_member_leaves_the_array_as_the_exchange_sort_does) {
    sweep(floatKinds<float>(), sizeLadder(), reorderingMemberCheck(getFloatMedian, plain::ascendingMedianInPlace));
}

TEST(GetFloatMedianByQuickMethod, selects_and_reorders_step_by_step) {
    std::vector<int> sizes = sizeLadder();
    sizes.insert(sizes.end(), {5000, 20000});
    sweep(floatKinds<float>(), sizes,
          reorderingMemberCheck(getFloatMedianByQuickMethod, plain::getFloatMedianByQuickMethod));
}

// Sizes of an image column, an edge area and more, on the kinds where a selection could part from the sort.
TEST(Medians, large_arrays_agree_with_the_exchange_sort) {
    const auto some = [](auto kinds) {
        std::erase_if(kinds, [](const auto& kind) {
            const std::string name = kind.name;
            return name != "random" && name != "few values" && name != "one NaN in eight" && name != "anything" &&
                   name != "zeros among others";
        });
        return kinds;
    };
    const std::vector<int> sizes = {3072, 5001};
    sweep(some(intKinds()), sizes, copyingMemberCheck<int>(getMedian, plain::descendingMedian));
    sweep(some(wordKinds()), sizes, copyingMemberCheck<WORD>(getMedian, plain::descendingMedian));
    sweep(some(floatKinds<float>()), sizes, copyingMemberCheck<float>(getMedian, plain::descendingMedian));
    sweep(some(floatKinds<double>()), sizes, copyingMemberCheck<double>(getfloatMedian, plain::descendingMedian));
    sweep(some(floatKinds<float>()), sizes, copyingMemberCheck<float>(getFloatMedian, plain::ascendingMedian));
    sweep(some(floatKinds<float>()), sizes, reorderingMemberCheck(getFloatMedian, plain::ascendingMedianInPlace));
}

TEST(Medians, twenty_thousand_values_agree_with_the_exchange_sort) {
    const Kind<float> random{"random", [](SplitMix64& r, int, int) { return static_cast<float>(r.below(65536)); }};
    const Kind<int> whole{"random", [](SplitMix64& r, int, int) { return r.below(65536); }};
    sweep<int>({whole}, {20000}, copyingMemberCheck<int>(getMedian, plain::descendingMedian));
    sweep<float>({random}, {20000}, reorderingMemberCheck(getFloatMedian, plain::ascendingMedianInPlace));
}

template <class T>
T ranked(std::vector<T> data, std::size_t rank) {
    std::nth_element(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(rank), data.end());
    return data[rank];
}

// A million values would keep the quadratic sort busy for half an hour.
TEST(Medians, a_million_values_are_selected_at_once) {
    constexpr int kCount = 1 << 20;
    for (std::size_t k = 0; k < shapes<int>().size(); ++k) {
        SCOPED_TRACE(shapes<int>()[k].name);
        const auto ints = make(shapes<int>()[k], kCount, 5);
        EXPECT_EQ(ranked(ints, kCount / 2 - 1), getMedian(ints.data(), kCount));
        const auto words = make(shapes<WORD>()[k], kCount, 5);
        EXPECT_EQ(ranked(words, kCount / 2 - 1), getMedian(words.data(), kCount));
        const auto doubles = make(shapes<double>()[k], kCount, 5);
        EXPECT_EQ(ranked(doubles, kCount / 2 - 1), getfloatMedian(doubles.data(), kCount));
        auto floats = make(shapes<float>()[k], kCount, 5);
        const float upper = ranked(floats, kCount / 2);
        EXPECT_EQ(ranked(floats, kCount / 2 - 1), getMedian(floats.data(), kCount));
        EXPECT_EQ(upper, getFloatMedian(std::as_const(floats).data(), kCount));
        EXPECT_EQ(upper, getFloatMedian(floats.data(), kCount));
        EXPECT_TRUE(std::is_sorted(floats.begin(), floats.end()));
    }
}

TEST(Medians, null_or_nothing_gives_1057) {
    float values[2] = {3, 2};
    const int ints[2] = {3, 2};
    const WORD words[2] = {3, 2};
    const double doubles[2] = {3, 2};
    for (int n : {0, -1, INT_MIN}) {
        EXPECT_EQ(1057, getMedian(ints, n));
        EXPECT_EQ(1057, getMedian(words, n));
        EXPECT_EQ(1057, getWordMedian(words, n));
        EXPECT_EQ(1057.0f, getMedian(std::as_const(values), n));
        EXPECT_EQ(1057.0f, getFloatMedian(std::as_const(values), n));
        EXPECT_EQ(1057.0f, getFloatMedian(values, n));
        EXPECT_EQ(1057.0f, getFloatMedianByQuickMethod(values, n));
        EXPECT_EQ(1057.0, getfloatMedian(doubles, n));
    }
    EXPECT_EQ(1057, getMedian(static_cast<const int*>(nullptr), 2));
    EXPECT_EQ(1057, getMedian(static_cast<const WORD*>(nullptr), 2));
    EXPECT_EQ(1057, getWordMedian(nullptr, 2));
    EXPECT_EQ(1057.0f, getMedian(static_cast<const float*>(nullptr), 2));
    EXPECT_EQ(1057.0f, getFloatMedian(static_cast<const float*>(nullptr), 2));
    EXPECT_EQ(1057.0f, getFloatMedian(static_cast<float*>(nullptr), 2));
    EXPECT_EQ(1057.0f, getFloatMedianByQuickMethod(nullptr, 2));
    EXPECT_EQ(1057.0, getfloatMedian(nullptr, 2));
}

struct Published {
    const char* name;
    std::vector<int> values;
    int lower, upper;
};

// Statistics test data of a scientific library, sorting benchmarks and a killer sequence, with both middles.
std::vector<Published> publishedSequences() {
    return {{"one", {5}, 5, 5},
            {"two", {9, 4}, 4, 9},
            {"three", {3, 1, 2}, 2, 2},
            {"four", {1, 2, 3, 4}, 2, 3},
            {"signed", {-5, 3, INT_MIN, INT_MAX, 0, -1}, -1, 0},
            {"duplicates", {7, 7, 7, 7, 7, 7, 7, 7, 7, 8, 8, 8, 8, 8, 8, 8, 8}, 7, 7},
            {"group b", {19, 20, 22, 24, 10, 25, 20, 22, 21, 23, 20, 10, 12, 14, 12, 20, 22, 24, 23, 17}, 20, 20},
            {"random", {52, 30, 37, 0, 23, 33, 24, 9, 2, 11, 20, 35, 15, 34, 23, 38}, 23, 24},
            {"shuffle", {2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30, 32}, 16, 18},
            {"stagger", {0, 8, 0, 8, 0, 8, 0, 8, 0, 8, 0, 8, 0, 8, 0, 8}, 0, 8},
            {"killer", {1, 9, 3, 11, 5, 13, 7, 15, 2, 4, 6, 8, 10, 12, 14, 16}, 8, 9},
            {"organ pipe", {0, 1, 2, 3, 4, 5, 6, 7, 7, 6, 5, 4, 3, 2, 1, 0}, 3, 4}};
}

TEST(Medians, published_sequences) {
    for (const auto& [name, values, lower, upper] : publishedSequences()) {
        SCOPED_TRACE(name);
        const int n = static_cast<int>(values.size());
        std::vector<float> floats(values.begin(), values.end());
        const std::vector<double> doubles(values.begin(), values.end());
        EXPECT_EQ(lower, getMedian(values.data(), n));
        EXPECT_EQ(static_cast<float>(lower), getMedian(std::as_const(floats).data(), n));
        EXPECT_EQ(lower, getfloatMedian(doubles.data(), n));
        EXPECT_EQ(static_cast<float>(upper), getFloatMedian(std::as_const(floats).data(), n));
        std::vector<float> reordered = floats;
        EXPECT_EQ(static_cast<float>(upper), getFloatMedianByQuickMethod(reordered.data(), n));
        EXPECT_EQ(static_cast<float>(upper), getFloatMedian(floats.data(), n));
        if (*std::min_element(values.begin(), values.end()) >= 0) {
            const std::vector<WORD> words(values.begin(), values.end());
            EXPECT_EQ(lower, getMedian(words.data(), n));
            EXPECT_EQ(lower, getWordMedian(words.data(), n));
        }
    }
}

}  // namespace
