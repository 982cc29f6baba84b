#include "Builders.h"
#include "Compare.h"
#include "reference/numerics/PlainStatistics.h"

#include <QxUtils/Numerics.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

namespace plain = qx::plain;
using qx::test::sameBits;
using qx::test::sameBitsOrNan;
using qx::test::SplitMix64;
using qx::test::TestImage;

constexpr struct {
    int width, height;
} kSizes[] = {{1, 1}, {1, 2}, {2, 1}, {3, 5}, {7, 1}, {8, 2}, {17, 13}, {31, 33}, {64, 64}, {129, 257}, {300, 200}};

std::vector<TestImage> wordImages(int width, int height) {
    return {qx::test::randomImage(width, height, 0, 65535, 1),
            qx::test::flatImage(width, height, 52000.3, 190, 2),
            qx::test::twoValuedImage(width, height, 0, 65535, 3),
            qx::test::twoValuedImage(width, height, 1, 2, 4),
            qx::test::constantImage(width, height, 65535),
            qx::test::saturatedImage(width, height, 5),
            qx::test::rampImage(width, height, 60000)};
}

TEST(GetStdev, word_member_and_mean_agree_with_the_plain_method) {
    for (const auto& [width, height] : kSizes) {
        for (const TestImage& image : wordImages(width, height)) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            EXPECT_TRUE(sameBits(plain::getStdev(image.data(), width, height), getStdev(image.data(), width, height)));
            EXPECT_TRUE(sameBits(plain::getMean(image.data(), width * height), getMean(image.data(), width * height)));
        }
    }
}

std::vector<std::vector<int>> intImages(int count) {
    SplitMix64 random(static_cast<std::uint64_t>(count));
    std::vector<std::vector<int>> images(5);
    for (int i = 0; i < count; ++i) {
        images[0].push_back(random.below(65536) - 208);
        images[1].push_back(random.below(1 << 30) - (1 << 29));  // squares that single precision rounds
        images[2].push_back(-1 - random.below(3));               // the mean is truncated towards zero
        images[3].push_back(random.below(2));
        images[4].push_back(i % 3 == 0 ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min());
    }
    return images;
}

TEST(GetStdev, int_members_agree_with_the_plain_method) {
    for (const auto& [width, height] : kSizes) {
        for (const std::vector<int>& image : intImages(width * height)) {
            SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
            EXPECT_TRUE(sameBits(plain::getStdev(image.data(), width, height), getStdev(image.data(), width, height)));
            float expectedMean = 0, expectedStdev = 0, mean = -1, stdev = -1;
            plain::getStdevAndMean(image.data(), width, height, expectedMean, expectedStdev);
            getStdevAndMean(image.data(), width, height, mean, stdev);
            EXPECT_TRUE(sameBits(expectedMean, mean));
            EXPECT_TRUE(sameBits(expectedStdev, stdev));
        }
    }
}

TEST(GetStdev, float_member_agrees_with_the_plain_method) {
    for (const auto& [width, height] : kSizes) {
        SplitMix64 random(7);
        std::vector<std::vector<float>> images(5);
        for (int i = 0; i < width * height; ++i) {
            images[0].push_back(static_cast<float>(random.uniform()));
            images[1].push_back(static_cast<float>(52000 + 190 * random.gaussian()));
            images[2].push_back(static_cast<float>(random.gaussian() * 1e25));  // squares overflow
            images[3].push_back(0.1f);
            images[4].push_back(i == width ? std::numeric_limits<float>::quiet_NaN() : 1.0f);
        }
        for (std::size_t k = 0; k < images.size(); ++k) {
            EXPECT_TRUE(sameBitsOrNan(plain::getStdev(images[k].data(), width, height),
                                      getStdev(images[k].data(), width, height)))
                << width << " x " << height << ", image " << k;
        }
    }
}

TEST(GetStdev, integer_members_measure_around_the_truncated_mean) {
    const WORD words[] = {1, 2};
    const int ints[] = {1, 2};
    const float floats[] = {1, 2};
    const float truncated = static_cast<float>(std::sqrt(0.5));
    EXPECT_EQ(truncated, getStdev(words, 2, 1));
    EXPECT_EQ(truncated, getStdev(ints, 1, 2));
    EXPECT_EQ(0.5f, getStdev(floats, 2, 1));
    float mean = 0, stdev = 0;
    getStdevAndMean(ints, 2, 1, mean, stdev);
    EXPECT_EQ(1.5f, mean);
    EXPECT_EQ(0.5f, stdev);
}

TEST(GetStdev, empty_images_have_none) {
    const WORD words[] = {1};
    const int ints[] = {1};
    const float floats[] = {1};
    for (int height : {0, -3}) {
        EXPECT_TRUE(std::isnan(getStdev(words, 1, height)));
        EXPECT_TRUE(std::isnan(getStdev(ints, 1, height)));
        EXPECT_TRUE(std::isnan(getStdev(floats, 1, height)));
        float mean = 0, stdev = 0;
        getStdevAndMean(ints, 1, height, mean, stdev);
        EXPECT_TRUE(std::isnan(stdev));
    }
    EXPECT_TRUE(std::isnan(getMean(words, 0)));
}

TEST(GetStdev, null_and_sizes_beyond_32_bits) {
    const WORD words[] = {1};
    const int ints[] = {1};
    const float floats[] = {1};
    EXPECT_EQ(1057.0f, getStdev(static_cast<const WORD*>(nullptr), 1, 1));
    EXPECT_EQ(1057.0f, getStdev(static_cast<const int*>(nullptr), 1, 1));
    EXPECT_EQ(1057.0f, getStdev(static_cast<const float*>(nullptr), 1, 1));
    EXPECT_EQ(1057.0, getMean(static_cast<const WORD*>(nullptr), 1));
    EXPECT_EQ(1020.0f, getStdev(words, 65536, 65536));
    EXPECT_EQ(1020.0f, getStdev(ints, 65536, 65537));
    EXPECT_EQ(1020.0f, getStdev(floats, 32768, 65536));
    float mean = -1, stdev = -2;
    getStdevAndMean(nullptr, 1, 1, mean, stdev);
    EXPECT_EQ(-1.0f, mean);
    EXPECT_EQ(-2.0f, stdev);
}

// Draws of a lottery, from a national institute's reference data for mean and deviation.
std::vector<int> lotteryDraws() {
    return {162, 671, 933, 414, 788, 730, 817, 33,  536, 875, 670, 236, 473, 167, 877, 980, 316, 950, 456, 92,
            517, 557, 956, 954, 104, 178, 794, 278, 147, 773, 437, 435, 502, 610, 582, 780, 689, 562, 964, 791,
            28,  97,  848, 281, 858, 538, 660, 972, 671, 613, 867, 448, 738, 966, 139, 636, 847, 659, 754, 243,
            122, 455, 195, 968, 793, 59,  730, 361, 574, 522, 97,  762, 431, 158, 429, 414, 22,  629, 788, 999,
            187, 215, 810, 782, 47,  34,  108, 986, 25,  644, 829, 630, 315, 567, 919, 331, 207, 412, 242, 607,
            668, 944, 749, 168, 864, 442, 533, 805, 372, 63,  458, 777, 416, 340, 436, 140, 919, 350, 510, 572,
            905, 900, 85,  389, 473, 758, 444, 169, 625, 692, 140, 897, 672, 288, 312, 860, 724, 226, 884, 508,
            976, 741, 476, 417, 831, 15,  318, 432, 241, 114, 799, 955, 833, 358, 935, 146, 630, 830, 440, 642,
            356, 373, 271, 715, 367, 393, 190, 669, 8,   861, 108, 795, 269, 590, 326, 866, 64,  523, 862, 840,
            219, 382, 998, 4,   628, 305, 747, 247, 34,  747, 729, 645, 856, 974, 24,  568, 24,  694, 608, 480,
            410, 729, 947, 293, 53,  930, 223, 203, 677, 227, 62,  455, 387, 318, 562, 242, 428, 968};
}

TEST(Moments, certified_lottery) {
    const std::vector<int> draws = lotteryDraws();
    const std::vector<WORD> words(draws.begin(), draws.end());
    ASSERT_EQ(218u, draws.size());
    EXPECT_NEAR(518.958715596330, getMean(words.data(), 218), 1e-12 * 519);
    float mean = 0, stdev = 0;
    getStdevAndMean(draws.data(), 109, 2, mean, stdev);
    EXPECT_FLOAT_EQ(518.958715596330f, mean);
    EXPECT_FLOAT_EQ(291.029922390792f, stdev);
    const std::vector<float> floats(draws.begin(), draws.end());
    EXPECT_FLOAT_EQ(291.029922390792f, getStdev(floats.data(), 2, 109));
    // About the integer 518 instead of the mean: the variance grows by the square of the part cut off.
    const float truncated =
        static_cast<float>(std::sqrt(291.029922390792 * 291.029922390792 + 0.95871559633 * 0.95871559633));
    EXPECT_FLOAT_EQ(truncated, getStdev(words.data(), 218, 1));
    EXPECT_FLOAT_EQ(truncated, getStdev(draws.data(), 218, 1));
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
