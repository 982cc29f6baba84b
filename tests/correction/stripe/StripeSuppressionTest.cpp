#include "Compare.h"
#include "DetectorFixture.h"
#include "StripeBands.h"
#include "reference/correction/PlainStripe.h"

#include <QxUtils/Correction.h>

#include <limits>

namespace {

namespace plain = qx::plain;
using qx::test::BandColumn;
using qx::test::bandColumn;
using qx::test::BandContent;
using qx::test::bandOfTwoKinds;
using qx::test::constantImage;
using qx::test::randomImage;
using qx::test::sameBitsEverywhere;
using qx::test::SplitMix64;
using qx::test::TestImage;
using Lines = std::vector<std::string>;

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

const std::string kOutside = "unable to proceed since the band lays outside the detected window frame, or it is "
                             "too close to the upper or lower side of the detected window.";
const Lines kQuietExit = {"<correctAedStripe> begins", kOutside, "<correctAedStripe> terminates"};

// The rows above a band, of any value, and the band: a reference image that ends where it has to be given no longer.
TestImage withRowsAbove(const TestImage& band, int rows) {
    TestImage image = randomImage(band.width, rows, 0, 65535, 5);
    image.pixels.insert(image.pixels.end(), band.pixels.begin(), band.pixels.end());
    image.height += band.height;
    return image;
}

class StripeCorrection : public qx::test::DetectorFixture {
protected:
    StripeCorrection() { detector().config.maxGrayValue = 65535; }

    static int correct(TestImage& image, const TestImage& reference, int triggerLine) {
        return correctAedStripeClinic(image.pixels.data(), reference.data(), image.width, reference.width, image.height,
                                      triggerLine);
    }
    static int fitLine(TestImage& image, int triggerLine) {
        return correctAedStripe(image.pixels.data(), image.width, image.height, -3, 999, triggerLine);
    }
};

using CorrectAedStripeClinic = StripeCorrection;
using CorrectAedStripe = StripeCorrection;

// Signals relative to 4000 that a stripe of five rows leaves, in twentieths.
BandColumn stripeOfFiveRows(int signal) {
    BandColumn column = bandColumn(signal, signal, signal);
    for (std::size_t i = 0; i < 5; ++i)
        column[20 + i] = signal / 20 * (19 - static_cast<int>(i));
    return column;
}

TEST_F(CorrectAedStripeClinic, stripe_of_known_ratios_goes_and_the_course_is_logged) {
    const std::string rowZero = "gain[0] = 1.000000";
    const Lines methodOne = {"gain[1] = 1.052632", "gain[2] = 1.111111", "gain[3] = 1.176471", "gain[4] = 1.250000",
                             "gain[5] = 1.333333"};
    const struct {
        int plainColumns, oddColumns;  // of the reference
        const char* found;
    } cases[] = {{1, 0, "Method 2 finds 5 rows to compensate"},
                 {10, 9, "Method 2 finds 5 rows to compensate"},
                 {10, 10, "Method 1 finds 20 homogeneous columns, and 6 rows to compensate"},
                 {32, 32, "Method 1 finds 64 homogeneous columns, and 6 rows to compensate"},
                 {600, 600, "Method 1 finds 400 homogeneous columns, and 6 rows to compensate"}};
    for (const int triggerLine : {26, 40}) {
        for (const auto& c : cases) {
            const BandColumn column = stripeOfFiveRows(4000);
            const TestImage reference =
                withRowsAbove(bandOfTwoKinds(c.plainColumns, c.oddColumns, column, 4010), triggerLine - 25);
            TestImage image = randomImage(64, triggerLine + 10, 0, 65535, 9);
            TestImage expected = image;
            for (int i = 0; i < 64 * 7; ++i) {
                const int row = triggerLine - 7 + i / 64;
                const int col = i % 64;
                const int signal = 300 * (col + 1);
                expected.at(row, col) = static_cast<WORD>(208 + signal);
                image.at(row, col) =
                    static_cast<WORD>(208 + stripeOfFiveRows(signal)[static_cast<std::size_t>(row - triggerLine + 25)]);
            }
            EXPECT_EQ(0, correct(image, reference, triggerLine)) << c.found;
            EXPECT_EQ(expected.pixels, image.pixels) << c.found;
            Lines lines = {"<correctAedStripe> begins", c.found, "<removeGenericStripe> begins"};
            const bool first = c.oddColumns >= 10;
            if (first)
                lines.push_back(rowZero);
            for (std::string line : methodOne) {
                line[5] = static_cast<char>(first ? line[5] : line[5] - 1);
                lines.push_back(line);
            }
            lines.push_back("<removeGenericStripe> terminates");
            EXPECT_EQ(lines, takeLog());
        }
    }
}

// Whether the band of either correction fits.
TEST_F(StripeCorrection, band_that_does_not_fit_is_left_alone) {
    const struct {
        int triggerLine, height;
        bool clinic, line;
    } cases[] = {{26, 36, true, false},  {25, 60, false, false},      {26, 35, false, false},
                 {50, 60, true, false},  {51, 60, false, false},      {5, 45, false, true},
                 {4, 60, false, false},  {5, 44, false, false},       {25, 65, false, true},
                 {20, 60, false, true},  {21, 60, false, false},      {0, 60, false, false},
                 {-1, 60, false, false}, {30, 1, false, false},       {1, 1, false, false},
                 {59, 60, false, false}, {kLowest, 60, false, false}, {kHighest, 60, false, false}};
    const TestImage band = bandOfTwoKinds(10, 10, stripeOfFiveRows(4000), 4010);
    for (const auto& c : cases) {
        const std::string what = std::to_string(c.triggerLine) + " of " + std::to_string(c.height);
        const TestImage before = randomImage(1002, c.height, 1000, 2000, 1);
        TestImage image = before;
        EXPECT_EQ(0, correct(image, withRowsAbove(band, c.clinic ? c.triggerLine - 25 : 0), c.triggerLine)) << what;
        EXPECT_EQ(c.clinic, before.pixels != image.pixels) << what;
        EXPECT_EQ(!c.clinic, takeLog() == kQuietExit) << what;
        image = before;
        EXPECT_EQ(0, fitLine(image, c.triggerLine)) << what;
        EXPECT_EQ(c.line, before.pixels != image.pixels) << what;
        EXPECT_EQ(!c.line, takeLog() == (Lines{"New AED Stripe Correction Method", kOutside})) << what;
    }
}

TEST_F(CorrectAedStripeClinic, reference_without_a_stripe_to_measure_is_an_error) {
    const std::string second = "Method 2 is unable to proceed since no valid columns could be found.";
    const std::string first = "Method 1 is unable to proceed since the grayscale value at cTRIGGER_LINE is too low "
                              "(almost in the noise level), or the band is too wide (e.g., >15 rows).";
    BandColumn wide = bandColumn(4000, 5000, 5000);
    for (std::size_t row = 0; row < 24; ++row)
        wide[row] = 4024 - static_cast<int>(row);
    const struct {
        TestImage band;
        std::string reason;
    } cases[] = {{constantImage(30, 35, 208), second},
                 {constantImage(30, 35, 0), second},
                 {constantImage(30, 35, 65535), second},
                 {bandOfTwoKinds(15, 15, wide, 5010), first}};
    for (const auto& c : cases) {
        TestImage image = randomImage(40, 60, 0, 65535, 2);
        const std::vector<WORD> before = image.pixels;
        EXPECT_EQ(-1, correct(image, withRowsAbove(c.band, 5), 30));
        EXPECT_EQ(before, image.pixels);
        EXPECT_EQ((Lines{"<correctAedStripe> begins", c.reason,
                         "Utils  | E | <calcStripeRatio> terminates. Fail to find a band",
                         "Utils  | E | Error occur in StripeSuppression,line 602"}),
                  takeLog());
    }
}

// Every call asks for the largest gray value.
TEST_F(CorrectAedStripeClinic, corrected_pixels_end_at_the_largest_gray_value) {
    const TestImage reference = withRowsAbove(bandOfTwoKinds(10, 10, stripeOfFiveRows(4000), 4010), 1);
    for (const int largest : {65535, 5100, 5000, 16383}) {
        detector().config.maxGrayValue = static_cast<std::uint32_t>(largest);
        TestImage image = constantImage(3, 40, 208 + 3750);
        EXPECT_EQ(0, correct(image, reference, 26));
        EXPECT_EQ(std::min(largest, 208 + 5000), image.at(25, 1));
        EXPECT_EQ(208 + 3750, image.at(26, 1));
    }
}

TEST_F(CorrectAedStripeClinic, image_may_be_its_own_reference) {
    TestImage image = withRowsAbove(bandOfTwoKinds(5, 0, stripeOfFiveRows(4000), 0), 3);
    TestImage expected = image;
    expected.fill(3 + 20, 0, 5, 5, 208 + 4000);
    EXPECT_EQ(0, correct(image, image, 28));
    EXPECT_EQ(expected.pixels, image.pixels);
}

TEST_F(StripeCorrection, impossible_arguments_are_refused) {
    TestImage image = randomImage(1002, 50, 0, 65535, 6);
    const std::vector<WORD> before = image.pixels;
    WORD* const pixels = image.pixels.data();
    EXPECT_EQ(1057, correctAedStripeClinic(nullptr, pixels, 64, 64, 50, 30));
    EXPECT_EQ(1057, correctAedStripeClinic(pixels, nullptr, 64, 64, 50, 30));
    const int sizes[][2] = {{0, 50},      {64, 0},        {-64, 50},      {64, -50},           {-64, -50},
                            {kLowest, 1}, {65536, 32768}, {65536, 65536}, {kHighest, kHighest}};
    for (const auto& [width, height] : sizes)
        EXPECT_EQ(1020, correctAedStripeClinic(pixels, pixels, width, 64, height, 30)) << width << " x " << height;
    for (const int width : {0, -1, kLowest})
        EXPECT_EQ(1020, correctAedStripeClinic(pixels, pixels, 64, width, 50, 30)) << width;
    EXPECT_EQ(1035, correctAedStripe(nullptr, 1002, 50, 0, 0, 8));
    EXPECT_EQ(Lines{}, takeLog());

    const std::string begin = "New AED Stripe Correction Method";
    const auto expectLineFit = [&](int status, int width, int height, int triggerLine, const Lines& log) {
        EXPECT_EQ(status, correctAedStripe(pixels, width, height, 0, 0, triggerLine)) << width << " x " << height;
        EXPECT_EQ(log, takeLog());
    };
    for (const auto& [width, height] : sizes)
        expectLineFit(1020, width, height, 8, {begin});
    // The trigger line goes before the segment.
    for (const int width : {1, 2, 301, 1000, 1001}) {
        expectLineFit(1020, width, 50, 8, {begin});
        expectLineFit(0, width, 50, 4, {begin, kOutside});
    }
    EXPECT_EQ(before, image.pixels);
}

// Without a signal below the trigger line every row loses its median, and the rows above the band that of its first.
TEST_F(CorrectAedStripe, by_hand) {
    for (const int triggerLine : {5, 14, 15, 16, 18}) {
        const int bandRows = std::min(triggerLine, 15);
        const int top = triggerLine - bandRows;
        TestImage image = constantImage(1003, triggerLine + 40, 0);
        TestImage expected = image;
        Lines lines = {"New AED Stripe Correction Method", "s = 0.000000, i = 0.000000"};
        for (int row = 0; row <= triggerLine; ++row) {
            const int level = 1000 + 10 * row;
            const int offset = row == triggerLine ? 0 : 1000 + 10 * std::max(row, top);
            for (int col = 0; col < 1003; ++col)
                image.at(row, col) = static_cast<WORD>(level);
            // The segment lies in columns 0 to 300.
            image.at(row, 400) = static_cast<WORD>(offset - 1);
            image.at(row, 401) = 65535;
            for (int col = 0; col < 1003; ++col)
                expected.at(row, col) = static_cast<WORD>(std::max(0, image.at(row, col) - offset));
            if (row >= top && row < triggerLine)
                lines.push_back("Correcting AED stripe,current row = " + std::to_string(row + 6) + ", median = " +
                                std::to_string(level) + ", delt = -" + std::to_string(level) + ".000000");
        }
        EXPECT_EQ(0, fitLine(image, triggerLine));
        EXPECT_EQ(expected.pixels, image.pixels) << triggerLine;
        EXPECT_EQ(lines, takeLog());
    }
}

// The medians of the band rows go to the line, which is 5000 at its last row, and the rows above it move as the first.
TEST_F(CorrectAedStripe, medians_follow_the_line_below_the_trigger_line) {
    const struct {
        double slope;
        const char *line, *offset;
    } cases[] = {{0.0, "s = 0.000002, i = 5000.000000", "500.000000"},
                 {12.0, "s = 11.999962, i = 5000.000977", "332.001465"},
                 {-29.6, "s = -29.598488, i = 4999.568359", "913.947266"}};
    for (const auto& c : cases) {
        TestImage image = constantImage(1200, 66, 0);
        for (int row = 0; row < 66; ++row) {
            const double level = row > 25 ? 5000 + c.slope * (row - 25) : 4000 + 50 * row;
            for (int col = 0; col < 1200; ++col)
                image.at(row, col) = static_cast<WORD>(level + col % 11 - 5);
        }
        const TestImage before = image;
        EXPECT_EQ(0, fitLine(image, 25));
        const Lines log = takeLog();
        EXPECT_EQ(c.line, log[1]);
        EXPECT_EQ(std::string("Correcting AED stripe,current row = 16, median = 4500, delt = ") + c.offset, log[2]);
        // Column 104 lies in the segment and has the median.
        for (int row = 10; row < 25; ++row)
            EXPECT_NEAR(5000 + c.slope * (row - 24), image.at(row, 104), 2) << row;
        const int shift = image.at(10, 0) - before.pixels[10 * 1200];
        for (int row = 0; row < 10; ++row)
            EXPECT_NEAR(shift, image.at(row, 77) - before.pixels[static_cast<std::size_t>(row) * 1200 + 77], 1) << row;
        EXPECT_TRUE(
            std::equal(image.pixels.begin() + 25 * 1200, image.pixels.end(), before.pixels.begin() + 25 * 1200));
    }
}

// 150 of 301 pixels decide, the outermost among them. With a zero level below, a row ends up lower by its median.
TEST_F(CorrectAedStripe, level_is_the_150th_smallest_pixel_of_the_segment) {
    for (const int width : {1002, 1003, 1300, 1301}) {
        const int first = width / 2 - 501;
        for (const int low : {149, 150, 151}) {
            TestImage image = constantImage(width, 50, 0);
            for (int col = 0; col < width; ++col)
                image.at(9, col) = col >= first && col < first + low - 1 ? 100 : 200;
            image.at(9, first + 300) = 100;
            const int level = low < 150 ? 200 : 100;
            EXPECT_EQ(0, fitLine(image, 10));
            EXPECT_EQ(200 - level, image.at(9, width - 1)) << width << ", " << low;
        }
    }
}

}  // namespace
