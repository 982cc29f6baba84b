// Every vector level gives what the plain loops give, bit for bit, around every width of a vector.

#include "kernels/RankKernels.h"
#include "Builders.h"
#include "Compare.h"
#include "kernels/AfeKernels.h"
#include "kernels/SumKernels.h"
#include "levels/AtVectorLevel.h"
#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainFits.h"

#include <QxUtils.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

enum class Kind { Noise, Ties, WholeRange, Irregular };
constexpr Kind kKinds[] = {Kind::Noise, Kind::Ties, Kind::WholeRange, Kind::Irregular};

float valueOf(Kind kind, SplitMix64& random) {
    using Limits = std::numeric_limits<float>;
    constexpr float kSpecial[] = {Limits::quiet_NaN(), -0.0f, 0.0f, Limits::infinity(), -Limits::infinity(),
                                  Limits::lowest(),    -1.0f, 1.0f, 65535.0f,           65534.996f};
    switch (kind) {
    case Kind::Noise:
        return static_cast<float>(50000 + 200 * random.gaussian());
    case Kind::Ties:
        return static_cast<float>(random.below(9) - 4) + 0.0f;
    case Kind::WholeRange:
        return (random.below(2) == 0 ? 1.0f : -1.0f) *
               std::ldexp(static_cast<float>(random.uniform()), random.below(250) - 125);
    default:
        return random.below(40) == 0 ? kSpecial[random.below(10)] : static_cast<float>(random.below(70000));
    }
}

Floats valuesOf(Kind kind, int count, std::uint64_t seed) {
    SplitMix64 random(seed);
    Floats values(static_cast<std::size_t>(count));
    std::generate(values.begin(), values.end(), [&] { return valueOf(kind, random); });
    return values;
}

TEST_P(RowKernelsAt, column_medians) {
    for (const Kind kind : kKinds) {
        for (const int width : {1, 15, 16, 17, 31, 33, 64, 65, 95, 130}) {
            for (const int height : {1, 2, 3, 24, 33, 64}) {
                const Floats image = valuesOf(kind, width * height, static_cast<std::uint64_t>(width));
                Floats expected(static_cast<std::size_t>(width) + 1, kPoison);
                Floats actual = expected;
                plain::calcMedianPerColumn(expected.data(), image.data(), width, height);
                EXPECT_EQ(0, calcMedianPerColumn(actual.data(), image.data(), width, height));
                EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << width << " x " << height;
            }
        }
    }
}

TEST_P(RowKernelsAt, block_medians) {
    for (const Kind kind : kKinds) {
        for (std::uint64_t seed = 0; seed < 8; ++seed) {
            const Floats image = valuesOf(kind, 70 * 65, seed);
            Floats expected(2 * 2 + 1, kPoison);
            Floats actual = expected;
            plain::doBinningSample(expected.data(), image.data(), 70, 65);
            EXPECT_EQ(0, doBinningSample(actual.data(), image.data(), 70, 65));
            EXPECT_TRUE(sameBitsEverywhere(expected, actual)) << seed;
        }
    }
}

TEST_P(RowKernelsAt, ranks_of_pixel_blocks) {
    constexpr int kPixels = kGridBlockSide * kGridBlockSide;
    constexpr int kStride = kGridBlockSide + 5;
    const auto blockOf = [](int lowest, int highest) {
        return randomImage(kStride, kGridBlockSide, lowest, highest, 3);
    };
    TestImage extremes = blockOf(0, 1);
    for (WORD& pixel : extremes.pixels)
        pixel = pixel == 0 ? WORD{0} : WORD{65535};
    for (const TestImage& image : {blockOf(51000, 53000), blockOf(32760, 32775), blockOf(0, 65535), blockOf(7, 7),
                                   extremes, flatImage(kStride, kGridBlockSide, 52000, 197, 4)}) {
        std::vector<WORD> sorted;
        for (int y = 0; y < kGridBlockSide; ++y)
            sorted.insert(sorted.end(), image.data() + y * kStride, image.data() + y * kStride + kGridBlockSide);
        std::sort(sorted.begin(), sorted.end());
        for (const int rank : {0, 1, 100, kPixels / 2, kPixels - 1})
            EXPECT_EQ(sorted[static_cast<std::size_t>(rank)],
                      rankKernels().pixelBlockRank(image.data(), kStride, rank));
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
            const Floats image = valuesOf(Kind::Noise, rows * stride, static_cast<std::uint64_t>(rows));
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

TEST_P(RowKernelsAt, loops_over_a_row) {
    for (int count = 1; count <= 70; ++count) {
        const Floats row = valuesOf(Kind::Irregular, count + 1, static_cast<std::uint64_t>(count));
        const Floats factors = valuesOf(Kind::Noise, count + 1, 1);
        Floats raised = row;
        Floats sums = factors;
        Floats scaled = row;
        Floats turned = row;
        Floats multiples = row;
        Floats turnedOther = factors;
        for (std::size_t x = 0; x + 1 < row.size(); ++x) {
            raised[x] = row[x] <= 0.0f ? 0.1f : row[x];
            sums[x] += row[x];
            scaled[x] = row[x] < 65535.0f ? row[x] * factors[x] : row[x];
            multiples[x] += 0.3f * factors[x];
            turned[x] = row[x] * 0.6f + factors[x] * 0.8f;
            turnedOther[x] = factors[x] * 0.6f - row[x] * 0.8f;
        }
        Floats actualRaised = row;
        Floats actualSums = factors;
        Floats actualScaled = row;
        afeKernels().raise(actualRaised.data(), count, 0.1f);
        afeKernels().add(row.data(), count, actualSums.data());
        Floats actualMultiples = row;
        Floats actualTurned = row;
        Floats actualTurnedOther = factors;
        sumKernels().addMultiple(factors.data(), count, 0.3f, actualMultiples.data());
        sumKernels().rotate(actualTurned.data(), actualTurnedOther.data(), count, 0.6f, 0.8f);
        EXPECT_TRUE(sameBitsOrNanEverywhere(multiples, actualMultiples)) << count;
        EXPECT_TRUE(sameBitsOrNanEverywhere(turned, actualTurned)) << count;
        EXPECT_TRUE(sameBitsOrNanEverywhere(turnedOther, actualTurnedOther)) << count;
        afeKernels().scaleBelow(actualScaled.data(), count, factors.data(), 65535.0f);
        EXPECT_TRUE(sameBitsOrNanEverywhere(raised, actualRaised)) << count;
        EXPECT_TRUE(sameBitsOrNanEverywhere(sums, actualSums)) << count;
        EXPECT_TRUE(sameBitsOrNanEverywhere(scaled, actualScaled)) << count;
    }
}

}  // namespace
