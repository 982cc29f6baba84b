// Every vector level gives what the plain loops give, bit for bit, around every width of a vector.

#include "Compare.h"
#include "FloatKinds.h"
#include "kernels/AfeKernels.h"
#include "kernels/PixelKernels.h"
#include "kernels/RankKernels.h"
#include "kernels/SumKernels.h"
#include "levels/AtVectorLevel.h"
#include "numerics/statistics/BlockMedians.h"
#include "reference/correction/PlainAfe.h"

#include <QxUtils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <vector>

namespace {

using namespace qx;
using namespace qx::test;

using Floats = std::vector<float>;

class RowKernelsAt : public AtVectorLevel {};
INSTANTIATE_TEST_SUITE_P(Levels, RowKernelsAt, kVectorLevels, levelName);

constexpr float kPoison = -7777.0f;

TEST_P(RowKernelsAt, block_medians) {
    for (const auto& kind : kFloatKinds<float>) {
        for (std::uint64_t seed = 0; seed < 4; ++seed) {
            const Floats image = drawn(kind, 70 * 65, seed);
            Floats expected(2 * 2 + 1, kPoison);
            Floats actual = expected;
            plain::doBinningSample(expected.data(), image.data(), 70, 65);
            EXPECT_EQ(0, doBinningSample(actual.data(), image.data(), 70, 65));
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << &kind - kFloatKinds<float>;
        }
    }
}

// Most of these sums are rounded up to whole numbers from some pixel on.
TEST_P(RowKernelsAt, shifts_of_every_pixel) {
    std::vector<std::uint16_t> pixels(65536);
    std::iota(pixels.begin(), pixels.end(), std::uint16_t{0});
    for (const float offset :
         {0.0f, 0.25f, 0.9999f, 0.99999994f, 7.9999f, 65534.996f, 65535.0f, 1e30f, -1e-8f, -0.001f, -0.9999f, -7.0001f,
          -65534.996f, -65535.0f, -1e30f, std::numeric_limits<float>::quiet_NaN()}) {
        std::vector<std::uint16_t> expected, actual = pixels;
        for (const std::uint16_t pixel : pixels) {
            const float sum = static_cast<float>(pixel) + offset;
            expected.push_back(static_cast<std::uint16_t>(std::max(0.0f, std::min(sum, 65535.0f))));
        }
        pixelKernels().shift(actual.data(), actual.size(), offset);
        EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << offset;
    }
}

TEST_P(RowKernelsAt, ranks_of_pixel_blocks) {
    constexpr int kPixels = kGridBlockSide * kGridBlockSide;
    constexpr int kStride = kGridBlockSide + 5;
    const auto blockOf = [](int lowest, int highest) {
        return randomImage(kStride, kGridBlockSide, lowest, highest, 3);
    };
    for (const TestImage& image :
         {blockOf(51000, 53000), blockOf(32760, 32775), blockOf(0, 65535), blockOf(7, 7),
          twoValuedImage(kStride, kGridBlockSide, 0, 65535, 3), flatImage(kStride, kGridBlockSide, 52000, 197, 4)}) {
        std::vector<WORD> sorted;
        for (int y = 0; y < kGridBlockSide; ++y)
            sorted.insert(sorted.end(), image.data() + y * kStride, image.data() + y * kStride + kGridBlockSide);
        std::sort(sorted.begin(), sorted.end());
        for (const int rank : {0, 1, 100, kPixels / 2, kPixels - 1})
            EXPECT_EQ(sorted[static_cast<std::size_t>(rank)],
                      rankKernels().pixelBlockRank(image.data(), kStride, rank));
        float medians[] = {0, kPoison};
        gridBlockMedians(image.data(), kStride, 1, medians);
        EXPECT_EQ(sorted[kPixels / 2], medians[0]);
        EXPECT_EQ(kPoison, medians[1]);
    }
}

TEST_P(RowKernelsAt, strip_sums) {
    // Sums beyond 2^24 are rounded at every step.
    for (const int rows : {1, 20}) {
        for (int strips = 0; strips <= 130; strips += strips < 70 ? 1 : 30) {
            const int width = strips * kStripColumns + 5;
            const TestImage image = randomImage(width, rows, 30000, 65535, static_cast<std::uint64_t>(strips));
            Floats expected(static_cast<std::size_t>(strips) + 1, 0.0f);
            for (int y = 0; y < rows; ++y)
                for (int x = 0; x < strips * kStripColumns; ++x)
                    expected[static_cast<std::size_t>(x / kStripColumns)] +=
                        static_cast<float>(image.pixels[static_cast<std::size_t>(y * width + x)]);
            Floats actual(expected.size(), kPoison);
            expected.back() = kPoison;
            sumKernels().stripSums(image.data(), width, rows, strips, actual.data());
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << strips;
        }
    }
}

TEST_P(RowKernelsAt, row_sums) {
    for (int rows = 1; rows <= 70; rows += rows < 34 ? 1 : 12) {
        for (int columns = 1; columns <= 70; columns += 3) {
            const int stride = columns + 3;
            const Floats image = drawn(kFloatKinds<float>[0], rows * stride, static_cast<std::uint64_t>(rows));
            Floats expected(static_cast<std::size_t>(rows) + 1, kPoison);
            Floats actual = expected;
            for (int y = 0; y < rows; ++y)
                expected[static_cast<std::size_t>(y)] =
                    std::accumulate(image.begin() + y * stride, image.begin() + y * stride + columns, 0.0f);
            sumKernels().rowSums(image.data(), stride, rows, columns, actual.data());
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << rows << " x " << columns;
        }
    }
}

// Grey levels, some of them about the limits of the loops or no numbers.
float irregular(SplitMix64& random) {
    constexpr float kLimits[] = {65535.0f, 65534.996f};
    const int kind = random.below(40);
    return kind == 0 ? kLimits[random.below(2)] : kind == 1 ? specialFloat<float>(random) : 1.0f * random.below(70000);
}

TEST_P(RowKernelsAt, loops_over_a_row) {
    for (int count = 1; count <= 70; ++count) {
        const Floats row = drawn(irregular, count + 1, static_cast<std::uint64_t>(count));
        const Floats factors = drawn(kFloatKinds<float>[0], count + 1, 1);
        const auto expectLoop = [&](auto element, auto loop) {
            Floats expected = row, actual = row, other = factors;
            for (std::size_t x = 0; x + 1 < row.size(); ++x)
                expected[x] = element(row[x], factors[x]);
            loop(actual.data(), other.data());
            EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << count;
        };
        expectLoop([](float x, float) { return x <= 0.0f ? 0.1f : x; },
                   [=](float* data, float*) { afeKernels().raise(data, count, 0.1f); });
        expectLoop([](float x, float f) { return x + f; },
                   [=](float* data, const float* other) { afeKernels().add(other, count, data); });
        expectLoop([](float x, float f) { return x < 65535.0f ? x * f : x; },
                   [=](float* data, const float* other) { afeKernels().scaleBelow(data, count, other, 65535.0f); });
        expectLoop([](float x, float f) { return x + 0.3f * f; },
                   [=](float* data, const float* other) { sumKernels().addMultiple(other, count, 0.3f, data); });
        expectLoop([](float x, float f) { return x * 0.6f + f * 0.8f; },
                   [=](float* data, float* other) { sumKernels().rotate(data, other, count, 0.6f, 0.8f); });
        expectLoop([](float x, float f) { return x * 0.6f - f * 0.8f; },
                   [=](float* data, float* other) { sumKernels().rotate(other, data, count, 0.6f, 0.8f); });
    }
}

}  // namespace
