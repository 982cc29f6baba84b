#include "Compare.h"
#include "DetectorFixture.h"
#include "reference/quality/PlainSnr.h"

#include <QxUtils/Quality.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace {

namespace plain = qx::plain;
using qx::test::flatImage;
using qx::test::printedBy;
using qx::test::sameBitsOrNanEverywhere;
using qx::test::TestImage;
using Lines = std::vector<std::string>;
using Series = std::vector<float>;

constexpr float kPoison = -4711.0f;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

using CalcGlobalSnr = qx::test::DetectorFixture;

// The measured series with two entries behind it that have to stay.
void expectPlainSeries(const TestImage& image, const std::string& what) {
    Series expected = plain::snrSeries(image.data(), image.width, image.height);
    expected.insert(expected.end(), {kPoison, kPoison});
    Series actual(expected.size(), kPoison);
    const std::vector<WORD> before = image.pixels;
    EXPECT_EQ(0, calcGlobalSNR(image.data(), image.width, image.height, actual));
    EXPECT_TRUE(sameBitsOrNanEverywhere(expected, actual)) << what << ", " << image.width << " x " << image.height;
    EXPECT_EQ(before, image.pixels);
}

TEST_F(CalcGlobalSnr, agrees_with_the_plain_method) {
    const struct {
        int width, height;
    } sizes[] = {{128, 128}, {129, 128}, {128, 201}, {267, 268}, {268, 269}, {301, 267}, {523, 700}, {525, 524}};
    for (const auto& [w, h] : sizes) {
        const TestImage images[] = {flatImage(w, h, 5000, 70, 1),
                                    flatImage(w, h, 52000.5, 195, 2),
                                    flatImage(w, h, 208, 9, 3),
                                    qx::test::randomImage(w, h, 0, 65535, 4),
                                    qx::test::randomImage(w, h, 1000, 1003, 5),
                                    qx::test::twoValuedImage(w, h, 0, 65535, 6),
                                    qx::test::twoValuedImage(w, h, 300, 301, 7),
                                    qx::test::saturatedImage(w, h, 8)};
        for (const TestImage& image : images)
            expectPlainSeries(image, "content " + std::to_string(&image - images));
    }
}

// One pixel in 32 lies distance above the level and one in 32 below it: the deviation is a quarter of the distance.
TestImage imageWithQuarterDeviation(int level, int distance) {
    TestImage image = qx::test::constantImage(128, 128, static_cast<WORD>(level));
    for (int row = 0; row < 128; ++row) {
        for (int col = 0; col < 128; col += 32) {
            image.at(row, col) = static_cast<WORD>(level + distance);
            image.at(row, col + 16) = static_cast<WORD>(level - distance);
        }
    }
    return image;
}

TEST_F(CalcGlobalSnr, values_exactly_four_deviations_away_are_replaced) {
    Series snr(2, kPoison);
    EXPECT_EQ(0, calcGlobalSNR(imageWithQuarterDeviation(50208, 796).data(), 128, 128, snr));
    EXPECT_EQ((Series{kInfinity, kInfinity}), snr);
}

// A pair of pixels in 4096 makes four deviations 796.001: 50000 + 796.001 is 50796 in single precision.
TEST_F(CalcGlobalSnr, limits_are_rounded_to_single_precision) {
    TestImage image = imageWithQuarterDeviation(50208, 796);
    for (int row : {2, 64, 120, 124}) {
        image.at(row, 71) += 14;
        image.at(row, 72) -= 14;
    }
    Series snr(2, kPoison);
    EXPECT_EQ(0, calcGlobalSNR(image.data(), 128, 128, snr));
    const float expected = 50000.0f / static_cast<float>(std::sqrt(2 * 14 * 14 / 4096.0));
    EXPECT_EQ((Series{expected, expected}), snr);
    expectPlainSeries(image, "rounded limits");
}

TEST_F(CalcGlobalSnr, images_without_noise) {
    const struct {
        WORD value;
        float expected;
    } cases[] = {{1208, kInfinity}, {65535, kInfinity}, {0, -kInfinity}};
    for (const auto& c : cases) {
        Series snr(2, kPoison);
        EXPECT_EQ(0, calcGlobalSNR(qx::test::constantImage(128, 128, c.value).data(), 128, 128, snr));
        EXPECT_EQ((Series{c.expected, c.expected}), snr) << c.value;
    }
    Series snr(2, kPoison);
    EXPECT_EQ(0, calcGlobalSNR(qx::test::constantImage(128, 128, 208).data(), 128, 128, snr));
    EXPECT_TRUE(std::isnan(snr[0]) && std::isnan(snr[1]));
}

TEST_F(CalcGlobalSnr, refusals_leave_the_series_alone) {
    const TestImage image = flatImage(300, 300, 5000, 70, 1);
    Series snr(8, kPoison);
    EXPECT_EQ(1017, calcGlobalSNR(nullptr, 300, 300, snr));
    EXPECT_TRUE(logLines().empty());
    for (const auto& [w, h] : {std::pair{127, 300}, {300, 127}, {0, 0}, {-300, -300}, {65536, 65536}})
        EXPECT_EQ(1020, calcGlobalSNR(image.data(), w, h, snr)) << w << " x " << h;
    EXPECT_EQ(Series(8, kPoison), snr);
    Series tooShort(2, kPoison);
    EXPECT_EQ(1020, calcGlobalSNR(image.data(), 300, 300, tooShort));
    EXPECT_EQ(Series(2, kPoison), tooShort);
    Series none;
    EXPECT_EQ(1020, calcGlobalSNR(image.data(), 300, 300, none));
    EXPECT_EQ(1017, calcGlobalSNR(nullptr, 0, 0, none));
}

TEST_F(CalcGlobalSnr, course_is_logged) {
    Series snr(3);
    EXPECT_EQ(0, calcGlobalSNR(flatImage(300, 300, 5000, 70, 1).data(), 300, 300, snr));
    EXPECT_EQ((Lines{"Calib  | I | <SNRcalc> begins", "Calib  | I | <SNRcalc> terminates0"}), logLines());
}

// An image with five squares, its measured series, and factory series that it just reaches or just misses.
class SnrVerdict : public qx::test::DetectorFixture {
protected:
    static constexpr int kSide = 780;

    // Measured once: the verdicts only differ in the factory series.
    static const TestImage& image() {
        static const TestImage kImage = flatImage(kSide, kSide, 30000, 150, 11);
        return kImage;
    }
    static const Series& measured() {
        static const Series kMeasured = plain::snrSeries(image().data(), kSide, kSide);
        return kMeasured;
    }
    // The largest factory value whose expectation the measured value reaches, to the last bit.
    static float justReached(std::size_t k) {
        static constexpr float kFactors[] = {0.9f, 0.86f, 0.84f, 0.82f, 0.8f};
        const float factor = kFactors[k];
        float value = measured()[k] / factor * 0.9999f;
        while (std::nextafter(value, kInfinity) * factor <= measured()[k])
            value = std::nextafter(value, kInfinity);
        return value;
    }
    // A factory series that the image misses at the given number of squares, by one unit in the last place each.
    static Series missedAt(int count) {
        Series factory = {measured()[0]};
        for (std::size_t k = 1; k < measured().size(); ++k) {
            const bool missed = static_cast<int>(k) <= count;
            factory.push_back(missed ? std::nextafter(justReached(k), kInfinity) : justReached(k));
        }
        return factory;
    }
    static int check(const Series& factory) {
        int code = -1;
        printedBy([&] { code = checkGlobalSNR(image().data(), kSide, kSide, factory); });
        return code;
    }
    // The grade; the other fields have to stay.
    static int grade(const WORD* pixels, int side, const Series& factory) {
        SurfaceFitResult result{1.5f, 2, 3, 4.5f, 5.5f, 6.5f, 7.5f, -1};
        EXPECT_EQ(0, evaluateSNRResult(pixels, side, side, factory, result));
        EXPECT_EQ(1.5f, result.asymDegree);
        EXPECT_EQ(2, result.x0);
        EXPECT_EQ(3, result.y0);
        EXPECT_EQ((Series{4.5f, 5.5f, 6.5f, 7.5f}), (Series{result.a, result.b, result.c, result.d}));
        return result.evaluation;
    }
    static int grade(const Series& factory) { return grade(image().data(), kSide, factory); }
    static Series times(const Series& series, float factor) {
        Series scaled = series;
        for (float& value : scaled)
            value *= factor;
        return scaled;
    }
};

using CheckGlobalSnr = SnrVerdict;
using EvaluateSnrResult = SnrVerdict;

TEST_F(SnrVerdict, two_squares_below_expectation_pass_and_three_do_not) {
    ASSERT_EQ(5u, measured().size());
    for (int missed = 0; missed <= 4; ++missed) {
        for (const float factor : {1.0f, 4.0f}) {
            const Series factory = times(missedAt(missed), factor);
            EXPECT_EQ(missed < 3 ? 0 : 1088, check(factory)) << missed << " missed";
            EXPECT_EQ(missed < 3 ? 1091 : 1092, grade(factory)) << missed << " missed";
        }
    }
}

TEST_F(CheckGlobalSnr, advice_is_printed_whatever_the_debug_flag) {
    const auto run = [&](int missed) {
        return printedBy([&] { checkGlobalSNR(image().data(), kSide, kSide, missedAt(missed)); });
    };
    EXPECT_EQ("--Warning:The image SNR of 1key calibration is low! __Please check: \n"
              "1.if something on the detector; \n2.The shutter shadow; \n3.The uniformity of exposure. \n",
              run(3));
    EXPECT_EQ("", run(2));
}

TEST_F(CheckGlobalSnr, course_is_logged_and_a_null_image_passes) {
    const auto course = [](Lines inner) {
        inner.insert(inner.begin(), {"Calib  | I | <checkGlobalSNR> begins", "<SNRcheck> begins"});
        return inner;
    };
    const std::string begins = "Calib  | I | <SNRcalc> begins", ends = "Calib  | I | <SNRcalc> terminates0";
    const std::string passed = "Calib  | I | <checkGlobalSNR> terminates 0";
    check(missedAt(0));
    EXPECT_EQ(course({begins, ends, "<SNRcheck> terminates0", passed}), takeLog());
    check(missedAt(3));
    EXPECT_EQ(course({begins, ends, "<SNRcheck> terminates", "Calib  | I | <checkGlobalSNR> terminates 1088"}),
              takeLog());
    for (const Series& factory : {missedAt(4), Series(5, 0.0f)}) {
        EXPECT_EQ(0, checkGlobalSNR(nullptr, kSide, kSide, factory));
        EXPECT_EQ(course({"<SNRcheck> terminates0", passed}), takeLog());
    }
    EXPECT_EQ(0, checkGlobalSNR(nullptr, 0, 0, {1, 1}));
}

TEST_F(CheckGlobalSnr, refusals) {
    EXPECT_EQ(1020, checkGlobalSNR(image().data(), kSide, 127, missedAt(0)));
    EXPECT_EQ(1020, checkGlobalSNR(image().data(), kSide, kSide, Series(4, 1.0f)));
    EXPECT_EQ(1020, checkGlobalSNR(image().data(), kSide, kSide, {}));
    EXPECT_EQ(1020, checkGlobalSNR(nullptr, kSide, kSide, {1, 1}));
    EXPECT_EQ(1020, checkGlobalSNR(nullptr, -500, std::numeric_limits<int>::min(), {1, 1, 1}));
}

TEST_F(CheckGlobalSnr, zero_and_endless_series_follow_the_arithmetic) {
    Series factory = missedAt(0);
    factory[0] = 0;  // every expectation is infinite
    EXPECT_EQ(1088, check(factory));
    EXPECT_EQ(1092, grade(factory));
    const TestImage noiseless = qx::test::constantImage(300, 300, 1208);  // differences are not numbers
    EXPECT_EQ(0, checkGlobalSNR(noiseless.data(), 300, 300, {1, 1, 1}));
    EXPECT_EQ(1090, grade(noiseless.data(), 300, {1, 1, 1}));
}

TEST_F(EvaluateSnrResult, excellent_when_the_factory_series_is_reached_everywhere) {
    for (float factor : {1.0f, 0.25f, 1024.0f})
        EXPECT_EQ(1090, grade(times(measured(), factor)));
}

TEST_F(EvaluateSnrResult, good_when_one_square_falls_short_by_one_bit) {
    for (std::size_t k = 1; k < measured().size(); ++k) {
        Series factory = measured();
        factory[k] = std::nextafter(factory[k], kInfinity);
        EXPECT_EQ(1091, grade(factory)) << "square " << k;
    }
}

// "label" followed by each value with one digit and a tab.
std::string seriesLine(const std::string& label, const Series& series) {
    std::string line = label;
    for (float value : series) {
        char text[40];
        std::snprintf(text, sizeof text, "%.1f\t", static_cast<double>(value));
        line += text;
    }
    return line;
}

TEST_F(EvaluateSnrResult, course_is_logged_and_a_null_image_is_excellent) {
    const auto expectCourse = [&](const WORD* pixels, int expected, const Series& factory, const char* verdict) {
        EXPECT_EQ(expected, grade(pixels, kSide, factory));
        Lines lines = {"<evaluateSNRResult> begins"};
        if (pixels != nullptr)
            lines.insert(lines.end(), {"Calib  | I | <SNRcalc> begins", "Calib  | I | <SNRcalc> terminates0"});
        lines.insert(lines.end(), {seriesLine("default SNR:", factory),
                                   seriesLine("calc SNR:", pixels != nullptr ? measured() : Series(5, 0.0f)),
                                   std::string("The result of evaluation is ") + verdict + ".",
                                   "<evaluateSNRResult> terminates with return value 0"});
        EXPECT_EQ(lines, takeLog());
    };
    expectCourse(image().data(), 1090, measured(), "Excellent");
    expectCourse(image().data(), 1091, missedAt(2), "Good");
    expectCourse(image().data(), 1092, missedAt(3), "Poor");
    expectCourse(nullptr, 1090, missedAt(4), "Excellent");
    // Values beyond the measured ones are shown and not compared.
    Series longer = measured();
    longer.resize(9, 1e9f);
    expectCourse(image().data(), 1090, longer, "Excellent");
    longer = missedAt(2);
    longer.resize(9, 1e9f);
    EXPECT_EQ(0, check(longer));
}

TEST_F(EvaluateSnrResult, refused_images_are_not_good_enough) {
    EXPECT_EQ(1092, grade(image().data(), 127, Series(5, 1.0f)));
    EXPECT_EQ(1092, grade(image().data(), kSide, Series(4, 1.0f)));
    EXPECT_EQ(1092, grade(image().data(), kSide, {}));
}

}  // namespace
