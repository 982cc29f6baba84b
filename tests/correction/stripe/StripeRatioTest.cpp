// Steps of the stripe corrections.

#include "Compare.h"
#include "DetectorFixture.h"
#include "StripeBands.h"
#include "levels/AtVectorLevel.h"
#include "reference/correction/PlainStripe.h"

#include "correction/stripe/HomogeneousColumns.h"
#include "correction/stripe/StripeRatio.h"

#include <QxUtils/Correction.h>

#include <algorithm>
#include <limits>
#include <set>

namespace {

using namespace qx;
using namespace qx::test;
using Lines = std::vector<std::string>;
using Ratios = std::vector<double>;
using RatioSpan = std::span<double, kBandRows>;
using ConstRatioSpan = std::span<const double, kBandRows>;

constexpr double kPoison = -4711.0;

class StripeSteps : public DetectorFixture {
protected:
    StripeSteps() { maxGrayValue = 65535; }

    // Returns the number of rows; `ratio` and the log are what the call left.
    int measure(const TestImage& band) {
        ratio.assign(kBandRows, kPoison);
        return calcStripeRatio({band.data(), band.width, kBandRows}, RatioSpan(ratio));
    }

    Ratios ratio;
};

using CountRowsToCompensate = StripeSteps;
using FindHomogeneousColumns = StripeSteps;
using CalcStripeRatio = StripeSteps;
using RemoveGenericStripe = StripeSteps;

const std::string kUpdated = "Ratio updated.";
const std::string kNotUpdated = "No valid columns found. Poor compensation performance is expected.";
const std::string kNoColumns = "Method 2 is unable to proceed since no valid columns could be found.";
const std::string kTooWide = "Method 1 is unable to proceed since the grayscale value at cTRIGGER_LINE is too low "
                             "(almost in the noise level), or the band is too wide (e.g., >15 rows).";

std::string methodOne(int columns, int rows) {
    return "Method 1 finds " + std::to_string(columns) + " homogeneous columns, and " + std::to_string(rows) +
           " rows to compensate";
}
std::string methodTwo(int rows) {
    return "Method 2 finds " + std::to_string(rows) + " rows to compensate";
}
const std::string kReEvaluated = "Re-evaluate the number of rows to compensate -- 1 rows.";

// A parabola from row 1 to row 25 in units of 1/1024: every row lies below the straight lines across it. The rows below
// continue the line from row 1 to row 25, and so does row 0: 23 rows fit without any rest. A steeper line below does
// not.
Ratios parabola(double row10Higher, double slopeBelow = 24) {
    Ratios ratio(kBandRows);
    for (int k = 1; k <= 25; ++k)
        ratio[static_cast<std::size_t>(k)] = 1.0 + (k - 1) * (k - 1) / 1024.0;
    ratio[0] = ratio[1] - 24 / 1024.0;
    for (std::size_t k = 26; k < kBandRows; ++k)
        ratio[k] = ratio[25] + 5 * slopeBelow / 1024.0;
    ratio[10] += row10Higher / 1024.0;
    return ratio;
}

Ratios withRow(Ratios ratio, std::size_t row, double value) {
    ratio[row] = value;
    return ratio;
}

TEST_F(CountRowsToCompensate, by_hand) {
    const Ratios flat(kBandRows, 1.0);
    const struct {
        Ratios ratio;
        int expected;
    } cases[] = {{flat, 1},  // all fit, the first one counts
                 {withRow(flat, 24, 1.0 + 1e-15), 0},
                 {withRow(withRow(flat, 24, 0.5), 23, 0.75), 2},
                 // Row 22 lies above the line from row 21, and one row is better than two.
                 {withRow(withRow(flat, 24, 0.5), 22, 1.5), 1},
                 {parabola(0), 23},
                 {parabola(0, 44), 1},
                 // On the line from row 9 to the trigger line, and above it: then row 10 is the best one before.
                 {parabola(15), 23},
                 {parabola(15.001), 14}};
    for (const auto& c : cases)
        EXPECT_EQ(c.expected, countRowsToCompensate(ConstRatioSpan(c.ratio))) << "case " << &c - cases;
}

std::vector<int> homogeneousColumns(const std::vector<double>& sampled) {
    std::vector<int> columns(sampled.size() / kBandRows + 1, -7);
    const int count = static_cast<int>(columns.size()) - 1;
    const int found = findHomogeneousColumns({sampled.data(), count, kBandRows}, columns);
    EXPECT_EQ(-7, columns.back());
    columns.resize(static_cast<std::size_t>(std::clamp(found, 0, count)));
    return columns;
}

// Columns of 65/64 and 1 in row 24; letters stand for another value in one row.
std::vector<double> sampledColumns(const std::string& kinds) {
    const struct {
        char kind;
        std::size_t row;
        double value;
    } odd[] = {{'b', 30, 66.0 / 64.0},
               {'e', 23, 1.0},           // the first minimum lies earlier
               {'l', 25, 1.0},           // the first minimum stays
               {'f', 30, 8.0},           // far from the others
               {'m', 34, 63.0 / 64.0}};  // another row is the darkest
    std::vector<double> sampled(kBandRows * kinds.size(), 65.0 / 64.0);
    std::fill_n(sampled.begin() + static_cast<std::ptrdiff_t>(24 * kinds.size()), kinds.size(), 1.0);
    for (std::size_t i = 0; i < sampled.size(); ++i)
        for (const auto& [kind, row, value] : odd)
            sampled[i] = kind == kinds[i % kinds.size()] && row == i / kinds.size() ? value : sampled[i];
    return sampled;
}

// The fullest bin of "aaaaaaaaaaf" begins with the resemblance of the plain columns, which does not count; twelve pairs
// of unlike columns outnumber nine of like ones in the last one.
TEST_F(FindHomogeneousColumns, by_hand) {
    const std::pair<const char*, std::vector<int>> cases[] = {{"a", {}},           {"aaabaa", {0, 1, 2, 3, 4, 5}},
                                                              {"aaaaaaaaaaf", {}}, {"aebmla", {0, 2, 4, 5}},
                                                              {"mmm", {}},         {"aaaff", {0, 1, 2}}};
    for (const auto& [kinds, expected] : cases)
        EXPECT_EQ(expected, homogeneousColumns(sampledColumns(kinds))) << kinds;
}

// Of 27 columns 23 are alike. A column of nothing makes the smallest logarithm 0, and another one makes the largest
// twice that of the 23: these lie at a border between bins or beside it, by the last bit or more, or the largest one is
// theirs. Two brighter columns, where there are any, tell which bin counts them, or lie beyond the border by less than
// a table of logarithms can tell.
TEST_F(FindHomogeneousColumns, borders_belong_to_both_bins) {
    constexpr double kNearly[] = {0.0, 2e-9, -2e-9, 0.0, 1e-7, -1e-7};
    std::set<std::size_t> sizes;
    for (int round = 0; round < 480; ++round) {
        const double alike = 1.01 + 0.0087 * (round / 4);
        const double square = 1.0 + 34 * alike * alike;
        const double brighter = round / 24 % 2 == 0 ? 1.0001 : 1.0 + 5e-8;
        std::vector<double> sampled(kBandRows * 27, alike);
        for (std::size_t row = 0; row < kBandRows; ++row) {
            sampled[row * 27 + 3] = 0.0;
            if (round % 2 != 0)
                sampled[row * 27 + 8] = sampled[row * 27 + 9] = brighter * alike;
        }
        std::fill_n(sampled.begin() + 24 * 27, 27, 1.0);
        if (round % 4 < 2)
            sampled[5] = std::sqrt(square * square - square + alike * alike) * (1.0 + kNearly[round / 4 % 6]);
        const std::vector<int> expected = plain::findHomogeneousColumns(sampled.data(), 27);
        EXPECT_EQ(expected, homogeneousColumns(sampled)) << "round " << round;
        sizes.insert(expected.size());
    }
    EXPECT_LT(3u, sizes.size());
}

// A stripe of one row: 4000 counts beside 3200.
const BandColumn kColumn = bandColumn(3200, 4000, 4000);

// One unusable column among usable ones is left out, wherever its bad pixel lies.
TEST_F(CalcStripeRatio, column_is_usable_when_all_its_pixels_are) {
    for (int row = 0; row < kBandRows; ++row) {
        TestImage band = bandOf({kColumn, bandColumn(1000, 4000, 4000), kColumn});
        band.at(row, 1) = row % 2 == 0 ? 499 : 52429;
        EXPECT_EQ(1, measure(band));
        EXPECT_EQ(1.25, ratio[0]) << row;
    }
}

// A signal below the pedestal counts as one above it.
TEST_F(CalcStripeRatio, pedestal_in_the_reference_row_counts_as_a_tiny_signal) {
    for (const int signal : {0, 1, -1}) {
        EXPECT_EQ(2, measure(bandOfTwoKinds(10, 10, bandColumn(signal, 3000, 3000), 3002)));
        EXPECT_EQ(Lines{methodOne(20, 2)}, takeLog());
        EXPECT_DOUBLE_EQ(3001 / (signal == 0 ? static_cast<double>(5e-05f) : 1.0), ratio[30]);
    }
}

TEST_F(CalcStripeRatio, trigger_line_up_to_eleven_tenths_refines_the_ratio) {
    BandColumn column = bandColumn(4000, 4400, 4400);
    EXPECT_EQ(1, measure(bandOfTwoKinds(10, 10, column, 4410)));
    EXPECT_EQ((Lines{methodOne(20, 2), kUpdated, kReEvaluated}), takeLog());
    EXPECT_EQ(1.1, ratio[25]);
    column[25] = 4401;
    EXPECT_EQ(2, measure(bandOfTwoKinds(10, 10, column, 4410)));
    EXPECT_EQ(Lines{methodOne(20, 2)}, takeLog());
}

// The darkest and the brightest pixel of every column at the limits, once for each method. The ceiling is a pixel's
// value: 16 bits of it count.
TEST_F(CalcStripeRatio, usable_columns_lie_between_the_limits) {
    constexpr std::uint32_t kMost = 0xFFFFFFFF;
    const struct {
        std::uint32_t maxGrayValue;
        int darkest, brightest, first, second;
    } cases[] = {{65535, 1000, 1079, 1, 1},   {65535, 999, 1078, 0, 1},    {65535, 500, 520, 0, 1},
                 {65535, 499, 520, 0, 0},     {10001, 7500, 8001, 0, 0},   {10002, 7500, 8001, 1, 1},
                 {0, 7500, 8000, 0, 0},       {65535, 49000, 52428, 1, 1}, {65535, 49000, 52429, 0, 0},
                 {81920, 61000, 65000, 0, 0}, {91920, 7500, 8000, 1, 1},   {91920, 7500, 8001, 0, 0},
                 {kMost, 7500, 8000, 0, 0}};
    for (const auto& c : cases) {
        const std::string what = "case " + std::to_string(&c - cases);
        maxGrayValue = c.maxGrayValue;
        const int others = c.brightest - 208;
        const BandColumn column = bandColumn(c.darkest - 208, others, others);
        EXPECT_EQ(2 - c.first, measure(bandOfTwoKinds(10, 10, column, others - 2))) << what;
        EXPECT_EQ(c.first == 1 ? (Lines{methodOne(20, 2), kUpdated, kReEvaluated})
                               : (Lines{methodOne(20, 2), kNotUpdated}),
                  takeLog())
            << what;
        EXPECT_EQ(c.second == 1 ? 1 : kNoStripeRatio, measure(bandOf({column, column}))) << what;
        EXPECT_EQ(Lines{c.second == 1 ? methodTwo(1) : kNoColumns}, takeLog()) << what;
    }
}

// The last two steps of the smoothed ratio towards row 24 have to be steeper than a fortieth of the jump of 0.25, which
// is 937.5 of 150000: the fall from row 21 to row 24 makes the one, those from the rows 22 and 23 together the other.
TEST_F(CalcStripeRatio, first_method_refuses_stripes_that_are_too_wide) {
    const struct {
        int row21, row22, row23, rows;
    } cases[] = {{938, 469, 469, 2},
                 {937, 469, 469, kNoStripeRatio},
                 {938, 468, 469, kNoStripeRatio},
                 {25, 25, 25, kNoStripeRatio}};
    for (const auto& c : cases) {
        BandColumn column = bandColumn(50000, 62500, 62500);
        std::fill_n(column.begin(), 24, 50000 + c.row23);
        column[21] = 50000 + c.row21;
        column[22] = 50000 + c.row22;
        EXPECT_EQ(c.rows, measure(bandOfTwoKinds(10, 10, column, 62700))) << "case " << &c - cases;
        EXPECT_EQ(Lines{c.rows == 2 ? methodOne(20, 2) : kTooWide}, takeLog());
    }
}

// The jump of 0.25 makes smoothed steps below its hundredth part count: that to row 21 is -376 or -374 of 150000.
TEST_F(CalcStripeRatio, first_method_counts_steep_steps_up_to_the_first_flat_one) {
    for (const int rows : {3, 2}) {
        BandColumn column = bandColumn(50000, 62500, 62500);
        std::fill_n(column.begin(), 23, 52500);
        column[20] = rows == 3 ? 52376 : 52374;
        column[23] = 52000;
        EXPECT_EQ(rows, measure(bandOfTwoKinds(10, 10, column, 62700)));
        EXPECT_EQ(Lines{methodOne(20, rows)}, takeLog());
    }
}

// Widths around the limits of homogeneous columns and of sampling. What is logged tells the course.
TEST_F(CalcStripeRatio, agrees_with_the_plain_method) {
    SplitMix64 random(2);
    std::set<std::string> courses;
    for (const int width : {1, 2, 19, 20, 21, 60, 500, 501, 1001, 1600}) {
        for (const BandContent content : kBandContents) {
            const bool isQuick = content != BandContent::Anything && content != BandContent::NearPedestal;
            const int rounds = width < 100 ? 4 : isQuick ? 1 : 0;
            for (int round = 0; round < rounds; ++round) {
                SCOPED_TRACE(testing::Message()
                             << width << " columns, content " << static_cast<int>(content) << ", round " << round);
                maxGrayValue = random.below(2) == 0 ? 65535 : 16383;
                const TestImage band = randomBand(width, content, static_cast<int>(maxGrayValue), random);
                Ratios expected(kBandRows, kPoison);
                const int rows = plain::calcStripeRatio(expected.data(), band.data(), width, maxGrayValue);
                EXPECT_EQ(rows, measure(band));
                EXPECT_TRUE(rows < 0 || sameBitsEverywhere(expected, ratio));
                for (const std::string& line : takeLog())
                    courses.insert(line.substr(0, 14));
            }
        }
    }
    EXPECT_EQ(7u, courses.size()) << testing::PrintToString(courses);
}

TEST_F(RemoveGenericStripe, more_than_24_rows_become_24_with_a_warning) {
    Lines gains;
    for (int i = 0; i < 24; ++i)
        gains.push_back("gain[" + std::to_string(i) + "] = 1.000000");
    TestImage band = constantImage(1, kBandHeight, 7);
    for (const int rows : {24, 25, std::numeric_limits<int>::max()}) {
        Lines lines = {"<removeGenericStripe> begins"};
        if (rows > 24)
            lines.push_back("Warning: reduce the number of rows to correct from " + std::to_string(rows) +
                            " to 24 to pass the range check");
        lines.insert(lines.end(), gains.begin(), gains.end());
        lines.push_back("<removeGenericStripe> terminates");
        removeGenericStripe({band.pixels.data(), 1, kBandHeight}, {band.data(), 1, kBandHeight},
                            ConstRatioSpan(Ratios(kBandRows, 1.0)), rows);
        EXPECT_EQ(lines, takeLog());
    }
}

TEST_F(RemoveGenericStripe, smallest_gray_value_is_not_black) {
    Ratios values(kBandRows, 1.25);
    values[24] = 1.0;
    for (const std::uint32_t ceiling : {65535u, 65536u}) {
        maxGrayValue = ceiling;
        TestImage band = constantImage(1, kBandHeight, 42);  // (42 - 208) * 1.25 + 208 + 0.5 is 1
        removeGenericStripe({band.pixels.data(), 1, kBandHeight}, {band.data(), 1, kBandHeight}, ConstRatioSpan(values),
                            1);
        EXPECT_EQ(1, band.at(24, 0));
    }
}

TEST_F(RemoveGenericStripe, agrees_with_the_plain_method) {
    setLogLevel(4);
    SplitMix64 random(3);
    constexpr double kOddFactors[] = {1e4, 1e-7, 0.0};
    for (const std::uint32_t ceiling : {65535u, 16383u, 1u, 0u, 65536u, 70000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        maxGrayValue = ceiling;
        for (const int width : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 100}) {
            for (const int rows : {0, 1, 2, 9, 23, 24, 25, std::numeric_limits<int>::max()}) {
                Ratios values = randomProfile(random);
                for (double& value : values)
                    value *= 0.5 + random.uniform();
                values[static_cast<std::size_t>(random.below(kBandRows))] *= kOddFactors[random.below(3)];
                const int bright = random.below(2);
                const TestImage source =
                    randomImage(width, kBandRows, bright == 0 ? 150 : 0, bright == 0 ? 400 : 65535, random.next());
                TestImage expected = constantImage(width, kBandRows, 4711);
                TestImage actual = expected;
                plain::removeGenericStripe(expected.pixels.data(), source.data(), width, values.data(), rows, ceiling);
                EXPECT_EQ(0, removeGenericStripe({actual.pixels.data(), width, kBandRows},
                                                 {source.data(), width, kBandRows}, ConstRatioSpan(values), rows));
                EXPECT_TRUE(sameBitsEverywhere(expected.pixels, actual.pixels))
                    << ceiling << ", " << width << " columns, " << rows << " rows";
            }
        }
    }
}

using StripeAtVectorLevel = AtVectorLevel;
INSTANTIATE_TEST_SUITE_P(Levels, StripeAtVectorLevel, kVectorLevels, levelName);

TEST_P(StripeAtVectorLevel, homogeneous_columns_are_those_of_the_plain_method) {
    SplitMix64 random(6);
    for (const int width : {1, 2, 3, 7, 8, 9, 15, 16, 17, 33, 64}) {
        for (const BandContent content : kBandContents) {
            const TestImage band = randomBand(width, content, 65535, random);
            const std::vector<double> normalised = plain::normalisedBand(band.data(), width);
            EXPECT_EQ(plain::findHomogeneousColumns(normalised.data(), width), homogeneousColumns(normalised))
                << width << " columns, content " << static_cast<int>(content);
        }
    }
}

TEST_P(StripeAtVectorLevel, line_fit_is_that_of_the_plain_method) {
    SplitMix64 random(5);
    for (const int triggerLine : {5, 14, 15, 16, 33}) {
        const int width = 1002 + random.below(20);
        const int height = triggerLine + 40 + triggerLine % 2;
        for (TestImage actual :
             {randomImage(width, height, 0, 65535, random.next()),
              randomImage(width, height, 65000, 65535, random.next()), randomImage(width, height, 0, 30, random.next()),
              flatImage(width, height, 9000, 200, random.next())}) {
            TestImage expected = actual;
            EXPECT_EQ(0, plain::correctAedStripe(expected.pixels.data(), width, height, triggerLine));
            EXPECT_EQ(0, correctAedStripe(actual.pixels.data(), width, height, 0, 0, triggerLine));
            EXPECT_TRUE(sameBitsEverywhere(expected.pixels, actual.pixels)) << width << " x " << height;
        }
    }
}

}  // namespace
