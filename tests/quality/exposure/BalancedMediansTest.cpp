// The medians of the blocks of an exposure, before and after its AFE balance, and what that measures in passing.

#include "Compare.h"
#include "DetectorFixture.h"
#include "levels/AtVectorLevel.h"
#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainFits.h"

#include "quality/exposure/AfeSurvey.h"
#include "quality/exposure/BalancedMedians.h"
#include "quality/exposure/ExposureRows.h"

#include <QxUtils/Correction.h>

namespace {

using namespace qx;
using namespace qx::test;
using Floats = std::vector<float>;

// Pixels of both images.
struct Pair {
    int bright, dark;
};

// AFEs of 16, 32 or 48 columns differ in level.
double levelAt(int col) {
    constexpr double kGains[] = {1.0, 1.03, 0.97, 1.0, 0.9};
    return 20000 * kGains[col / 16 % 5];
}

// Contents that the balance takes another way for: without signal here and there, in most of a part or at the AFEs'
// edges; saturated here and there, or in just half of a block, where a gain lifts the others above; with columns at the
// edges that are replaced; around 0 everywhere.
using Content = Pair (*)(SplitMix64& random, int row, int col);
constexpr Content kContents[] = {
    [](SplitMix64& random, int, int col) {
        return Pair{static_cast<int>(levelAt(col) + 20 * random.gaussian()), 200 + random.below(9)};
    },
    [](SplitMix64& random, int, int col) {
        return Pair{random.below(300) == 0 ? 190 + random.below(20) : static_cast<int>(levelAt(col)), 200};
    },
    [](SplitMix64& random, int row, int col) {
        return Pair{row < 40 && col < 50 ? 150 + random.below(60) : static_cast<int>(levelAt(col)), 200};
    },
    [](SplitMix64& random, int row, int col) {
        return Pair{col % 16 == 15 && row % 3 > 0 ? 100 + random.below(90) : static_cast<int>(levelAt(col)), 200};
    },
    [](SplitMix64& random, int, int col) {
        return Pair{random.below(20) == 0 ? 65535 : static_cast<int>(3.2 * levelAt(col)) - random.below(900), 0};
    },
    [](SplitMix64&, int, int col) {
        return Pair{col % 32 >= 8 && col % 32 < 24 ? 65535 : col % 32 < 8 ? 60000 : 65000, 0};
    },
    [](SplitMix64& random, int, int col) {
        const double factor = col % 16 > 0 && col % 16 < 15 ? 1.0 : col % 5 < 2 ? 0.5 : 1.3;
        return Pair{static_cast<int>(factor * levelAt(col) + 5 * random.gaussian()), 200};
    },
    [](SplitMix64& random, int, int) {
        return Pair{200 + random.below(3), 200 + random.below(3)};
    },
};

// An exposure, and its balance by the plain methods.
struct Case {
    TestImage image, dark;
    AfeBlocks blocks;

    Case(Content content, int width, int height, int afeWidth)
        : image(constantImage(width, height, 0)), dark(image), blocks{width, afeWidth} {
        SplitMix64 random(static_cast<std::uint64_t>(width * height + afeWidth));
        for (int i = 0; i < width * height; ++i) {
            const Pair pixels = content(random, i / width, i % width);
            image.at(i / width, i % width) = static_cast<WORD>(std::clamp(pixels.bright, 0, 65535));
            dark.at(i / width, i % width) = static_cast<WORD>(pixels.dark);
        }
    }

    Exposure exposure() const { return {image.data(), dark.data(), image.width, image.height}; }

    Floats values(Difference difference) const {
        Floats result(image.pixels.size());
        std::ranges::transform(image.pixels, dark.pixels, result.begin(), difference);
        return result;
    }
    Floats binned(const Floats& values) const {
        Floats medians(static_cast<std::size_t>(exposure().blockRows() * exposure().blockColumns()));
        plain::doBinningSample(medians.data(), values.data(), image.width, image.height);
        return medians;
    }
    Floats columnSums(const Floats& values) const {
        Floats sums(static_cast<std::size_t>(image.width));
        for (std::size_t i = 0; i < values.size(); ++i)
            sums[i % sums.size()] += values[i];
        return sums;
    }

    // The measurement works on the replaced columns that also stay replaced.
    Floats repairedAndBalanced() const {
        const int boundaries = blocks.boundaries();
        Floats pixels = values(signedDifference);
        plain::overwriteBadLineAroundAFEEdge(pixels.data(), image.width, image.height, blocks.afeWidth);
        Floats ratios(static_cast<std::size_t>(image.height * boundaries)), medians = ratios, gains = ratios;
        plain::calcNeighbourAFERatio(ratios.data(), boundaries, pixels.data(), image.width, image.height,
                                     blocks.afeWidth);
        if (boundaries > 0)
            plain::calcMedianPerColumn(medians.data(), ratios.data(), boundaries, image.height);
        calcRgain(gains.data(), medians.data(), boundaries, image.width, blocks.afeWidth);
        plain::correctRDbyRgain(pixels.data(), image.width, image.height, gains.data(), boundaries, blocks.afeWidth);
        return pixels;
    }
    Floats balanced() const {
        Floats pixels = values(raisedDifference);
        plain::correctRDwithoutRgain(pixels.data(), image.width, image.height, blocks.afeWidth);
        return pixels;
    }
};

class BalancedMedians : public AtVectorLevel {
protected:
    BalancedMedians() { qxkit::resetVirtualDetector(); }
    ~BalancedMedians() override { qxkit::resetVirtualDetector(); }

    // Visits the blocks as the check of the first image does; returns their medians.
    static Floats visit(const Exposure& exposure, AfeSurvey& survey) {
        Floats medians;
        DifferenceBlock block(exposure);
        for (int y = 0; y < exposure.blockRows(); ++y) {
            for (int x = 0; x < exposure.blockColumns(); ++x) {
                block.take(y, x);
                medians.push_back(block.median());
                survey.add(block, y, x);
            }
        }
        return medians;
    }

    // The survey's measurement of one kind leads to the expected medians.
    template <Difference difference>
    static void expectBalanced(const Case& test, const Floats& medians, AfeMeasurement* measurement,
                               const Floats& expected) {
        ASSERT_NE(nullptr, measurement);
        const Floats sums(measurement->sums().begin(), measurement->sums().end());
        EXPECT_TRUE(sameBitsEverywhere(test.columnSums(test.values(difference)), sums));
        const Exposure exposure = test.exposure();
        ExposureRows<difference> rows(exposure);
        ASSERT_EQ(0, measurement->measure(rows));
        Balance balance{measurement->columnGains(), measurement->replacements()};
        if (difference == raisedDifference)
            balance.replacements = {};
        Floats found(medians.size());
        const int width = exposure.blockColumns();
        const int height = exposure.blockRows();
        balancedMedians<difference>(exposure, balance, {medians.data(), width, height}, {found.data(), width, height});
        EXPECT_TRUE(sameBitsOrNanEverywhere(test.binned(expected), found));
    }
};
INSTANTIATE_TEST_SUITE_P(Levels, BalancedMedians, kVectorLevels, levelName);

TEST_P(BalancedMedians, are_those_of_the_balanced_pixels) {
    for (const auto& [width, height] : {std::pair{96, 64}, {115, 70}, {163, 97}}) {
        for (const int afeWidth : {9, 16, 32, 48, 64, width}) {
            qxkit::virtualDetector().afeWidth = afeWidth;
            for (const Content& content : kContents) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << ", AFE width " << afeWidth
                                                << ", content " << &content - kContents);
                const Case test(content, width, height, afeWidth);
                AfeSurvey survey;
                survey.plan(test.exposure());
                const Floats medians = visit(test.exposure(), survey);
                const auto difference = [](WORD bright, WORD dark) noexcept {
                    return static_cast<float>(std::max(bright - dark, 0));
                };
                EXPECT_TRUE(sameBitsEverywhere(test.binned(test.values(difference)), medians));
                expectBalanced<signedDifference>(test, medians, survey.ofSigned(test.blocks),
                                                 test.repairedAndBalanced());
                expectBalanced<raisedDifference>(test, medians, survey.ofRaised(test.blocks), test.balanced());
            }
        }
    }
}

// What was measured for other AFEs, or of a part of the image, is of no use.
TEST_P(BalancedMedians, survey_knows_the_afes_of_a_whole_image) {
    const Case test(kContents[0], 96, 64, 32);
    qxkit::virtualDetector().afeWidth = 32;
    AfeSurvey survey;
    survey.plan(test.exposure());
    EXPECT_EQ(nullptr, survey.ofSigned(test.blocks));
    visit(test.exposure(), survey);
    EXPECT_NE(nullptr, survey.ofSigned(test.blocks));
    EXPECT_EQ(nullptr, survey.ofSigned({96, 48}));
    EXPECT_EQ(nullptr, survey.ofRaised({96, 48}));
    for (const int afeWidth : {0, 8, 97}) {
        qxkit::virtualDetector().afeWidth = afeWidth;
        AfeSurvey none;
        none.plan(test.exposure());
        visit(test.exposure(), none);
        EXPECT_EQ(nullptr, none.ofRaised({96, 32})) << afeWidth;
    }
}

}  // namespace
