// What operations log and print when an allocation fails, and what the tables of fault/exports do not reach.

#include "Builders.h"
#include "DefectFiles.h"
#include "FaultFixture.h"
#include "StripeBands.h"

#include "numerics/fits/LinearLeastSquares.h"

#include <QxUtils.h>

#include <algorithm>
#include <array>
#include <functional>
#include <new>

namespace {

using namespace qx::test;

using AllocationFault = FaultFixture;
using Lines = std::vector<std::string>;

std::vector<float> floatsOf(const TestImage& image) {
    return {image.pixels.begin(), image.pixels.end()};
}

TEST_F(AllocationFault, snr_series_answers_1035_names_the_buffer_and_its_bytes_and_leaves_the_output) {
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    std::vector<float> series(3, -1.0f);
    const auto measure = [&] { return calcGlobalSNR(image.data(), 300, 280, series); };
    EXPECT_EQ(1, expectRefused(measure, series));
    EXPECT_GT(series[2], 0.0f);
    EXPECT_EQ((Lines{"Calib  | I | <SNRcalc> begins; "
                     "Utils  | I | allocate RM failed, expected size is 3360001035"}),
              refusals(measure));
}

// The caller's copy of the series, the measured series and the histogram fail in turn. The texts of the two logged
// series have memory of their own, and matter to nothing.
TEST_F(AllocationFault, verdicts_without_memory_for_the_series_follow_the_contract) {
    constexpr int kCallersCopy = -1;
    setLogLevel(4);
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    const std::vector<float> factory = {1000, 100, 1000};
    const auto copying = [=](auto judge) {
        return [=] {
            try {
                return judge();
            } catch (const std::bad_alloc&) {
                return kCallersCopy;
            }
        };
    };
    EXPECT_EQ((std::vector<int>{kCallersCopy, 1035, 0}),
              failures(copying([&] { return checkGlobalSNR(image.data(), 300, 280, factory); })));
    const auto evaluate = copying([&] {
        SurfaceFitResult fit{};
        EXPECT_EQ(0, evaluateSNRResult(image.data(), 300, 280, factory, fit));
        return fit.evaluation;
    });
    const std::vector<int> results = failures(evaluate);
    ASSERT_GE(results.size(), 3u);
    std::vector<int> expected(results.size(), evaluate());
    std::copy_n(std::array{kCallersCopy, 1092, 1090}.begin(), 3, expected.begin());
    EXPECT_EQ(expected, results);
}

TEST_F(AllocationFault, histogram_median_needs_no_memory) {
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    std::vector<int> hist(65536);
    const auto median = [&] { return int{getHisMedian(image.data(), 84000, hist.data(), 65536)}; };
    const int expected = median();
    const std::vector<int> counts = hist;
    EXPECT_EQ(1, failEach<int>(median, [&](int result) {
                  EXPECT_EQ(expected, result);
                  EXPECT_EQ(counts, hist);
              }));
}

TEST_F(AllocationFault, region_medians_answer_1035_and_log) {
    const TestImage image = randomImage(64, 64, 0, 100, 2);
    const std::vector<float> floats = floatsOf(image);
    failAllocation(1);
    EXPECT_EQ(1035, getROIMedian(image.data(), 0, 63, 0, 63, 64));
    failAllocation(1);
    EXPECT_EQ(1035, getROIMedian(floats.data(), 0, 63, 0, 63, 64));
    stopFailing();
    const Lines expected = {"Utils  | E | allocate failed in getROIMedian (WORD)",
                            "Utils  | E | allocate failed in getROIMedian (float)"};
    EXPECT_EQ(expected, logLines());
}

TEST_F(AllocationFault, medians_of_far_apart_floats_answer_1035) {
    const float data[] = {0.0f, 100.0f, 200.0f};
    failAllocation(1);
    EXPECT_EQ(1035.0f, getFloatHisMedian(data, 3, nullptr, 0));
    stopFailing();
}

// Three blocks of 32 columns.
TEST_F(AllocationFault, afe_balance_answers_1035_and_names_a_buffer_and_its_bytes) {
    detector().afeWidth = 32;
    const std::vector<float> image = floatsOf(randomImage(96, 40, 0, 3, 4));
    std::vector<float> untouched = image;
    std::replace(untouched.begin(), untouched.end(), 0.0f, 0.1f);
    std::vector<float> actual(image.size());
    const std::function<int()> balance = [&] {
        std::copy(image.begin(), image.end(), actual.begin());
        return correctRDwithoutRgain(actual.data(), 96, 40);
    };
    setLogLevel(4);
    const long count = failEach<int>(balance, [&](int result) {
        EXPECT_EQ(1035, result);
        EXPECT_TRUE(actual == image || actual == untouched);
    });
    EXPECT_GE(count, 1);
    setLogLevel(1);
    // Lines fail, too, and matter to nothing. The column medians tell on the console while debugging.
    const std::string text = "Utils  | I | allocate ", size = " failed, expected size is ";
    const std::string end = "; Utils  | I | <correctRDwithoutRgain> terminates1035";
    const Lines expected = {text + "afeRatio" + size + "320" + end, text + "tmpFloatImg" + size + "15360" + end,
                            text + "medianRow" + size + "8" + end, text + "rgain" + size + "8" + end,
                            "Utils  | I | <overwriteBadLineAroundAFEEdge> terminates" + end};
    Lines reasons = refusals(balance);
    ASSERT_EQ(count, std::ssize(reasons));
    // Known gains need no memory.
    const float gains[] = {2.0f, 0.5f};
    EXPECT_EQ(std::vector<int>{}, failures([&] { return correctRDbyRgain(actual.data(), 96, 40, gains, 2, 32); }));
    // Three buffers stand in for the second one.
    reasons.erase(std::unique(reasons.begin(), reasons.end()), reasons.end());
    EXPECT_EQ(expected, reasons);
}

// So many rows and columns that what is kept between them would be a multiple of both images.
TEST_F(AllocationFault, resampling_needs_what_its_contract_says) {
    constexpr int kRows = 33000, kColumns = 12000;
    std::vector<WORD> in(kRows * 4, 1000), out(2 * kColumns);
    failAllocation(0);
    interpImg2D(reinterpret_cast<WORD**>(out.data()), 2, kColumns, reinterpret_cast<WORD**>(in.data()), kRows, 4);
    EXPECT_GT(128 * kRows + 300 * (kRows + 2) + 900 * (4 + kColumns), bytesAllocated());
    EXPECT_EQ(std::vector<WORD>(out.size(), 1000), out);
}

TEST_F(AllocationFault, column_medians_answer_1035_and_tell_while_debugging) {
    const std::vector<float> image = floatsOf(randomImage(5, 1000, 0, 65535, 5));
    for (int debug : {0, 1}) {
        setDebug(debug);
        std::vector<float> medians(5, -1.0f);
        long count = 0;
        const std::string printed = printedBy([&] {
            count = expectRefused([&] { return calcMedianPerColumn(medians.data(), image.data(), 5, 1000); }, medians);
        });
        EXPECT_GE(count, 1);
        std::string expected;
        for (long i = 0; i < count && debug != 0; ++i)
            expected += "Allocate buffer fail during calcMedianPerColumn!";
        EXPECT_EQ(expected, printed);
    }
}

// A stripe of one row below two others; the end is not told.
TEST_F(AllocationFault, stripe_correction_answers_1035_and_leaves_the_image) {
    TestImage reference = bandOf(std::vector(20, bandColumn(3200, 4000, 4000)));
    reference.pixels.insert(reference.pixels.begin(), static_cast<std::size_t>(2 * reference.width), 4208);
    const TestImage striped = randomImage(20, 37, 0, 65535, 1);
    TestImage image = striped;
    const std::function<int()> correct = [&] {
        image = striped;
        return correctAedStripeClinic(image.pixels.data(), reference.data(), 20, 20, 37, 27);
    };
    Lines reasons = refusals(correct, [&](int result) { EXPECT_TRUE(result == 0 || image.pixels == striped.pixels); });
    reasons.erase(std::unique(reasons.begin(), reasons.end()), reasons.end());
    EXPECT_EQ(Lines{"Utils  | I | <correctAedStripe> begins; Utils  | E | Allocate buff failed."}, reasons);
}

// Of the regions, the middle area and the outer one. Where the outer one lies is told ahead of its median.
TEST_F(AllocationFault, false_trigger_check_tells_how_far_it_came) {
    detector().config.falseTriggerMedianFloor = 2000;
    const std::vector<float> unexposed(1280 * 256, 100.0f);
    Lines reasons = refusals([&] {
        const int status = checkFalseTriggAEDImage(unexposed.data(), 1280, 256);
        return status == 1094 ? 0 : status;
    });
    reasons.erase(std::unique(reasons.begin(), reasons.end()), reasons.end());
    const std::string failed = "; Utils  | E | allocate failed in getROIMedian (float)";
    EXPECT_EQ((Lines{"Utils  | I | roiWidth:256, roiHeight:64" + failed,
                     "Utils  | I | The outer ROI is [32,224,256,1024]" + failed}),
              reasons);
}

// The mean of three values as a fit: its own vector, the decomposition's and the solution's fail.
TEST_F(AllocationFault, svdfit_answers_1035_and_tells_on_the_console) {
    constexpr float kValues[] = {1, 2, 3};
    constexpr float kSigmas[] = {1, 1, 1};
    const auto ones = [](const float*, qx::ColumnMatrix values, int, int) noexcept {
        std::fill_n(values.data, values.rows, 1.0f);
    };
    float u[3], v[1], w[1];
    std::vector<float> out(3, -1.0f);
    const std::string printed = printedBy([&] {
        EXPECT_EQ(3, expectRefused(
                         [&] {
                             return qx::svdfit({kValues, kValues, kSigmas, 3}, 0, 0, out.data(),
                                               {{u, 3, 1}, {v, 1, 1}, w}, out[1], ones, out[2]);
                         },
                         out));
    });
    const std::string line = "allocation failure in vector()";
    EXPECT_EQ(line + line + line, printed);
    EXPECT_NEAR(2.0f, out[0], 1e-6);
}

class NdtAllocationFault : public AllocationFault {
protected:
    using Pixels = std::vector<std::uint32_t>;

    NdtAllocationFault() {
        EXPECT_EQ("", qxkit::setDirectories(folder().path()));
        detector().syncMode = 3;
        detector().ndtFrameCount = 4;
        detector().modeWidth = 10;
        detector().modeHeight = 6;
        detector().registers.exposureTimeMs = 0.0f;
        qxkit::setGainId(0);
        const std::filesystem::path root(folder().path());
        const std::string header(65536, '\0');
        writeFile(root / "offset" / "ndt-dark-aed-0ms-gain0-4f.raw", header + std::string(240, '\0'));
        std::string fixedGains;
        for (int i = 0; i < 60; ++i)
            fixedGains += std::string("\0\0\x80\x3F", 4);
        writeFile(root / "gain" / "ndt-linear-gain0.raw", header + std::string(120, '\0'));
        writeFile(root / "gain" / "Fixed-LINEAR-gain0.raw", header + fixedGains);
        // A point, a cluster of one pixel, a row and a column.
        writeFile(root / "defect" / "NormalStructurizedDefect.cal",
                  structuredFile({.points = {{2, 1, 0, 0}},
                                  .clusters = {{{1, 0, 0, 0}, {{4, 2, 0, 0}}}},
                                  .rows = {{{1, 0, 0, 0, 0}, {{0, 4, 0, 0}}}},
                                  .columns = {{{1, 0, 0, 0, 0}, {{7, 0, 0, 0}}}}}));
    }

    // Lets every allocation of a correction fail. Returns how the refused ones end, the same in a row once; the image
    // is untouched then, and right otherwise.
    Lines endings(const std::uint32_t* dark) {
        Pixels plane(60);
        for (std::uint32_t i = 0; i < 60; ++i)
            plane[i] = 1000 + 100 * (i % 10) + 7 * (i / 10);
        Pixels before = plane;
        for (const std::size_t spoilt : {12, 42, 24, 17})
            before[spoilt] = 90000;
        if (detector().config.defectCorrectionMethod != 1)
            plane = before;
        Pixels image(before.size());
        const auto correct = [&] {
            std::copy(before.begin(), before.end(), image.begin());
            return correctNDTImage(image.data(), dark, 60);
        };
        Lines found = refusals(correct, [&](int result) { EXPECT_EQ(result == 0 ? plane : before, image); });
        EXPECT_EQ(plane, image);
        found.erase(std::unique(found.begin(), found.end()), found.end());
        return found;
    }
};

TEST_F(NdtAllocationFault, ndt_correction_answers_1035_names_the_place_and_leaves_the_image) {
    const auto noBuffer = [](const char* line) {
        return "Utils  | E | allocate image buffer error1035; Utils  | E | Error occur in Utilities,line " +
               std::string(line);
    };
    const std::string corrected = "Corr   | I | Do offset and gain correction successfully.";
    detector().config.defectCorrectionMethod = 1;
    const Lines found = endings(nullptr);
    EXPECT_EQ((Lines{noBuffer("627"), noBuffer("652"),
                     "Utils  | E | allocate image buffer error; Utils  | E | Error occur in "
                     "Utilities,line 729",
                     corrected + "; Corr   | I | new defect method."}),
              (Lines{found.begin(), found.begin() + std::min<std::ptrdiff_t>(4, std::ssize(found))}));

    detector().config.defectCorrectionMethod = 2;
    detector().config.fixedLinearGainEnabled = 1;
    const Pixels dark(60, 0);
    const Lines fixed = endings(dark.data());
    ASSERT_EQ(1u, fixed.size());
    EXPECT_EQ("Corr   | E | Allocate buffer for gain image failed!", fixed[0].substr(fixed[0].find("; ") + 2));
}

TEST_F(AllocationFault, a_log_without_memory_loses_its_line_and_nothing_else) {
    const long count =
        failEach<int>([] { return WriteLogFile(8, 1, "a line that is too long to be kept inside a small string", 7); },
                      [](int result) { EXPECT_EQ(0, result); });
    EXPECT_GE(count, 1);
    // Only the last run, in which nothing failed, has written.
    EXPECT_EQ(1u, logLines().size());
}

}  // namespace
