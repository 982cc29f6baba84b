#include "Compare.h"
#include "FloatKinds.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainFilters.h"

#include <QxUtils/Numerics.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <numeric>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

namespace {

namespace plain = qx::plain;
using namespace qx::test;
using Floats = std::vector<float>;
using Words = std::vector<WORD>;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kPoison = -4711.0f;

// At every vector level the library's function makes of a buffer what the plain one makes of it.
template <class Same, class T, class Plain, class Ours, class... Arguments>
void expectSame(Same same, const std::vector<T>& buffer, Plain plainly, Ours ours, Arguments... arguments) {
    std::vector<T> expected = buffer;
    plainly(expected.data(), arguments...);
    atEachVectorLevel([&] {
        std::vector<T> actual = buffer;
        ours(actual.data(), arguments...);
        EXPECT_TRUE(same(expected, actual));
    });
}

TEST(MedianFilter, by_hand) {
    const std::tuple<Floats, int, Floats> cases[] = {{{9, 1, 8, 2, 7}, 2, {9, 1, 7, 2, 7}},
                                                     {{1, 1, 1, 1000, 1, 1, 1}, 2, {1, 1, 1, 1, 1, 1, 1}},
                                                     {{0, 9, 0, 9, 0, 9, 0}, 1, {0, 0, 9, 0, 9, 0, 0}},
                                                     {{2, kNan, 1}, 1, {2, kNan, 1}},
                                                     {{kNan, 1, 2}, 1, {kNan, 2, 2}},
                                                     {{1, 2, kNan}, 1, {1, 1, kNan}}};
    for (const auto& [before, r, after] : cases) {
        Floats data = before;
        medianFilter(data.data(), static_cast<int>(data.size()), r);
        EXPECT_TRUE(sameBitsEverywhere(after, data)) << before[0] << ", r = " << r;
    }
}

void selectByRank(float* data, int n, int r) {
    const Floats unfiltered(data, data + n);
    for (int i = r; i < n - r; ++i) {
        Floats window(unfiltered.begin() + (i - r), unfiltered.begin() + (i + r + 1));
        std::nth_element(window.begin(), window.begin() + r, window.end());
        data[i] = window[r];
    }
}

TEST(MedianFilter, selects_what_the_exchange_sort_selects) {
    const auto check = [](Draw<float> kind, int n, int r, auto oracle) {
        SCOPED_TRACE("n = " + std::to_string(n) + ", r = " + std::to_string(r));
        const Floats values = drawn(kind, n + 1, static_cast<std::uint64_t>(n));
        expectSame(sameBitsEverywhere<Floats>, values, oracle, medianFilter, n, r);
    };
    for (const auto& kind : kFloatKinds<float>) {
        SCOPED_TRACE("kind " + std::to_string(&kind - kFloatKinds<float>));
        for (int r : {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 25, 60, 129, 200}) {
            for (int more : {-1, 0, 1, 2, 3, 15, 16, 17, 18, 31, 33, 34, 65, 66, 129})
                check(kind, std::max(0, 2 * r + more), r, plain::medianFilter);
        }
        for (const auto& [n, r] : {std::pair{40000, 1}, {40000, 2}, {17000, 7}, {17000, 12}, {4000, 25}, {2000, 60}})
            check(kind, n, r, plain::medianFilter);
    }
    for (const auto& [n, r] : {std::pair{18000, 25}, {9000, 60}, {14000, 200}, {6000, 1000}}) {
        for (int kind = 1; kind < kRegularFloatKinds; kind += 2)
            check(kFloatKinds<float>[kind], n, r, selectByRank);
    }
    // Windows wide enough to be ranked, across two pieces.
    for (const auto& kind : std::span(kFloatKinds<float>).subspan(kRegularFloatKinds))
        check(kind, 4096 + 2 * 151 + 20, 151, plain::medianFilter);
}

// The first windows hold the lowest and the highest values alone, which are thousands of ranks apart.
TEST(MedianFilter, medians_that_jump_across_all_other_values) {
    SplitMix64 random(3);
    Floats values(12000);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(random.below(1000) + (i < 2600 ? (random.below(2) == 0 ? 90000 : -90000) : 0));
    expectSame(sameBitsEverywhere<Floats>, values, selectByRank, medianFilter, 12000, 1000);
}

TEST(FilterImg, by_hand) {
    Words column = {65535, 1, 0, 32768, 32767, 5};
    EXPECT_EQ(0, filterImg(column.data(), 1, 6));
    EXPECT_EQ((Words{65535, 1, 32767, 5, 32767, 5}), column);
}

TEST(HisEqualization, by_hand) {
    Words halves = {100, 200, 200, 100};
    hisEqualization(halves.data(), 4);
    EXPECT_EQ((Words{32767, 65535, 65535, 32767}), halves);
    Words everyValueOnce(65536);
    std::iota(everyValueOnce.rbegin(), everyValueOnce.rend(), WORD{0});
    const Words before = everyValueOnce;
    hisEqualization(everyValueOnce.data(), 65536);
    EXPECT_EQ(before, everyValueOnce);
}

TEST(GetMedianImage, by_construction) {
    // Six rows with six of 900 each: the median of the medians, although most pixels are 300.
    TestImage corner = constantImage(11, 11, 300);
    for (int i = 0; i < 36; ++i)
        corner.at(i / 6, i % 6) = 900;
    TestImage oneLess = corner;
    oneLess.at(3, 3) = 300;
    const std::pair<TestImage, float> cases[] = {
        {constantImage(11, 11, 500), 1.0f}, {corner, 1.0f}, {oneLess, 300.0f / 900.0f}};
    for (const auto& [image, ratio] : cases) {
        Floats expected(121, kPoison);
        Floats out = expected;
        expected[60] = ratio;
        EXPECT_EQ(0, getMedianImage(out.data(), image.data(), 11, 11));
        EXPECT_TRUE(sameBitsOrNanEverywhere(expected, out)) << ratio;
    }
}

TEST(FiltersOfImages, equal_the_plain_methods) {
    const auto check = [](const TestImage& image) {
        const auto& [width, height, pixels] = image;
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        expectSame(sameBitsEverywhere<Words>, pixels, plain::hisEqualization, hisEqualization, width * height);
        expectSame(sameBitsEverywhere<Words>, pixels, plain::filterImg, filterImg, width, height);
        expectSame(sameBitsOrNanEverywhere<Floats>, Floats(pixels.size(), kPoison), plain::getMedianImage,
                   getMedianImage, pixels.data(), width, height);
    };
    for (int width : {1, 2, 10, 11, 12, 15, 16, 17, 18, 19, 25, 26, 27, 31, 33, 41, 42, 43, 65, 74, 75, 129, 500}) {
        for (int height : {1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 22, 30}) {
            check(randomImage(width, height, 0, 65535, 1));
            check(randomImage(width, height, 32766, 32769, 2));
            check(saturatedImage(width, height, 3));
            check(twoValuedImage(width, height, 0, 9, 4));
        }
    }
    for (int width = 1; width <= 140; width += width < 80 ? 1 : 7)
        check(randomImage(width, 14, width % 2 == 0 ? 0 : 30000, 65535, 1));
    check(randomImage(4133, 8, 0, 65535, 1));
    check(randomImage(4160, 8, 0, 65535, 1));
}

// From 65536 pixels on a sample decides how they are counted.
TEST(HisEqualization, equals_the_plain_method_where_pixels_are_sampled) {
    for (const auto& [width, height] : {std::pair{65535, 1}, {1, 65536}, {1, 65567}, {65535, 2}, {257, 300}}) {
        TestImage hot = randomImage(width, height, 0, 65535, 1);
        for (std::size_t i = 0; i < hot.pixels.size(); i += 3)
            hot.pixels[i] = 777;
        for (const TestImage& image :
             {hot, randomImage(width, height, 0, 65535, 2), flatImage(width, height, 52000, 200, 3),
              saturatedImage(width, height, 4), constantImage(width, height, 65535), rampImage(width, height, 7)})
            expectSame(sameBitsEverywhere<Words>, image.pixels, plain::hisEqualization, hisEqualization,
                       width * height);
    }
}

// Rows of whole cache lines that do not start with one.
TEST(FilterImg, place_in_memory_does_not_matter) {
    constexpr int kWidth = 64, kHeight = 9, kCount = kWidth * kHeight;
    const TestImage image = randomImage(kWidth, kHeight, 0, 65535, 5);
    Words expected = image.pixels;
    plain::filterImg(expected.data(), kWidth, kHeight);
    for (int offset = 0; offset < 32; ++offset) {
        Words memory(kCount + 33, 7);
        std::copy(image.pixels.begin(), image.pixels.end(), memory.begin() + offset);
        filterImg(memory.data() + offset, kWidth, kHeight);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), memory.begin() + offset)) << offset;
        EXPECT_EQ(33 - offset, std::count(memory.begin() + offset + kCount, memory.end(), 7)) << offset;
    }
}

constexpr int kWindows[] = {5, 7, 15, 23, 31, 51};

Floats responseToImpulse(int window, int at) {
    Floats impulse(window, 0.0f), out(window, kPoison);
    impulse[at] = 1.0f;
    EXPECT_EQ(0, filterUsingSGolay(out.data(), impulse.data(), window, 2, window));
    return out;
}

TEST(FilterUsingSGolay, weights_are_as_published_and_rounded_once) {
    const std::tuple<int, int, double, std::vector<int>> cases[] = {
        {5, 0, 35, {31, 9, -3, -5, 3}},
        {5, 1, 35, {9, 13, 12, 6, -5}},
        {5, 2, 35, {-3, 12, 17, 12, -3}},
        {7, 3, 21, {-2, 3, 6, 7, 6, 3, -2}},
        {15, 7, 1105, {-78, -13, 42, 87, 122, 147, 162, 167}},
        {23, 11, 805, {-42, -21, -2, 15, 30, 43, 54, 63, 70, 75, 78, 79}},
        {31, 15, 9889, {-406, -261, -126, -1, 114, 219, 314, 399, 474, 539}},
        {51, 25, 44149, {-1176, -931, -696, -471, -256, -51, 144, 329}}};
    for (const auto& [window, row, denominator, leading] : cases) {
        for (int k = 0; k < static_cast<int>(leading.size()); ++k) {
            const float weight = static_cast<float>(leading[k] / denominator);
            EXPECT_EQ(weight, responseToImpulse(window, k)[row]) << window << ", " << k;
            EXPECT_EQ(weight, responseToImpulse(window, window - 1 - k)[window - 1 - row]) << window << ", " << k;
        }
    }
}

TEST(FilterUsingSGolay, equals_the_sums_in_order) {
    for (const auto& kind : kFloatKinds<float>) {
        for (int window : kWindows) {
            for (int more : {-1, 0, 1, 2, 14, 15, 16, 17, 31, 32, 33, 63, 64, 65, 400, 1100}) {
                const int n = window + more;
                SCOPED_TRACE("kind " + std::to_string(&kind - kFloatKinds<float>) + ", n = " + std::to_string(n));
                const Floats in = drawn(kind, n, static_cast<std::uint64_t>(n));
                expectSame(sameBitsOrNanEverywhere<Floats>, Floats(in.size() + 1, kPoison), plain::filterUsingSGolay,
                           filterUsingSGolay, in.data(), n, 2, window);
            }
        }
    }
}

TEST(Filters, impossible_arguments_change_nothing) {
    const Words image = {5, 1, 4, 2, 3, 9};
    const Floats values = drawn(kFloatKinds<float>[0], 99, 1);
    Words pixels = image;
    Floats data = values;
    Floats out(121, kPoison);
    for (const int n : {INT_MIN, -1, 0, 4}) {
        medianFilter(data.data(), n, 2);
        hisEqualization(pixels.data(), std::min(n, 0));
        EXPECT_EQ(0, filterImg(pixels.data(), n, n));
        EXPECT_EQ(0, filterImg(pixels.data(), std::min(n, 0), 6));
        EXPECT_EQ(0, getMedianImage(out.data(), pixels.data(), n, 11));
        EXPECT_EQ(0, getMedianImage(out.data(), pixels.data(), 11, n));
        EXPECT_EQ(1, filterUsingSGolay(out.data(), values.data(), n, 2, 5));
    }
    for (const int r : {INT_MIN, -1, 3, 1 << 30, INT_MAX})
        medianFilter(data.data(), 5, r);
    for (const int window : {INT_MIN, -5, 0, 1, 2, 3, 4, 6, 9, 14, 16, 21, 25, 32, 49, 53, INT_MAX})
        EXPECT_EQ(1, filterUsingSGolay(out.data(), values.data(), 99, 2, window)) << window;
    for (const int order : {INT_MIN, -2, 0, 1, 3, 4})
        EXPECT_EQ(1, filterUsingSGolay(out.data(), values.data(), 5, order, 5)) << order;
    medianFilter(nullptr, 5, 1);
    hisEqualization(nullptr, 1);
    EXPECT_EQ(1057, filterImg(nullptr, 1, 5));
    EXPECT_EQ(1057, getMedianImage(nullptr, image.data(), 11, 11));
    EXPECT_EQ(1057, getMedianImage(out.data(), nullptr, 11, 11));
    EXPECT_EQ(1057, filterUsingSGolay(nullptr, values.data(), 5, 2, 5));
    EXPECT_EQ(1057, filterUsingSGolay(out.data(), nullptr, 5, 2, 5));
    EXPECT_EQ(image, pixels);
    EXPECT_EQ(values, data);
    EXPECT_EQ(Floats(121, kPoison), out);
}

}  // namespace
