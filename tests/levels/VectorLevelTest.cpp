// Every vector level gives the results of the plain methods, bit for bit.

#include "Builders.h"
#include "Compare.h"
#include "levels/AtVectorLevel.h"
#include "reference/numerics/PlainStatistics.h"
#include "reference/quality/PlainSnr.h"

#include "kernels/HistogramKernels.h"
#include "kernels/PixelKernels.h"
#include "kernels/RankKernels.h"
#include "numerics/statistics/DeviationOfSquares.h"
#include "numerics/statistics/PixelHistogram.h"
#include "quality/snr/SnrSeries.h"

#include <QxUtils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

using namespace qx;
using namespace qx::test;

INSTANTIATE_TEST_SUITE_P(Levels, AtVectorLevel, kVectorLevels, levelName);

// Narrow and wide values, ties, both ends, and one that no sample of the centre foresees.
std::vector<TestImage> pixelRows(int count, std::uint64_t seed) {
    std::vector<TestImage> rows = {randomImage(count, 1, 0, 65535, seed), randomImage(count, 1, 30000, 30007, seed),
                                   flatImage(count, 1, 52000, 200, seed), twoValuedImage(count, 1, 0, 65535, seed),
                                   constantImage(count, 1, 65535)};
    rows.push_back(flatImage(count, 1, 9000, 50, seed));
    rows.back().pixels.back() = 65535;
    // Both sides of the width up to which squares are exact, and differences that do not fit in 16 bits.
    for (const int width : {4095, 4096, 4097, 8190, 8192, 8200, 60000})
        rows.push_back(twoValuedImage(count, 1, 2000, static_cast<WORD>(2000 + width), seed));
    for (const WORD level : {WORD{0}, WORD{65535}}) {
        rows.push_back(constantImage(count, 1, level));
        rows.back().pixels[0] = static_cast<WORD>(65535 - level);
    }
    return rows;
}

void expectPlainHistogramMedian(const TestImage& row) {
    std::vector<int> expected(kPixelValues);
    std::vector<int> counts(kPixelValues, -1);
    EXPECT_EQ(plain::getHisMedian(row.data(), row.width, expected.data(), kPixelValues),
              getHisMedian(row.data(), row.width, counts.data(), kPixelValues));
    EXPECT_TRUE(expected == counts) << row.width;
}

// Around every vector width, and behind 32768 pixels, where the sums start a new block, and 65535, where the counts do
// and a histogram takes memory.
TEST_P(AtVectorLevel, statistics_equal_the_plain_method_around_every_vector_width_and_block) {
    std::vector<int> counts = {32767, 32768, 32785, 65535, 65536, 65600, 131071};
    for (int count = 1; count <= 70; ++count)
        counts.push_back(count);
    for (const int count : counts) {
        for (const TestImage& row : pixelRows(count, static_cast<std::uint64_t>(count))) {
            std::vector<WORD> sorted = row.pixels;
            std::sort(sorted.begin(), sorted.end());
            EXPECT_TRUE(sameBits(plain::getStdev(row.data(), count, 1), getStdev(row.data(), count, 1))) << count;
            EXPECT_TRUE(sameBits(plain::getMean(row.data(), count), getMean(row.data(), count))) << count;
            EXPECT_EQ(sorted[(sorted.size() - 1) / 2], getMedian(row.data(), count)) << count;
            if (count >= 32767)
                expectPlainHistogramMedian(row);
            for (const std::size_t rank : {std::size_t{0}, sorted.size() / 3, sorted.size() - 1})
                EXPECT_EQ(sorted[rank], rankKernels().pixelRank(row.data(), sorted.size(), rank)) << count;
        }
    }
}

std::vector<std::uint32_t> plainCounts(const TestImage& image) {
    std::vector<std::uint32_t> counts(kPixelValues);
    for (const WORD pixel : image.pixels)
        ++counts[pixel];
    return counts;
}

// Values of all of one window, and on both sides of its ends.
std::vector<TestImage> pixelsAroundWindow(int width, int height, int window) {
    const int end = window + kWindowValues;
    std::vector<TestImage> images = {randomImage(width, height, window, end - 1, 1),
                                     randomImage(width, height, 0, 65535, 2), constantImage(width, height, 4711),
                                     saturatedImage(width, height, 3)};
    for (const int value : {window - 1, window, end - 1, end, 65535}) {
        const auto pixel = static_cast<WORD>(value);
        images.push_back(twoValuedImage(width, height, static_cast<WORD>(window + 5), pixel, 4));
        images.push_back(randomImage(width, height, window, end - 1, 5));
        for (std::size_t i = 0; i < images.back().pixels.size(); i += 37)
            images.back().pixels[i] = pixel;
    }
    return images;
}

// A stretch of one value, the window's tables, bytes that carry and single pixels behind the last whole stretch, of
// whole images and of a part of their rows.
TEST_P(AtVectorLevel, pixels_are_counted_in_every_way) {
    constexpr int kMore = 9;  // the room's neighbours stay
    std::vector<std::uint32_t> room(PixelCounts::kRoom + kMore);
    std::fill_n(room.rbegin(), kMore, 7u);
    const std::vector<std::uint32_t> clear = room;
    const auto check = [&](const TestImage& image, const PixelRows& pixels, const TestImage& counted, int way) {
        SCOPED_TRACE(testing::Message() << image.width << " x " << image.height << ", way " << way);
        std::vector<std::uint32_t> counts(kPixelValues);
        const int window = std::array{0, 30000, kPixelValues - kWindowValues}[way / 4];
        const PixelCounts into{counts.data(), room.data(), window, way % 2 == 1, way / 2 % 2 == 1};
        for (int times = 0; times < 2; ++times)
            histogramKernels().add(pixels, into);
        histogramKernels().merge(into);
        std::vector<std::uint32_t> expected = plainCounts(counted);
        for (std::uint32_t& count : expected)
            count *= 2;
        EXPECT_TRUE(expected == counts);
        EXPECT_TRUE(clear == room);
    };
    for (const auto& [width, height] : {std::pair{1, 300}, {31, 3}, {32, 9}, {33, 8}, {95, 70}, {65535, 1}}) {
        for (int way = 0; way < 12; ++way) {
            for (const TestImage& image : pixelsAroundWindow(width, height, way < 8 ? 30000 : 61536)) {
                const auto columns = static_cast<std::size_t>(width);
                check(image, {image.data(), width, height, columns, 1024}, image, way);
                if (width < 33)
                    continue;
                const int first = width / 3;
                TestImage part{width - first, height, {}};
                for (int y = 0; y < height; ++y)
                    part.pixels.insert(part.pixels.end(), &image.pixels[columns * y + first],
                                       &image.pixels[columns * y] + columns);
                check(image, {image.data() + first, width, height, columns - first, -64}, part, way);
            }
        }
    }
}

TEST_P(AtVectorLevel, counted_blocks_tell_ranks_and_bounds) {
    for (const auto& [low, high] : {std::pair{0, 65535}, {255, 256}, {300, 300}, {511, 1000}, {65535, 65535}, {0, 0}}) {
        const TestImage image = randomImage(5000, 1, low, high, 1);
        const std::vector<std::uint32_t> counts = plainCounts(image);
        std::vector<WORD> sorted = image.pixels;
        std::sort(sorted.begin(), sorted.end());
        const CountBlocks blocks(counts.data());
        for (std::size_t rank = 0; rank < sorted.size(); rank += rank == 0 ? 1 : 357)
            EXPECT_EQ(sorted[rank], blocks.valueOfRank(rank)) << low << ", " << rank;
        EXPECT_EQ(sorted.back(), blocks.valueOfRank(sorted.size() - 1));
        EXPECT_EQ(sorted.front() / kValueBlock * kValueBlock, blocks.first());
        EXPECT_EQ(sorted.back() / kValueBlock * kValueBlock + kValueBlock - 1, blocks.last());
    }
}

TEST_P(AtVectorLevel, histogram_sums_equal_the_sums_over_pixels) {
    const TestImage image = randomImage(3000, 1, 100, 300, 3);
    PixelHistogram histogram;
    histogram.add(image.pixels);
    for (const int first : {0, 100, 117, 250}) {
        for (const int last : {99, 130, 251, 300, 65535}) {
            std::int64_t count = 0;
            std::int64_t sum = 0;
            double squares = 0;
            for (const WORD pixel : image.pixels) {
                if (pixel < first || pixel > last)
                    continue;
                ++count;
                sum += pixel;
                const auto deviation = static_cast<float>(pixel - 40000);
                squares += static_cast<double>(deviation * deviation);
            }
            SCOPED_TRACE(testing::Message() << first << ".." << last);
            const HistogramSum found = pixelKernels().histogramSum(histogram.counts(), first, last);
            EXPECT_EQ(std::pair(count, sum), std::pair(found.count, found.sum));
            EXPECT_EQ(squares, pixelKernels().histogramSquares(histogram.counts(), first, last, 40000));
        }
    }
}

// A narrow field with a share of wide outliers: every value near the limits of four deviations occurs.
TestImage fieldWithOutliers(int width, int height, int spread, std::uint64_t seed) {
    TestImage image = flatImage(width, height, 1000, 2, seed);
    SplitMix64 random(seed);
    for (WORD& pixel : image.pixels)
        if (random.below(20) == 0)
            pixel = static_cast<WORD>(1000 - spread + random.below(2 * spread + 1));
    return image;
}

TEST_P(AtVectorLevel, snr_series_equals_the_plain_method) {
    std::vector<TestImage> images = {
        randomImage(401, 300, 0, 65535, 1), flatImage(300, 431, 52000, 200, 2),    saturatedImage(280, 280, 3),
        flatImage(270, 269, 210, 40, 4),    twoValuedImage(300, 300, 0, 65535, 5), constantImage(128, 129, 300),
        constantImage(130, 128, 208),       constantImage(131, 128, 17),
    };
    // A value that overflows a byte among others all over the range, and outliers that cut most stretches.
    for (const auto& [low, high] : {std::pair{0, 65535}, {9000, 9050}}) {
        images.push_back(randomImage(290, 300, low, high, 9));
        for (std::size_t i = 0; i < images.back().pixels.size(); i += low == 0 ? 3 : 19)
            images.back().pixels[i] = 777;
    }
    // Outliers on one side alone.
    for (const auto& [level, outlier] : {std::pair{1000, WORD{5000}}, {50000, WORD{100}}}) {
        images.push_back(flatImage(128, 128, level, 2, 10));
        for (std::size_t i = 0; i < images.back().pixels.size(); i += 97)
            images.back().pixels[i] = outlier;
    }
    // A mean below the pedestal that is no whole number.
    images.push_back(constantImage(128, 128, 207));
    for (std::size_t i = 0; i < images.back().pixels.size(); i += 4)
        images.back().pixels[i] = 206;
    for (int spread = 10; spread < 60; spread += 3)
        images.push_back(fieldWithOutliers(128, 128, spread, static_cast<std::uint64_t>(spread)));
    for (const TestImage& image : images) {
        const std::vector<float> expected = plain::snrSeries(image.data(), image.width, image.height);
        std::vector<float> measured(expected.size(), -1.0f);
        ASSERT_EQ(0, calcGlobalSNR(image.data(), image.width, image.height, measured));
        EXPECT_TRUE(sameBitsOrNanEverywhere(expected, measured)) << image.width << "x" << image.height;
    }
}

TEST(SnrFactor, is_a_quotient_in_single_precision) {
    EXPECT_TRUE(sameBits(0.9f, snrFactor(0)));
    for (int k = 1; k <= 12; ++k)
        EXPECT_TRUE(sameBits(static_cast<float>(88 - 2 * k) / 100.0f, snrFactor(k))) << k;
}

// So many squares of the largest narrow deviation that a sum's 32 bits must be emptied in time.
TEST_P(AtVectorLevel, alternating_extremes_of_narrow_images_do_not_overflow) {
    TestImage image = constantImage(128, 128, 8192);
    for (std::size_t i = 0; i < image.pixels.size(); i += 2)
        image.pixels[i] = 0;
    EXPECT_TRUE(sameBits(4096.0f, getStdev(image.data(), 128, 128)));
}

// Around the root in the middle between 2^16 and the next float: 2^-8 above, or 2^-24 of the squares.
TEST(DeviationOfSquares, order_is_asked_for_where_it_may_show) {
    constexpr std::int64_t kCount = 1 << 21;
    constexpr double kMiddle = kCount * 4294967808.0 + 32;
    const float below = 65536.0f;
    const float above = std::nextafter(below, 1e6f);
    int asked = 0;
    const auto deviation = [&](double sum) {
        return deviationOfSquares(sum, kCount, [&] {
            ++asked;
            return kMiddle + 1e7;
        });
    };
    for (const double near : {-5e-10, 0.0, 5e-10})
        EXPECT_EQ(above, deviation(kMiddle * (1 + near))) << near;
    EXPECT_EQ(3, asked);
    EXPECT_EQ(below, deviation(kMiddle * (1 - 7e-10)));
    EXPECT_EQ(above, deviation(kMiddle * (1 + 7e-10)));
    EXPECT_EQ(3, asked);
}

// Sums of squares beyond 2^53 depend on the order of their terms: the fast sums must give way to the pixel order. So
// many black pixels among bright ones have a deviation in the middle between two floats. There is a frame around the
// square.
TEST_P(AtVectorLevel, sums_beyond_exact_doubles_follow_the_pixel_order) {
    constexpr int kSquare = 3072;
    constexpr int side = kSquare + 12;
    constexpr std::int64_t kPixels = kSquare * kSquare;
    constexpr std::int64_t kBlack = 4740223;
    TestImage square = constantImage(kSquare, kSquare, 65533);
    TestImage image = constantImage(side, side, 300);
    for (std::int64_t i = 0; i < kPixels; ++i) {
        WORD& pixel = square.pixels[static_cast<std::size_t>(i)];
        pixel = i * kBlack / kPixels != (i + 1) * kBlack / kPixels ? 0 : pixel;
        image.at(static_cast<int>(i / kSquare) + 6, static_cast<int>(i % kSquare) + 6) = pixel;
    }
    ASSERT_GE(pixelKernels().squares(square.data(), square.pixels.size(), 32616), kExactSumLimit);
    EXPECT_TRUE(sameBits(plain::getStdev(square.data(), kSquare, kSquare), getStdev(square.data(), kSquare, kSquare)));
    static const std::vector<float> expected = plain::snrSeries(image.data(), side, side);
    std::vector<float> measured(expected.size());
    ASSERT_EQ(0, calcGlobalSNR(image.data(), side, side, measured));
    EXPECT_TRUE(sameBitsEverywhere(expected, measured));
}

}  // namespace
