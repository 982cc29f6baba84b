#include "Compare.h"
#include "DetectorFixture.h"
#include "reference/correction/PlainAfe.h"

#include <QxUtils/Correction.h>

#include <cmath>
#include <limits>

namespace {

using namespace qx::test;
namespace plain = qx::plain;
using Lines = std::vector<std::string>;
using Floats = std::vector<float>;

constexpr float kPoison = -4711.0f;
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kTiny = std::numeric_limits<float>::denorm_min();
constexpr int kHighest = std::numeric_limits<int>::max();
const float kBelowWhite = std::nextafter(65535.0f, 0.0f);
const float kAboveWhite = std::nextafter(65535.0f, kInfinity);

// `each` of 60 pixels have one of the values, each of them.
struct Content {
    float noise;
    std::size_t each;
    Floats values;
};
const Content kContents[] = {{20, 60, {}},
                             {0, 60, {}},  // edges at the limit
                             {0, 5, {0.0f, -0.0f, -5.0f, -1e30f, kTiny}},
                             {0, 1, {kNaN, kInfinity, -kInfinity, 3e38f}},
                             {0, 10, {65535.0f, kBelowWhite, kAboveWhite, 65534.0f, 65536.0f, 64000.0f}},
                             {0, 30, {0.0f, -0.0f}},
                             {0, 20, {kInfinity, -kInfinity}},
                             {0, 13, {kNaN, kNaN, kNaN, kNaN}}};

// Blocks of different gain, with steps of about 0.0025 or of much more at their edges.
Floats testImage(int width, int height, int afeWidth, const Content& content, std::uint64_t seed) {
    SplitMix64 random(seed);
    Floats columns;
    while (columns.size() < static_cast<std::size_t>(width)) {
        const auto base = static_cast<float>(20000.0 * (0.9 + 0.2 * random.uniform()));
        Floats block(static_cast<std::size_t>(afeWidth), base);
        for (const std::size_t edge : {std::size_t{0}, block.size() - 1}) {
            const float step = base * (random.below(3) == 0 ? 0.12f : 0.0025f);
            float level = base;
            for (std::size_t i = 4; i-- > 0;) {
                level += random.below(2) == 0 ? 0.0f : step * static_cast<float>(1 + (random.below(5) - 2) * 1e-7);
                block[edge == 0 ? i : edge - i] = level;
            }
        }
        columns.insert(columns.end(), block.begin(), block.end());
    }
    Floats image;
    for (int i = 0; i < width * height; ++i) {
        const std::size_t which = static_cast<std::size_t>(random.below(60)) / content.each;
        const float noise = content.noise * static_cast<float>(random.gaussian());
        image.push_back(which < content.values.size() ? content.values[which]
                                                      : columns[static_cast<std::size_t>(i % width)] + noise);
    }
    return image;
}

using AfeCorrection = DetectorFixture;
using OverwriteBadLine = AfeCorrection;
using CorrectRdWithoutRgain = AfeCorrection;
using BinningTools = AfeCorrection;

// Every column is twice its left neighbour, and four times in a second row: ratios of other columns than the two at the
// boundary are other powers. The gains are those of the ratios 2, 4, 8, ...
TEST_F(AfeCorrection, ratios_point_away_from_the_reference_block_and_gains_multiply_them) {
    const struct {
        Floats ratios, gains;
    } cases[] = {{{2}, {0x1p-1f}},
                 {{0.5f, 2}, {0x1p-1f, 0x1p-2f}},
                 {{0.5f, 0.5f, 0.5f, 2, 2, 2, 2}, {0x1p-6f, 0x1p-5f, 0x1p-3f, 0x1p-4f, 0x1p-9f, 0x1p-15f, 0x1p-22f}},
                 {{0.5f, 0.5f, 0.5f, 0.5f, 2, 2, 2, 2},
                  {0x1p-10f, 0x1p-9f, 0x1p-7f, 0x1p-4f, 0x1p-5f, 0x1p-11f, 0x1p-18f, 0x1p-26f}}};
    for (const auto& [ratios, gains] : cases) {
        const int nAfe = static_cast<int>(ratios.size());
        const int width = 2 * nAfe + 3;
        Floats image, expected = ratios, actual(2 * ratios.size(), kPoison);
        for (int i = 0; i < 2 * width; ++i)
            image.push_back(std::ldexp(1.0f, i < width ? i : 2 * (i - width)));
        for (const float ratio : ratios)
            expected.push_back(ratio * ratio);
        EXPECT_EQ(0, calcNeighbourAFERatio(actual.data(), nAfe, image.data(), width, 2, 2));
        EXPECT_EQ(expected, actual);
        actual.assign(ratios.size(), kPoison);
        EXPECT_EQ(0, calcRgain(actual.data(), image.data() + 1, nAfe, 5 * nAfe + 9, 5));
        EXPECT_EQ(gains, actual);
    }
}

// Blocks of two columns, the middle one of three is the reference block; one column belongs to none.
TEST_F(AfeCorrection, gains_leave_white_pixels_the_reference_block_and_the_last_columns) {
    const struct {
        int width;
        Floats gains, image, expected;
    } cases[] = {{7,
                  {2.0f, 0.5f},
                  {10, -3, 10, -3, 10, -3, 10, kBelowWhite, 65535, 7, 7, kBelowWhite, 65535, 7},
                  {20, -6, 10, -3, 5, -1.5f, 10, 2 * kBelowWhite, 65535, 7, 7, 0.5f * kBelowWhite, 65535, 7}},
                 // With two blocks the gain belongs to the right one; a longer list reaches the last columns, a shorter
                 // one leaves blocks alone.
                 {5, {2}, {1, 1, 1, 1, 1}, {1, 1, 2, 2, 1}},
                 {5, {2, 0.5f}, {1, 1, 2, 2, 1}, {1, 1, 4, 4, 0.5f}},
                 {6, {2}, {1, 1, 1, 1, 1, 1}, {2, 2, 1, 1, 1, 1}}};
    for (const auto& c : cases) {
        Floats actual = c.image;
        const int height = static_cast<int>(c.image.size()) / c.width;
        EXPECT_EQ(
            0, correctRDbyRgain(actual.data(), c.width, height, c.gains.data(), static_cast<int>(c.gains.size()), 2));
        EXPECT_EQ(c.expected, actual);
    }
    // Five blocks that are wider than the panels they are scaled in.
    constexpr int kBlock = 5000;
    const Floats gains = {2, 3, 5, 7};
    Floats actual, expected;
    for (int i = 0; i < 2 * (5 * kBlock + 1); ++i) {
        const int block = i % (5 * kBlock + 1) / kBlock;
        actual.push_back(static_cast<float>(i));
        expected.push_back(actual.back() * (block < 2 ? gains[block] : block == 2 || block > 4 ? 1 : gains[block - 1]));
    }
    EXPECT_EQ(0, correctRDbyRgain(actual.data(), 5 * kBlock + 1, 2, gains.data(), 4, kBlock));
    EXPECT_EQ(expected, actual);
}

TEST_F(AfeCorrection, abnormal_pixels_become_a_tenth) {
    Floats image = {0.0f, -0.0f, -1.0f, -kTiny, -kInfinity, kTiny, 0.05f, kNaN, kInfinity};
    EXPECT_EQ(0, correctAbnormalPixelFromRD(image.data(), 3, 3));
    EXPECT_TRUE(sameBitsEverywhere({0.1f, 0.1f, 0.1f, 0.1f, 0.1f, kTiny, 0.05f, kNaN, kInfinity}, image));
}

const Lines kEdgesBegin = {"<overwriteBadLineAroundAFEEdge> begins"};
const Lines kEdgesEnd = {"<overwriteBadLineAroundAFEEdge> terminates"};

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// Steps go from an edge of the middle block inwards, 'y' is one of `step`. Left and right tell how far from its edge
// the column lies that replaces it, 0 that the edge stays.
TEST_F(OverwriteBadLine, edge_patterns) {
    constexpr int kFirst = 16, kLast = 31, kWidth = 48;
    const std::string left = "find bad column at 16, replace it by column 17";
    const std::string right = "find bad column at 31, replace it by column 30";
    const struct {
        const char* steps;
        float step;
        int left, right;
        Lines log;
    } cases[] = {{"nnn", 10, 0, 0, {}},
                 {"nny", 10, 0, 0, {}},
                 {"nyn",
                  10,
                  2,
                  2,
                  {"find bad column at 16, replace it by column 18", "find bad column at 31, replace it by column 29"}},
                 {"nyy", 10, 0, 0, {}},
                 {"ynn", 10, 1, 1, {left, right}},
                 {"yny", 10, 0, 0, {}},
                 {"yyn", 10, 0, 0, {}},
                 {"yyy", 10, 0, 1, {left, right}},
                 {"ynn", -300, 1, 1, {left, right}},
                 {"yyy", 100, 1, 1, {"loc, " + left, left, right}},
                 {"yyy", -100, 1, 1, {"loc, " + left, left, right}}};
    for (const auto& c : cases) {
        Floats means(kWidth, 1000.0f);
        for (std::size_t i = 3; i-- > 0;) {
            means[kFirst + i] = means[kFirst + i + 1] + (c.steps[i] == 'y' ? c.step : 0.0f);
            means[kLast - i] = means[kLast - i - 1] + (c.steps[i] == 'y' ? c.step : 0.0f);
        }
        // Two rows with these means whose difference tells every column from the others.
        Floats image(2 * kWidth);
        for (std::size_t i = 0; i < kWidth; ++i) {
            image[i] = means[i] + 0.5f * static_cast<float>(i + 1);
            image[kWidth + i] = means[i] - 0.5f * static_cast<float>(i + 1);
        }
        Floats expected = image;
        for (const std::size_t row : {0, kWidth}) {
            expected[row + kFirst] = image[row + kFirst + static_cast<std::size_t>(c.left)];
            expected[row + kLast] = image[row + kLast - static_cast<std::size_t>(c.right)];
        }
        overwriteBadLineAroundAFEEdge(image.data(), kWidth, 2, 16);
        EXPECT_EQ(expected, image) << c.steps << " " << c.step;
        EXPECT_EQ(joined({kEdgesBegin, c.log, kEdgesEnd}), takeLog());
    }
}

// The only block of an image of one row: its means are its pixels.
TEST_F(OverwriteBadLine, limits_are_exceeded_not_reached) {
    const auto up = [](float value) { return std::nextafter(value, 2.0f * value); };
    const auto down = [](float value) { return std::nextafter(value, 0.0f); };
    const struct {
        Floats firstColumns;
        float others, expected;
    } cases[] = {{{1002.5f}, 1000, 1002.5f},
                 {{up(1002.5f)}, 1000, 1000},
                 {{997.5f}, 1000, 997.5f},
                 {{down(997.5f)}, 1000, 1000},
                 {{1250, 1100, 1050}, 1000, 1250},
                 {{up(1250), 1100, 1050}, 1000, 1100},
                 {{750, 900, 950}, 1000, 750},
                 {{down(750), 900, 950}, 1000, 900},
                 // 0.0125 over 5 is 0.0025 in single precision only: no step, so that the one behind is the only one.
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
    // With the first column replaced the median would be 1000 instead of 2000, the step of 4 at the end one of 0.004.
    Floats early = {3000, 1000, 1000, 1000, 1000, 2000, 2000, 2000, 2004};
    overwriteBadLineAroundAFEEdge(early.data(), 9, 1, 9);
    EXPECT_EQ((Floats{1000, 1000, 1000, 1000, 1000, 2000, 2000, 2000, 2004}), early);
}

TEST_F(AfeCorrection, agrees_with_the_plain_methods) {
    setLogLevel(4);
    std::uint64_t seed = 0;
    for (int afeWidth : {9, 10, 16, 32, 128}) {
        detector().afeWidth = afeWidth;
        for (int blocks : {1, 2, 3, 8, 9}) {
            for (int height : {1, 2, 31, 32, 33}) {
                const int width = blocks * afeWidth + static_cast<int>(++seed % 3) * (afeWidth - 1) / 2;
                SCOPED_TRACE(testing::Message() << width << " x " << height << ", AFE width " << afeWidth);
                for (const Content& content : kContents) {
                    const Floats image = testImage(width, height, afeWidth, content, seed);
                    Floats expected = image, actual = image;
                    plain::correctRDwithoutRgain(expected.data(), width, height, afeWidth);
                    EXPECT_EQ(0, correctRDwithoutRgain(actual.data(), width, height));
                    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual));
                    expected = actual = image;
                    plain::overwriteBadLineAroundAFEEdge(expected.data(), width, height, afeWidth);
                    overwriteBadLineAroundAFEEdge(actual.data(), width, height, afeWidth);
                    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual));
                }
            }
        }
    }
}

// Powers of two make every step exact.
TEST_F(CorrectRdWithoutRgain, bad_edge_columns_are_left_out_of_the_measurement_but_stay_and_the_course_is_logged) {
    detector().afeWidth = 9;
    Floats image;
    Floats expected;
    for (int i = 0; i < 3 * 27; ++i) {
        const float bad = i % 27 == 9 ? 1.5f : i % 27 == 26 ? 0.5f : 1.0f;
        image.push_back(std::ldexp(100.0f, i % 27 / 9) * bad);
        expected.push_back(200.0f * bad);
    }
    EXPECT_EQ(0, correctRDwithoutRgain(image.data(), 27, 3));
    EXPECT_EQ(expected, image);
    const Lines begin = {"<correctRDwithoutRgain> begins"};
    EXPECT_EQ(
        joined({begin,
                kEdgesBegin,
                {"find bad column at 9, replace it by column 10", "find bad column at 26, replace it by column 25"},
                kEdgesEnd,
                {"<correctRDwithoutRgain> terminates0"}}),
        takeLog());
    // A missing image goes before an impossible size.
    for (const int afeWidth : {9, 0}) {
        detector().afeWidth = afeWidth;
        EXPECT_EQ(1017, correctRDwithoutRgain(nullptr, 64 * afeWidth, 64));
        EXPECT_EQ(joined({begin, {"rad image is null", "<correctRDwithoutRgain> terminates1017"}}), takeLog());
    }
}

TEST_F(CorrectRdWithoutRgain, afe_width_is_the_kits_or_32) {
    const Floats image = testImage(96, 5, 32, kContents[0], 7);
    Floats actual = image;
    for (int afeWidth : {std::numeric_limits<int>::min(), -32, 0, 1, 8, 97, kHighest}) {
        detector().afeWidth = afeWidth;
        EXPECT_EQ(1020, correctRDwithoutRgain(actual.data(), 96, 5)) << afeWidth;
        overwriteBadLineAroundAFEEdge(actual.data(), 96, 5, afeWidth);
        EXPECT_TRUE(sameBitsEverywhere(image, actual)) << afeWidth;
    }
    detector().faults.getAFEWidthByDetectorDescription = 7;
    Floats expected = image;
    plain::correctRDwithoutRgain(expected.data(), 96, 5, 32);
    EXPECT_EQ(0, correctRDwithoutRgain(actual.data(), 96, 5));
    EXPECT_TRUE(sameBitsEverywhere(expected, actual));
    EXPECT_FALSE(sameBitsEverywhere(image, actual));
}

TEST_F(BinningTools, sampled_medians_of_whole_blocks) {
    for (const auto& [width, height] : {std::pair{31, 95}, {32, 32}, {33, 64}, {64, 31}, {95, 65}, {32, 95}}) {
        for (const Content& content : kContents) {
            const Floats image = testImage(width, height, 16, content, static_cast<std::uint64_t>(width));
            Floats expected(7, kPoison);
            Floats actual(7, kPoison);
            plain::doBinningSample(expected.data(), image.data(), width, height);
            EXPECT_EQ(0, doBinningSample(actual.data(), image.data(), width, height));
            EXPECT_TRUE(sameBitsEverywhere(expected, actual))
                << width << " x " << height << ", content " << &content - kContents;
        }
    }
}

TEST_F(BinningTools, cut_keeps_the_inner_part) {
    Floats image;
    for (int i = 0; i < 7 * 6; ++i)
        image.push_back(static_cast<float>(i));
    const struct {
        int border, width, height, status;
        Floats expected;
    } cases[] = {{0, 7, 6, 0, image},
                 {1, 7, 6, 0, {8, 9, 10, 11, 12, 15, 16, 17, 18, 19, 22, 23, 24, 25, 26, 29, 30, 31, 32, 33}},
                 {2, 5, 5, 0, {12}},
                 {3, 7, 6, 0, {}},
                 {2, 4, 7, 0, {}},  // no column is left
                 {1 << 30, 7, 6, 0, {}},
                 {kHighest, 7, 6, 0, {}},
                 {-1, 7, 6, 1020, {}}};
    for (const auto& c : cases) {
        Floats out(50, kPoison);
        Floats expected = c.expected;
        expected.resize(50, kPoison);
        EXPECT_EQ(c.status, cutBinningImage(out.data(), image.data(), c.width, c.height, c.border)) << c.border;
        EXPECT_EQ(expected, out) << c.width << " x " << c.height << ", border " << c.border;
    }
}

TEST_F(BinningTools, differences_are_signed) {
    const WORD a[] = {3, 0, 65535, 65535, 9};
    const WORD b[] = {5, 65535, 0, 65535, 1};
    const Floats expected = {-2, -65535, 65535, 0, kPoison};
    Floats out(5, kPoison);
    subtractImage(out.data(), a, b, 4);
    subtractImage(out.data(), a, nullptr, 5);
    subtractImage(out.data(), nullptr, b, 5);
    subtractImage(nullptr, a, b, 5);
    for (const int count : {0, -1})
        subtractImage(out.data() + 4, a, b, count);
    EXPECT_TRUE(sameBitsEverywhere(expected, out));
}

TEST_F(AfeCorrection, null_pointers_and_impossible_sizes) {
    detector().afeWidth = 32;
    Floats image(96, -1.0f);
    Floats out(96, kPoison);
    float* const in = image.data();
    float* const to = out.data();
    Floats white(96, 65535.0f);
    for (const auto& [a, b] : {std::pair<float*, float*>{nullptr, in}, {to, nullptr}}) {
        const std::vector<int> statuses = {correctRDbyRgain(a, 96, 1, b, 2, 32),
                                           calcNeighbourAFERatio(a, 2, b, 96, 1, 32), calcRgain(a, b, 2, 96, 32),
                                           cutBinningImage(a, b, 12, 8, 1), doBinningSample(a, b, 96, 1)};
        EXPECT_EQ(std::vector<int>(5, 1057), statuses);
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
    for (const auto& [nAfe, afeWidth] : {std::pair{2, 0}, {2, -32}, {0, 96}, {-1, 97}, {1, 32}, {3, 32}, {-1, 32}}) {
        EXPECT_EQ(1020, calcNeighbourAFERatio(to, nAfe, in, 96, 1, afeWidth)) << nAfe << ", " << afeWidth;
        EXPECT_EQ(1020, calcRgain(to, in, nAfe, 96, afeWidth)) << nAfe << ", " << afeWidth;
        const bool anyGain = nAfe >= 1 && afeWidth == 32;
        EXPECT_EQ(anyGain ? 0 : 1020, correctRDbyRgain(white.data(), 96, 1, to, nAfe, afeWidth));
    }
    EXPECT_EQ(Floats(96, -1.0f), image);
    EXPECT_EQ(Floats(96, kPoison), out);
}

}  // namespace
