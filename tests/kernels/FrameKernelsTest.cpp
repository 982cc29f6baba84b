// Every vector level gives what the plain arithmetic gives, bit for bit, around every width of a vector.

#include "Compare.h"
#include "FloatKinds.h"
#include "levels/AtVectorLevel.h"
#include "reference/correction/PlainNdt.h"

#include "kernels/FrameKernels.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace {

using namespace qx;
using namespace qx::test;

using Longs = std::vector<std::uint32_t>;
using Words = std::vector<std::uint16_t>;
using Floats = std::vector<float>;
using Limits = std::numeric_limits<float>;

constexpr float kPoison = -7777.0f;
constexpr int kMostPixels = 70;

constexpr std::uint32_t kBorders[] = {0,           1,           2,           0xFFFF,     0x10000,
                                      0xFFFFFF,    0x1000000,   0x1000001,   0x1000003,  0x1FFFFFF,
                                      0x7FFFFFBF,  0x7FFFFFC0,  0x7FFFFFFF,  0x80000000, 0x80000080u,
                                      0x80000081u, 0xFFFFFF7Fu, 0xFFFFFF80u, 0xFFFFFFFF};

constexpr Draw<std::uint32_t> kKinds[] = {
    [](SplitMix64& random) { return static_cast<std::uint32_t>(random.below(70000)); },
    [](SplitMix64& random) { return static_cast<std::uint32_t>(random.next()); },
    [](SplitMix64& random) { return kBorders[random.below(19)]; }};

// Special ones and of every magnitude among usual ones.
float fixedGain(SplitMix64& random) {
    const int kind = random.below(10);
    return kind == 0   ? specialFloat<float>(random)
           : kind == 1 ? kFloatKinds<float>[1](random)
                       : static_cast<float>(random.below(65536)) / 30000.0f;
}

std::uint16_t ndtGain(SplitMix64& random) {
    constexpr std::uint16_t kSpecial[] = {0, 0, 1, 9999, 10000, 32768, 65535};
    return random.below(5) == 0 ? kSpecial[random.below(7)] : static_cast<std::uint16_t>(random.below(65536));
}

class FrameKernelsAt : public AtVectorLevel {
protected:
    // Calls check(count, image, dark) with images of every kind and length, and one pixel beyond them that nothing may
    // look at.
    template <class Check>
    static void forImages(Check check) {
        for (const auto& kind : kKinds) {
            for (int count = 0; count <= kMostPixels; ++count) {
                const auto seed = static_cast<std::uint64_t>(2 * count);
                check(count, drawn(kind, count + 1, seed), drawn(kind, count + 1, seed + 1));
            }
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Levels, FrameKernelsAt, kVectorLevels, levelName);

TEST_P(FrameKernelsAt, pixels_become_single_precision_by_one_rounding) {
    // Every pair of borders; without a gain the difference stays what it is.
    Longs image;
    Longs dark;
    for (const std::uint32_t a : kBorders) {
        for (const std::uint32_t b : kBorders) {
            image.push_back(a);
            dark.push_back(b);
        }
    }
    const Words none(image.size(), 0);
    Floats expected(image.size());
    std::transform(image.begin(), image.end(), dark.begin(), expected.begin(), [](std::uint32_t a, std::uint32_t b) {
        return std::max(0.0f, static_cast<float>(static_cast<double>(a)) - static_cast<float>(static_cast<double>(b)));
    });
    Floats actual(image.size(), kPoison);
    frameKernels().divided(image.data(), dark.data(), none.data(), image.size(), actual.data());
    EXPECT_TRUE(sameBitsEverywhere(expected, actual));
    EXPECT_EQ(16777216.0f, actual[7 * 19]);     // 2^24 + 1 ties to the even one
    EXPECT_EQ(16777220.0f, actual[8 * 19]);     // 2^24 + 3, too
    EXPECT_EQ(4294967040.0f, actual[16 * 19]);  // just below the middle
    EXPECT_EQ(4294967296.0f, actual[17 * 19]);
}

TEST_P(FrameKernelsAt, sum_of_differences) {
    forImages([](int count, const Longs& image, const Longs& dark) {
        double expected = 0.0;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            expected += static_cast<double>(plain::offsetCorrected(image[i], dark[i]));
        EXPECT_TRUE(sameBits(expected,
                             frameKernels().differenceSum(image.data(), dark.data(), static_cast<std::size_t>(count))))
            << count;
    });
}

TEST_P(FrameKernelsAt, ratios_of_differences) {
    // Also those that leave 16 bits, 31 bits, and all numbers.
    for (const float divisor : {3.7f, 1.0f, 0.25f, 1e-4f, 1e-30f, 1e-42f, 0.0f, Limits::quiet_NaN()}) {
        forImages([=](int count, const Longs& image, const Longs& dark) {
            Words expected(image.size(), 7777);
            Words actual = expected;
            plain::ndtGains(expected.data(), image.data(), dark.data(), count, divisor);
            frameKernels().differenceRatios(image.data(), dark.data(), static_cast<std::size_t>(count), divisor,
                                            actual.data());
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << divisor << ": " << count;
        });
    }
}

TEST_P(FrameKernelsAt, products_with_the_fixed_gain) {
    forImages([](int count, const Longs& image, const Longs& dark) {
        const Floats gains = drawn(fixedGain, count + 1, static_cast<std::uint64_t>(count));
        Floats expected(image.size(), kPoison);
        Floats actual = expected;
        plain::correctByFixedGain(expected.data(), image.data(), dark.data(), gains.data(), count);
        frameKernels().multiplied(image.data(), dark.data(), gains.data(), static_cast<std::size_t>(count),
                                  actual.data());
        EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << count;
    });
}

TEST_P(FrameKernelsAt, quotients_by_the_ndt_gain) {
    forImages([](int count, const Longs& image, const Longs& dark) {
        const Words gains = drawn(ndtGain, count + 1, static_cast<std::uint64_t>(count));
        Floats expected(image.size(), kPoison);
        Floats actual = expected;
        plain::correctByNdtGain(expected.data(), image.data(), dark.data(), gains.data(), count);
        frameKernels().divided(image.data(), dark.data(), gains.data(), static_cast<std::size_t>(count), actual.data());
        EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << count;
    });
}

constexpr float kTwoTo31 = 2147483648.0f;
constexpr float kTwoTo32 = 4294967296.0f;
constexpr float kTwoTo63 = 9223372036854775808.0f;

const std::vector<std::pair<float, std::uint32_t>> kTruncations = {
    {0.0f, 0},
    {-0.0f, 0},
    {0.99f, 0},
    {-0.5f, 0},
    {-0.99999994f, 0},
    {1.99f, 1},
    {-1.0f, 0xFFFFFFFF},
    {-1.5f, 0xFFFFFFFF},
    {-9.5f, 4294967287},
    {65536.5f, 65536},
    {2147483520.0f, 2147483520},
    {kTwoTo31, 2147483648},
    {2147483904.0f, 2147483904},
    {4294967040.0f, 4294967040},
    {kTwoTo32, 0},
    {4294967808.0f, 512},
    {6e9f, 1705032704},
    {1099511758848.0f, 131072},  // 2^40 + 2^17
    {-2147483520.0f, 2147483776},
    {-kTwoTo31, 2147483648},
    {-2147483904.0f, 2147483392},
    {-kTwoTo32, 0},
    {-6e9f, 2589934592},
    {9223371487098961920.0f, 0},  // just below 2^63
    {kTwoTo63, 0},
    {-kTwoTo63, 0},
    {-9223373136366403584.0f, 0},
    {1e30f, 0},
    {-1e30f, 0},
    {Limits::max(), 0},
    {Limits::denorm_min(), 0},
    {Limits::infinity(), 0},
    {-Limits::infinity(), 0},
    {Limits::quiet_NaN(), 0},
};

TEST_P(FrameKernelsAt, truncations) {
    // Every value at every place of a vector, alone among usual ones and among its like.
    for (const auto& [value, truncation] : kTruncations) {
        EXPECT_EQ(truncation, plain::truncatedLong(value)) << value;
        for (std::size_t place = 0; place < 33; ++place) {
            Floats values(33, 4000000000.0f);
            values[place / 2] = 1234.75f;
            values[place] = value;
            Longs expected(values.size());
            plain::writeBack(expected.data(), values.data(), 33);
            Longs actual(values.size(), 7777);
            frameKernels().truncated(values.data(), values.size(), actual.data());
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << value << " at " << place;
        }
    }
    SplitMix64 random(1);
    for (int count = 0; count <= kMostPixels; ++count) {
        Floats values(static_cast<std::size_t>(count) + 1);
        for (float& value : values)
            value = kTruncations[static_cast<std::size_t>(random.below(static_cast<int>(kTruncations.size())))].first;
        Longs expected(values.size(), 7777);
        Longs actual = expected;
        plain::writeBack(expected.data(), values.data(), count);
        frameKernels().truncated(values.data(), static_cast<std::size_t>(count), actual.data());
        EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << count;
    }
}

}  // namespace
