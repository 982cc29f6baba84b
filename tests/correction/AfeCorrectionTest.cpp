#include "Compare.h"
#include "DetectorFixture.h"
#include "PlainAfe.h"

#include <QxUtils/Correction.h>
#include <VirtualPanel.h>

#include <cmath>
#include <limits>

namespace {

namespace plain = qx::plain;
using qx::test::sameBitsEverywhere;
using qx::test::sameBitsOrNanEverywhere;
using qx::test::SplitMix64;
using Lines = std::vector<std::string>;
using Floats = std::vector<float>;

constexpr float kPoison = -4711.0f;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kBelowWhite = std::nextafter(65535.0f, 0.0f);
const float kAboveWhite = std::nextafter(65535.0f, kInfinity);

const std::string kInfo = "Utils  | I | ";

// Adds what the edge search writes into the log.
void appendEdgeCourse(Lines& lines, const std::vector<plain::EdgeRepair>& found) {
    lines.push_back(kInfo + "<overwriteBadLineAroundAFEEdge> begins");
    for (const auto& [kind, column, source] : found) {
        const std::string text =
            "find bad column at " + std::to_string(column) + ", replace it by column " + std::to_string(source);
        if (kind == plain::EdgeRepair::Kind::ReplacedBeyondMedian)
            lines.push_back(kInfo + "loc, " + text);
        lines.push_back(kInfo + text);
    }
    lines.push_back(kInfo + "<overwriteBadLineAroundAFEEdge> terminates");
}

struct Shape {
    int width, height, afeWidth;
};

void PrintTo(const Shape& s, std::ostream* out) {
    *out << s.width << " x " << s.height << ", AFE width " << s.afeWidth;
}

enum class Content { Exposed, EdgesAtTheLimit, NothingAndLess, NotNumbers, AroundWhite };

// Columns of one block: its gain, and steps of about 0.0025 or of much more at its edges.
Floats blockColumns(int afeWidth, SplitMix64& random) {
    const auto base = static_cast<float>(20000.0 * (0.9 + 0.2 * random.uniform()));
    Floats columns(static_cast<std::size_t>(afeWidth), base);
    for (std::size_t edge : {std::size_t{0}, columns.size() - 1}) {
        const float stepSize = random.below(3) == 0 ? 0.12f : 0.0025f;
        float level = base;
        for (std::size_t i = 4; i-- > 0;) {
            const auto nearly = static_cast<float>(1 + (random.below(5) - 2) * 1e-7);
            level += random.below(2) == 0 ? 0.0f : base * stepSize * nearly;
            columns[edge == 0 ? i : edge - i] = level;
        }
    }
    return columns;
}

float disturbed(float pixel, Content content, SplitMix64& random) {
    constexpr float kNothing[] = {0.0f, -0.0f, -5.0f, -1e30f, std::numeric_limits<float>::denorm_min()};
    constexpr float kStrange[] = {kNaN, kInfinity, -kInfinity, 3e38f};
    const float white[] = {65535.0f, kBelowWhite, kAboveWhite, 65534.0f, 65536.0f, 64000.0f};
    const int draw = random.below(60);
    switch (content) {
    case Content::Exposed:
        return pixel + static_cast<float>(20.0 * random.gaussian());
    case Content::EdgesAtTheLimit:
        return pixel;
    case Content::NothingAndLess:
        return draw < 25 ? kNothing[draw / 5] : pixel;
    case Content::NotNumbers:
        return draw < 4 ? kStrange[draw] : pixel;
    case Content::AroundWhite:
        return white[draw / 10];
    }
    return pixel;
}

Floats testImage(const Shape& shape, Content content, std::uint64_t seed) {
    SplitMix64 random(seed);
    Floats columns;
    while (columns.size() < static_cast<std::size_t>(shape.width)) {
        const Floats block = blockColumns(shape.afeWidth, random);
        columns.insert(columns.end(), block.begin(), block.end());
    }
    Floats image;
    for (int row = 0; row < shape.height; ++row) {
        for (int column = 0; column < shape.width; ++column)
            image.push_back(disturbed(columns[static_cast<std::size_t>(column)], content, random));
    }
    return image;
}

using AfeCorrection = qx::test::DetectorFixture;
using CalcNeighbourAfeRatio = AfeCorrection;
using CalcRgain = AfeCorrection;
using CorrectRdByRgain = AfeCorrection;
using CorrectAbnormalPixelFromRd = AfeCorrection;
using OverwriteBadLine = AfeCorrection;
using CorrectRdWithoutRgain = AfeCorrection;
using CutBinningImage = AfeCorrection;
using DoBinningSample = AfeCorrection;
using SubtractImage = AfeCorrection;

// Every column is twice its left neighbour: ratios of other columns than the two at the boundary are other powers.
TEST_F(CalcNeighbourAfeRatio, points_away_from_the_reference_block) {
    const struct {
        int width;
        Floats expected;
    } cases[] = {
        {5, {2}}, {6, {0.5f, 2}}, {16, {0.5f, 0.5f, 0.5f, 2, 2, 2, 2}}, {19, {0.5f, 0.5f, 0.5f, 0.5f, 2, 2, 2, 2}}};
    for (const auto& [width, expected] : cases) {
        Floats image(static_cast<std::size_t>(width));
        for (int column = 0; column < width; ++column)
            image[static_cast<std::size_t>(column)] = std::ldexp(1.0f, column);
        const int nAfe = static_cast<int>(expected.size());
        Floats ratio(expected.size(), kPoison);
        EXPECT_EQ(0, calcNeighbourAFERatio(ratio.data(), nAfe, image.data(), width, 1, 2));
        EXPECT_EQ(expected, ratio) << width;
    }
}

TEST_F(CalcRgain, multiplies_the_ratios_between_block_and_reference_block) {
    const Floats ratios = {2, 4, 8, 16, 32, 64, 128, 256};
    const struct {
        int blocks;
        Floats expected;
    } cases[] = {{2, {0x1p-1f}},
                 {3, {0x1p-1f, 0x1p-2f}},
                 {8, {0x1p-6f, 0x1p-5f, 0x1p-3f, 0x1p-4f, 0x1p-9f, 0x1p-15f, 0x1p-22f}},
                 {9, {0x1p-10f, 0x1p-9f, 0x1p-7f, 0x1p-4f, 0x1p-5f, 0x1p-11f, 0x1p-18f, 0x1p-26f}}};
    for (const auto& [blocks, expected] : cases) {
        Floats rgain(expected.size(), kPoison);
        EXPECT_EQ(0, calcRgain(rgain.data(), ratios.data(), blocks - 1, blocks * 5 + 4, 5));
        EXPECT_EQ(expected, rgain) << blocks;
    }
}

// Blocks of two columns, the middle one of three is the reference block; one column belongs to none.
TEST_F(CorrectRdByRgain, leaves_white_pixels_the_reference_block_and_the_last_columns) {
    const Floats rgain = {2.0f, 0.5f};
    Floats image = {10, -3, 10, -3, 10, -3, 10, kBelowWhite, 65535, 7, 7, kBelowWhite, 65535, 7};
    EXPECT_EQ(0, correctRDbyRgain(image.data(), 7, 2, rgain.data(), 2, 2));
    EXPECT_EQ((Floats{20, -6, 10, -3, 5, -1.5f, 10, 2 * kBelowWhite, 65535, 7, 7, 0.5f * kBelowWhite, 65535, 7}),
              image);
    Floats strange = {kNaN, kInfinity, 1, 1, -kInfinity, kAboveWhite};
    EXPECT_EQ(0, correctRDbyRgain(strange.data(), 6, 1, rgain.data(), 2, 2));
    EXPECT_TRUE(sameBitsEverywhere(Floats{kNaN, kInfinity, 1, 1, -kInfinity, kAboveWhite}, strange));
    // With two blocks the gain belongs to the right one.
    Floats two = {1, 1, 1, 1, 1};
    EXPECT_EQ(0, correctRDbyRgain(two.data(), 5, 1, rgain.data(), 1, 2));
    EXPECT_EQ((Floats{1, 1, 2, 2, 1}), two);
    // A longer list reaches the last columns, a shorter one leaves blocks alone.
    EXPECT_EQ(0, correctRDbyRgain(two.data(), 5, 1, rgain.data(), 2, 2));
    EXPECT_EQ((Floats{1, 1, 4, 4, 0.5f}), two);
    Floats three = {1, 1, 1, 1, 1, 1};
    EXPECT_EQ(0, correctRDbyRgain(three.data(), 6, 1, rgain.data(), 1, 2));
    EXPECT_EQ((Floats{2, 2, 1, 1, 1, 1}), three);
}

TEST_F(CorrectAbnormalPixelFromRd, makes_a_tenth_of_what_is_not_positive) {
    constexpr float kTiny = std::numeric_limits<float>::denorm_min();
    Floats image = {0.0f, -0.0f, -1.0f, -kTiny, -kInfinity, kTiny, 0.05f, kNaN, kInfinity};
    EXPECT_EQ(0, correctAbnormalPixelFromRD(image.data(), 3, 3));
    const Floats expected = {0.1f, 0.1f, 0.1f, 0.1f, 0.1f, kTiny, 0.05f, kNaN, kInfinity};
    EXPECT_TRUE(sameBitsEverywhere(expected, image));
}

// What a pattern of steps does to either edge of a block. Steps go from the edge inwards, 'y' is one of `step`.
struct EdgePattern {
    const char* steps;
    float step;
    int leftFrom;  // columns between the edge and what the log calls its replacement; 0: nothing is found
    plain::EdgeRepair::Kind leftKind;
    int rightFrom;
};

constexpr auto kReplaced = plain::EdgeRepair::Kind::Replaced;
constexpr auto kBeyondMedian = plain::EdgeRepair::Kind::ReplacedBeyondMedian;
constexpr auto kOnlyLogged = plain::EdgeRepair::Kind::OnlyLogged;

constexpr EdgePattern kPatterns[] = {
    {"nnn", 10, 0, kReplaced, 0},   {"nny", 10, 0, kReplaced, 0},      {"nyn", 10, 2, kReplaced, 2},
    {"nyy", 10, 0, kReplaced, 0},   {"ynn", 10, 1, kReplaced, 1},      {"yny", 10, 0, kReplaced, 0},
    {"yyn", 10, 0, kReplaced, 0},   {"yyy", 10, 1, kOnlyLogged, 1},    {"yyy", 100, 1, kBeyondMedian, 1},
    {"ynn", -300, 1, kReplaced, 1}, {"yyy", -100, 1, kBeyondMedian, 1}};

// Two rows with the given means whose difference tells every column from the others.
Floats rowsWithMeans(const Floats& means) {
    Floats image;
    for (float sign : {1.0f, -1.0f}) {
        for (std::size_t column = 0; column < means.size(); ++column)
            image.push_back(means[column] + sign * 0.5f * static_cast<float>(column + 1));
    }
    return image;
}

TEST_F(OverwriteBadLine, edge_patterns) {
    constexpr int kAfe = 16;
    constexpr int kWidth = 3 * kAfe;
    constexpr std::size_t kStart = kAfe;
    constexpr std::size_t kEnd = 2 * kAfe - 1;
    Lines expectedLines;
    for (const EdgePattern& left : kPatterns) {
        for (const EdgePattern& right : kPatterns) {
            Floats means(kWidth, 1000.0f);
            for (std::size_t i = 3; i-- > 0;) {
                means[kStart + i] = means[kStart + i + 1] + (left.steps[i] == 'y' ? left.step : 0.0f);
                means[kEnd - i] = means[kEnd - i - 1] + (right.steps[i] == 'y' ? right.step : 0.0f);
            }
            Floats image = rowsWithMeans(means);
            Floats expected = image;
            std::vector<plain::EdgeRepair> found;
            if (left.leftFrom != 0)
                found.push_back({left.leftKind, kAfe, kAfe + left.leftFrom});
            if (right.rightFrom != 0)
                found.push_back({kReplaced, kEnd, static_cast<int>(kEnd) - right.rightFrom});
            for (const plain::EdgeRepair& repair : found) {
                for (int row = 0; row < 2 && repair.kind != kOnlyLogged; ++row)
                    expected[static_cast<std::size_t>(row * kWidth + repair.column)] =
                        expected[static_cast<std::size_t>(row * kWidth + repair.source)];
            }
            appendEdgeCourse(expectedLines, found);
            overwriteBadLineAroundAFEEdge(image.data(), kWidth, 2, kAfe);
            EXPECT_EQ(expected, image) << left.steps << " " << left.step << ", " << right.steps << " " << right.step;
        }
    }
    EXPECT_EQ(expectedLines, logLines());
}

// The only block of an image of one row: its means are its pixels.
TEST_F(OverwriteBadLine, limits_are_exceeded_not_reached) {
    const auto up = [](float value) { return std::nextafter(value, 2.0f * value); };
    const auto down = [](float value) { return std::nextafter(value, 0.0f); };
    const struct {
        Floats firstColumns;
        float others, expected;
    } cases[] = {
        {{1002.5f}, 1000, 1002.5f},
        {{up(1002.5f)}, 1000, 1000},
        {{997.5f}, 1000, 997.5f},
        {{down(997.5f)}, 1000, 1000},
        {{1250, 1100, 1050}, 1000, 1250},
        {{up(1250), 1100, 1050}, 1000, 1100},
        {{750, 900, 950}, 1000, 750},
        {{down(750), 900, 950}, 1000, 900},
        // 0.0125 over 5 is 0.0025 in single precision only: no step, so that the one behind it is the only one.
        {{0.0125f, 0}, 5, 5},
        {{up(0.0125f), 0}, 5, up(0.0125f)},
        // The median of the first nine columns counts, not the block's.
        {{1300, 1200, 1100, 1000, 1000, 1000, 1000, 1000, 1000}, 1200, 1200},
        // A deviation relative to a negative median is never beyond.
        {{-1900, -1600, -1300}, -1000, -1900}};
    for (const auto& c : cases) {
        Floats image(20, c.others);
        std::copy(c.firstColumns.begin(), c.firstColumns.end(), image.begin());
        Floats expected = image;
        expected[0] = c.expected;
        overwriteBadLineAroundAFEEdge(image.data(), 20, 1, 20);
        EXPECT_EQ(expected, image) << c.firstColumns[0];
    }
}

// With the first column replaced the median would be 1000 instead of 2000, and the step of 4 at the end one of 0.004.
TEST_F(OverwriteBadLine, decides_before_anything_is_replaced) {
    Floats image = {3000, 1000, 1000, 1000, 1000, 2000, 2000, 2000, 2004};
    overwriteBadLineAroundAFEEdge(image.data(), 9, 1, 9);
    EXPECT_EQ((Floats{1000, 1000, 1000, 1000, 1000, 2000, 2000, 2000, 2004}), image);
}

// The first column adds up to 0 in single precision, to 3 otherwise.
TEST_F(OverwriteBadLine, column_means_are_single_precision_sums_from_the_top) {
    Floats image(3 * 9, 1.0f);
    image[0] = 1e9f;
    image[9] = 3.0f;
    image[18] = -1e9f;
    Floats expected = image;
    expected[0] = expected[9] = expected[18] = 1.0f;
    overwriteBadLineAroundAFEEdge(image.data(), 9, 3, 9);
    EXPECT_EQ(expected, image);
}

// The functions one by one and as a whole.
void expectPlainResults(const Shape& s, const Floats& image, const std::string& what) {
    Floats expected = image;
    Floats actual = image;
    plain::correctRDwithoutRgain(expected.data(), s.width, s.height, s.afeWidth);
    EXPECT_EQ(0, correctRDwithoutRgain(actual.data(), s.width, s.height));
    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << what;

    expected = actual = image;
    plain::overwriteBadLineAroundAFEEdge(expected.data(), s.width, s.height, s.afeWidth);
    overwriteBadLineAroundAFEEdge(actual.data(), s.width, s.height, s.afeWidth);
    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << what;

    const int nAfe = s.width / s.afeWidth - 1;
    if (nAfe == 0)
        return;
    // One value more than needed, which has to stay. Any row of ratios will do for medians.
    Floats expectedRatio(static_cast<std::size_t>(nAfe * s.height + 1), kPoison);
    Floats actualRatio = expectedRatio;
    plain::calcNeighbourAFERatio(expectedRatio.data(), nAfe, image.data(), s.width, s.height, s.afeWidth);
    EXPECT_EQ(0, calcNeighbourAFERatio(actualRatio.data(), nAfe, image.data(), s.width, s.height, s.afeWidth));
    EXPECT_TRUE(sameBitsOrNanEverywhere(expectedRatio, actualRatio)) << what;

    Floats expectedGain(static_cast<std::size_t>(nAfe + 1), kPoison);
    Floats actualGain = expectedGain;
    plain::calcRgain(expectedGain.data(), expectedRatio.data(), nAfe, s.width, s.afeWidth);
    EXPECT_EQ(0, calcRgain(actualGain.data(), expectedRatio.data(), nAfe, s.width, s.afeWidth));
    EXPECT_TRUE(sameBitsOrNanEverywhere(expectedGain, actualGain)) << what;

    expected = actual = image;
    plain::correctRDbyRgain(expected.data(), s.width, s.height, expectedGain.data(), nAfe, s.afeWidth);
    EXPECT_EQ(0, correctRDbyRgain(actual.data(), s.width, s.height, expectedGain.data(), nAfe, s.afeWidth));
    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << what;
}

TEST_F(AfeCorrection, agrees_with_the_plain_methods) {
    setLogLevel(4);
    std::uint64_t seed = 0;
    for (int afeWidth : {9, 10, 16, 32, 128}) {
        detector().afeWidth = afeWidth;
        for (int blocks : {1, 2, 3, 8, 9}) {
            for (int height : {1, 2, 31, 32, 33}) {
                const int partial = static_cast<int>(++seed % 3) * (afeWidth - 1) / 2;
                const Shape shape{blocks * afeWidth + partial, height, afeWidth};
                for (int content = 0; content < 5; ++content)
                    expectPlainResults(shape, testImage(shape, static_cast<Content>(content), seed),
                                       testing::PrintToString(shape) + ", content " + std::to_string(content));
            }
        }
    }
}

// Powers of two make every step exact.
TEST_F(CorrectRdWithoutRgain, brings_every_block_to_the_level_of_the_reference_block) {
    for (int blocks : {2, 8, 9}) {
        detector().afeWidth = 10;
        const int width = blocks * 10 + 3;
        const int reference = (blocks - 1) / 2;
        Floats image;
        Floats expected;
        for (int i = 0; i < 4 * width; ++i) {
            const int column = i % width;
            image.push_back(std::ldexp(3.0f, column / 10));
            expected.push_back(std::ldexp(3.0f, column < blocks * 10 ? reference : blocks));
        }
        // A white and a dark pixel at the first boundary make bad columns of theirs.
        const auto below = static_cast<std::size_t>(width) + 10;
        image[9] = expected[9] = 65535.0f;
        image[below] = -8.0f;
        expected[below] = 0.1f * std::ldexp(1.0f, reference - 1);
        EXPECT_EQ(0, correctRDwithoutRgain(image.data(), width, 4));
        EXPECT_EQ(expected, image) << blocks;
    }
}

TEST_F(CorrectRdWithoutRgain, bad_edge_columns_are_left_out_of_the_measurement_but_stay_and_the_course_is_logged) {
    detector().afeWidth = 9;
    Floats image;
    Floats expected;
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 27; ++column) {
            const float bad = column == 9 ? 1.5f : column == 26 ? 0.5f : 1.0f;
            image.push_back(std::ldexp(100.0f, column / 9) * bad);
            expected.push_back(200.0f * bad);
        }
    }
    EXPECT_EQ(0, correctRDwithoutRgain(image.data(), 27, 3));
    EXPECT_EQ(expected, image);
    Lines lines = {kInfo + "<correctRDwithoutRgain> begins"};
    appendEdgeCourse(lines, {{kReplaced, 9, 10}, {kReplaced, 26, 25}});
    lines.push_back(kInfo + "<correctRDwithoutRgain> terminates0");
    EXPECT_EQ(lines, logLines());
}

TEST_F(CorrectRdWithoutRgain, null_image) {
    Lines lines;
    for (const auto& [afeWidth, width] : {std::pair{32, 64}, {0, 64}, {32, 0}}) {
        detector().afeWidth = afeWidth;
        EXPECT_EQ(1017, correctRDwithoutRgain(nullptr, width, 64)) << afeWidth << ", " << width;
        lines.insert(lines.end(), {kInfo + "<correctRDwithoutRgain> begins", kInfo + "rad image is null",
                                   kInfo + "<correctRDwithoutRgain> terminates1017"});
    }
    EXPECT_EQ(lines, logLines());
}

TEST_F(CorrectRdWithoutRgain, afe_width_is_the_kits_or_32) {
    const Shape shape{96, 5, 32};
    const Floats image = testImage(shape, Content::NothingAndLess, 7);
    for (int afeWidth : {std::numeric_limits<int>::min(), -32, 0, 1, 8, 97, std::numeric_limits<int>::max()}) {
        detector().afeWidth = afeWidth;
        Floats actual = image;
        EXPECT_EQ(1020, correctRDwithoutRgain(actual.data(), 96, 5)) << afeWidth;
        EXPECT_TRUE(sameBitsEverywhere(image, actual)) << afeWidth;
        overwriteBadLineAroundAFEEdge(actual.data(), 96, 5, afeWidth);
        EXPECT_TRUE(sameBitsEverywhere(image, actual)) << afeWidth;
    }
    detector().faults.getAFEWidthByDetectorDescription = 7;
    Floats expected = image;
    Floats actual = image;
    plain::correctRDwithoutRgain(expected.data(), 96, 5, 32);
    EXPECT_EQ(0, correctRDwithoutRgain(actual.data(), 96, 5));
    EXPECT_TRUE(sameBitsEverywhere(expected, actual));
    EXPECT_FALSE(sameBitsEverywhere(image, actual));
}

TEST_F(CorrectRdWithoutRgain, recovers_the_gains_of_a_panel) {
    for (int blocks : {8, 9}) {
        qxkit::PanelParameters parameters;
        parameters.width = blocks * 32 + 7;
        parameters.height = 768;
        parameters.afeWidth = detector().afeWidth = 32;
        parameters.pixelGainSigma = 0.002;
        parameters.variancePerCount = 0.1;
        parameters.shading = 0.0;
        parameters.sourceDistanceCm = 1000.0;
        parameters.defectivePixelShare = 0.0;
        parameters.deadHalfColumns = parameters.deadRows = parameters.clusters = 0;
        const qxkit::VirtualPanel panel(parameters);
        const int width = parameters.width;
        Floats image(static_cast<std::size_t>(width) * 768);
        subtractImage(image.data(), panel.flat({.level = 40000.0}).pixels.data(), panel.dark().pixels.data(),
                      width * 768);
        for (std::size_t i = 64; i < image.size(); i += static_cast<std::size_t>(width))
            image[i] *= 1.3f;
        const Floats before = image;
        EXPECT_EQ(0, correctRDwithoutRgain(image.data(), width, 768));
        const std::vector<double>& gains = panel.truth().afeGains;
        for (int block = 0; block < blocks; ++block) {
            const auto pixel = static_cast<std::size_t>(block) * 32;
            const double expected = gains[static_cast<std::size_t>((blocks - 1) / 2)] / gains[pixel / 32];
            EXPECT_NEAR(expected, image[pixel] / before[pixel], 1e-3) << "block " << block << " of " << blocks;
        }
        EXPECT_EQ(before[before.size() - 1], image[image.size() - 1]);
        const Lines lines = logLines();
        EXPECT_EQ(kInfo + "find bad column at 64, replace it by column 65", lines[lines.size() - 3]);
    }
}

TEST_F(DoBinningSample, medians_of_whole_blocks) {
    Floats image(64 * 33, 7.0f);
    for (int i = 0; i < 1024; ++i)
        image[static_cast<std::size_t>(i / 32 * 64 + i % 32)] = static_cast<float>(i * 389 % 1024);
    Floats out(3, kPoison);
    EXPECT_EQ(0, doBinningSample(out.data(), image.data(), 64, 33));
    EXPECT_EQ((Floats{512, 7, kPoison}), out);
}

TEST_F(DoBinningSample, agrees_with_the_plain_method) {
    constexpr int kSides[] = {31, 32, 33, 64, 95};
    for (int width : kSides) {
        for (int height : kSides) {
            for (int content = 0; content < 7; ++content) {
                SplitMix64 random(static_cast<std::uint64_t>(width * 100 + height + content));
                Floats image;
                for (int i = 0; i < width * height; ++i) {
                    const float any = static_cast<float>(random.gaussian());
                    const float values[] = {any,
                                            std::floor(1000.0f * any),
                                            random.below(2) == 0 ? 0.0f : -0.0f,
                                            random.below(9) == 0 ? kNaN : any,
                                            random.below(9) != 0 ? kNaN : any,
                                            random.below(3) == 0   ? kInfinity
                                            : random.below(2) == 0 ? -kInfinity
                                                                   : any,
                                            random.below(2) == 0 ? kAboveWhite : kBelowWhite};
                    image.push_back(values[content]);
                }
                Floats expected(5, kPoison);
                Floats actual(5, kPoison);
                plain::doBinningSample(expected.data(), image.data(), width, height);
                EXPECT_EQ(0, doBinningSample(actual.data(), image.data(), width, height));
                EXPECT_TRUE(sameBitsEverywhere(expected, actual))
                    << width << " x " << height << ", content " << content;
            }
        }
    }
}

TEST_F(CutBinningImage, keeps_the_inner_part) {
    Floats image;
    for (int i = 0; i < 7 * 6; ++i)
        image.push_back(static_cast<float>(i));
    const struct {
        int border, width, height, status;
        Floats expected;
    } cases[] = {{0, 7, 6, 0, image},
                 {1, 7, 6, 0, {8, 9, 10, 11, 12, 15, 16, 17, 18, 19, 22, 23, 24, 25, 26, 29, 30, 31, 32, 33}},
                 {2, 7, 6, 0, {16, 17, 18, 23, 24, 25}},
                 {2, 5, 5, 0, {12}},
                 {3, 7, 6, 0, {}},
                 {2, 4, 7, 0, {}},  // no column is left
                 {1 << 30, 7, 6, 0, {}},
                 {std::numeric_limits<int>::max(), 7, 6, 0, {}},
                 {-1, 7, 6, 1020, {}}};
    for (const auto& c : cases) {
        Floats out(50, kPoison);
        Floats expected = c.expected;
        expected.resize(50, kPoison);
        EXPECT_EQ(c.status, cutBinningImage(out.data(), image.data(), c.width, c.height, c.border)) << c.border;
        EXPECT_EQ(expected, out) << c.width << " x " << c.height << ", border " << c.border;
    }
}

TEST_F(SubtractImage, differences_are_signed) {
    const WORD a[] = {3, 0, 65535, 65535, 9};
    const WORD b[] = {5, 65535, 0, 65535, 1};
    Floats out(5, kPoison);
    subtractImage(out.data(), a, b, 4);
    EXPECT_TRUE(sameBitsEverywhere(Floats{-2, -65535, 65535, 0, kPoison}, out));
    out.assign(5, kPoison);
    subtractImage(out.data(), a, nullptr, 4);
    subtractImage(out.data(), nullptr, b, 4);
    subtractImage(nullptr, a, b, 4);
    subtractImage(out.data(), a, b, 0);
    subtractImage(out.data(), a, b, -1);
    EXPECT_EQ(Floats(5, kPoison), out);
}

TEST_F(AfeCorrection, null_pointers_and_impossible_sizes) {
    detector().afeWidth = 32;
    Floats image(96, -1.0f);
    Floats out(96, kPoison);
    float* const in = image.data();
    float* const to = out.data();
    Floats white(96, 65535.0f);
    for (const auto& [a, b] : {std::pair<float*, float*>{nullptr, in}, {to, nullptr}}) {
        EXPECT_EQ(1057, correctRDbyRgain(a, 96, 1, b, 2, 32));
        EXPECT_EQ(1057, calcNeighbourAFERatio(a, 2, b, 96, 1, 32));
        EXPECT_EQ(1057, calcRgain(a, b, 2, 96, 32));
        EXPECT_EQ(1057, cutBinningImage(a, b, 12, 8, 1));
        EXPECT_EQ(1057, doBinningSample(a, b, 96, 1));
    }
    EXPECT_EQ(1057, correctAbnormalPixelFromRD(nullptr, 96, 1));
    overwriteBadLineAroundAFEEdge(nullptr, 96, 1, 32);
    for (const auto& [w, h] : {std::pair{0, 1}, {96, 0}, {-96, -1}, {96, -1}, {65536, 65536}}) {
        const int nAfe = w / 32 - 1;
        const std::vector<int> statuses = {correctRDwithoutRgain(in, w, h), correctRDbyRgain(in, w, h, to, nAfe, 32),
                                           correctAbnormalPixelFromRD(in, w, h),
                                           calcNeighbourAFERatio(to, nAfe, in, w, h, 32),
                                           cutBinningImage(to, in, w, h, 0)};
        EXPECT_EQ(std::vector<int>(5, 1020), statuses) << w << " x " << h;
        overwriteBadLineAroundAFEEdge(in, w, h, 32);
    }
    EXPECT_EQ(1020, doBinningSample(to, in, 65536, 65536));
    for (const auto& [nAfe, afeWidth] :
         {std::pair{2, 0}, {2, -32}, {0, 96}, {0, 97}, {-1, 97}, {1, 32}, {3, 32}, {-1, 32}}) {
        const std::vector<int> statuses = {calcNeighbourAFERatio(to, nAfe, in, 96, 1, afeWidth),
                                           calcRgain(to, in, nAfe, 96, afeWidth)};
        EXPECT_EQ(std::vector<int>(2, 1020), statuses) << nAfe << " boundaries, AFE width " << afeWidth;
        const bool anyGain = nAfe >= 1 && afeWidth == 32;
        EXPECT_EQ(anyGain ? 0 : 1020, correctRDbyRgain(white.data(), 96, 1, to, nAfe, afeWidth));
    }
    EXPECT_EQ(Floats(96, -1.0f), image);
    EXPECT_EQ(Floats(96, kPoison), out);
}

}  // namespace
