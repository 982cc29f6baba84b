// Every allocation of an operation is made to fail once: the operation answers with its code, changes nothing for the
// caller and leaks nothing.

#include "Builders.h"
#include "DefectFiles.h"
#include "DetectorFixture.h"
#include "FailingAllocator.h"

#include "numerics/fits/LinearLeastSquares.h"
#include "platform/DirectoryRecord.h"
#include "quality/exposure/TubeCentre.h"

#include <QxUtils.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

namespace {

using namespace qx::test;
using qx::DirectoryRecord;

class AllocationFault : public DetectorFixture {
protected:
    // Runs `call` once for each of its allocations, which fails then; `check` sees what every such run returned.
    // Returns how many allocations the call makes.
    template <class Result>
    long failEach(const std::function<Result()>& call, const std::function<void(Result)>& check) {
        for (long failing = 1;; ++failing) {
            failAllocation(failing);
            const Result result = call();
            if (!stopFailing())
                return failing - 1;
            check(result);
        }
    }
};

TEST_F(AllocationFault, snr_series_answers_1035_and_leaves_the_output) {
    detector().config.loggingEnabled = 1;
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    std::vector<float> series(3, -1.0f);
    // Lines take memory of their own: without them only the working memory can fail.
    setLogLevel(4);
    const long count = failEach<int>([&] { return calcGlobalSNR(image.data(), 300, 280, series); },
                                     [&](int result) {
                                         EXPECT_EQ(1035, result);
                                         EXPECT_EQ(std::vector<float>(3, -1.0f), series);
                                     });
    EXPECT_EQ(1, count);
    setLogLevel(2);
    EXPECT_EQ(0, calcGlobalSNR(image.data(), 300, 280, series));
    EXPECT_GT(series[2], 0.0f);
}

TEST_F(AllocationFault, snr_series_names_the_buffer_and_its_bytes) {
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    std::vector<float> series(3, -1.0f);
    // The first allocation after the opening line's is the working memory.
    int result = 0;
    for (long failing = 1; result != 1035 && failing < 100; ++failing) {
        failAllocation(failing);
        result = calcGlobalSNR(image.data(), 300, 280, series);
        stopFailing();
    }
    ASSERT_EQ(1035, result);
    EXPECT_EQ("Utils  | I | allocate RM failed, expected size is 3360001035", logLines().back());
}

// The caller's copy of the series, the measured series and the histogram fail in turn.
TEST_F(AllocationFault, verdicts_without_memory_for_the_series_follow_the_contract) {
    constexpr int kCallersCopy = -1;
    setLogLevel(4);
    const TestImage image = flatImage(300, 280, 52000, 200, 1);
    const std::vector<float> factory = {1000, 100, 1000};
    std::vector<int> results;
    const auto keep = [&](int result) { results.push_back(result); };
    failEach<int>(
        [&] {
            try {
                return checkGlobalSNR(image.data(), 300, 280, factory);
            } catch (const std::bad_alloc&) {
                return kCallersCopy;
            }
        },
        keep);
    EXPECT_EQ((std::vector<int>{kCallersCopy, 1035, 0}), results);
    results.clear();
    failEach<int>(
        [&] {
            SurfaceFitResult fit{};
            try {
                EXPECT_EQ(0, evaluateSNRResult(image.data(), 300, 280, factory, fit));
                return fit.evaluation;
            } catch (const std::bad_alloc&) {
                return kCallersCopy;
            }
        },
        keep);
    // The texts of the two logged series have memory of their own, and matter to nothing.
    ASSERT_GE(results.size(), 3u);
    EXPECT_EQ((std::vector<int>{kCallersCopy, 1092, 1090}), (std::vector<int>{results.begin(), results.begin() + 3}));
    SurfaceFitResult undisturbed{};
    evaluateSNRResult(image.data(), 300, 280, factory, undisturbed);
    for (std::size_t i = 3; i < results.size(); ++i)
        EXPECT_EQ(undisturbed.evaluation, results[i]);
}

TEST_F(AllocationFault, region_medians_answer_1035_and_log) {
    const TestImage image = randomImage(64, 64, 0, 100, 2);
    const std::vector<float> floats(image.pixels.begin(), image.pixels.end());
    failAllocation(1);
    EXPECT_EQ(1035, getROIMedian(image.data(), 0, 63, 0, 63, 64));
    failAllocation(1);
    EXPECT_EQ(1035, getROIMedian(floats.data(), 0, 63, 0, 63, 64));
    stopFailing();
    const std::vector<std::string> expected = {"Utils  | E | allocate failed in getROIMedian (WORD)",
                                               "Utils  | E | allocate failed in getROIMedian (float)"};
    EXPECT_EQ(expected, logLines());
}

TEST_F(AllocationFault, medians_answer_1035_or_do_without) {
    const TestImage image = randomImage(1000, 1, 0, 100, 3);
    const std::vector<float> floats(image.pixels.begin(), image.pixels.end());
    const std::vector<double> doubles(image.pixels.begin(), image.pixels.end());
    const std::vector<int> ints(image.pixels.begin(), image.pixels.end());
    const auto is1035 = [](double result) { EXPECT_EQ(1035.0, result); };
    EXPECT_EQ(1, failEach<double>([&] { return getMedian(ints.data(), 1000); }, is1035));
    EXPECT_EQ(1, failEach<double>([&] { return getMedian(floats.data(), 1000); }, is1035));
    EXPECT_EQ(1, failEach<double>([&] { return getfloatMedian(doubles.data(), 1000); }, is1035));
    EXPECT_EQ(1, failEach<double>([&] { return getFloatMedian(floats.data(), 1000); }, is1035));
    EXPECT_EQ(1, failEach<double>([&] { return getFloatHisMedian(floats.data(), 1000, nullptr, 0); }, is1035));
    EXPECT_EQ(0, failEach<double>([&] { return getMedian(image.data(), 1000); }, is1035));

    std::vector<float> sorted = floats;
    std::sort(sorted.begin(), sorted.end());
    std::vector<float> inPlace(floats.size());
    failEach<double>(
        [&] {
            std::copy(floats.begin(), floats.end(), inPlace.begin());
            return getFloatMedian(inPlace.data(), 1000);
        },
        [&](double result) {
            EXPECT_EQ(sorted[500], result);
            EXPECT_EQ(sorted, inPlace);
        });
}

// Three blocks of 32 columns.
TEST_F(AllocationFault, afe_balance_answers_1035_and_names_a_buffer_and_its_bytes) {
    detector().afeWidth = 32;
    const TestImage words = randomImage(96, 40, 0, 3, 4);
    const std::vector<float> image(words.pixels.begin(), words.pixels.end());
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
    const std::string text = "Utils  | I | allocate ";
    const std::string size = " failed, expected size is ";
    const std::vector<std::string> expected = {text + "afeRatio" + size + "320", text + "tmpFloatImg" + size + "15360",
                                               text + "medianRow" + size + "8", text + "rgain" + size + "8",
                                               "Utils  | I | <overwriteBadLineAroundAFEEdge> terminates"};
    std::vector<std::string> reasons;
    failEach<int>(balance, [&](int result) {
        if (result == 0)
            return;
        const std::vector<std::string> lines = logLines();
        ASSERT_GE(lines.size(), 3u);
        reasons.push_back(lines[lines.size() - 2]);
        EXPECT_EQ("Utils  | I | <correctRDwithoutRgain> terminates1035", lines.back());
    });
    ASSERT_EQ(count, static_cast<long>(reasons.size()));
    // Three buffers stand in for the second one.
    reasons.erase(std::unique(reasons.begin(), reasons.end()), reasons.end());
    EXPECT_EQ(expected, reasons);
}

// Long windows, so that memory is needed.
TEST_F(AllocationFault, filters_without_memory_change_nothing) {
    const TestImage image = randomImage(40, 33, 0, 65535, 3);
    const std::vector<float> samples(image.pixels.begin(), image.pixels.end());
    std::vector<float> filtered = samples;
    const auto filter = [&] {
        medianFilter(filtered.data(), static_cast<int>(filtered.size()), 40);
        return filtered == samples;
    };
    EXPECT_LT(0, failEach<bool>(filter, [](bool unchanged) { EXPECT_TRUE(unchanged); }));

    std::vector<WORD> in = image.pixels;
    std::vector<WORD> out(50 * 45, 7);
    const std::vector<WORD> before = out;
    const auto resample = [&] {
        interpImg2D(reinterpret_cast<WORD**>(out.data()), 50, 45, reinterpret_cast<WORD**>(in.data()), 33, 40);
        return out == before;
    };
    EXPECT_LT(5, failEach<bool>(resample, [](bool unchanged) { EXPECT_TRUE(unchanged); }));
    EXPECT_NE(before, out);
}

TEST_F(AllocationFault, listings_and_pieces_of_texts_leave_their_outputs) {
    for (const char* name : {"a", "b", "c", "d", "e"})
        writeFile(folder() / name, name);
    DirectoryRecord* list = nullptr;
    int count = 0;
    const auto sort = [&] { return sortFileByCreateTime(folder().path().c_str(), list, count); };
    EXPECT_LT(2, failEach<int>(sort, [&](int result) {
                  EXPECT_TRUE(result == 1 || result == 1035) << result;
                  EXPECT_EQ(nullptr, list);
                  EXPECT_EQ(0, count);
              }));
    EXPECT_EQ(5, count);
    std::free(list);

    char** pieces = nullptr;
    EXPECT_EQ(2, failEach<int>([&] { return CutString(pieces, "a,b", ',', count); },
                               [&](int result) {
                                   EXPECT_EQ(1035, result);
                                   EXPECT_EQ(nullptr, pieces);
                                   EXPECT_EQ(5, count);
                               }));
    EXPECT_EQ(2, count);
    deleteMemory(pieces[0]);
    deleteMemory2(pieces);
}

TEST_F(AllocationFault, column_medians_answer_1035_and_tell_while_debugging) {
    const TestImage words = randomImage(5, 1000, 0, 65535, 5);
    const std::vector<float> image(words.pixels.begin(), words.pixels.end());
    std::vector<float> medians(5, -1.0f);
    for (int debug : {0, 1}) {
        setDebug(debug);
        std::vector<int> results;
        results.reserve(100);
        const std::string printed = printedBy([&] {
            failEach<int>([&] { return calcMedianPerColumn(medians.data(), image.data(), 5, 1000); },
                          [&](int result) {
                              results.push_back(result);
                              EXPECT_EQ(std::vector<float>(5, -1.0f), medians);
                          });
        });
        EXPECT_GE(results.size(), 1u);
        EXPECT_EQ(std::vector<int>(results.size(), 1035), results);
        std::string expected;
        for (std::size_t i = 0; i < results.size() && debug != 0; ++i)
            expected += "Allocate buffer fail during calcMedianPerColumn!";
        EXPECT_EQ(expected, printed);
        std::fill(medians.begin(), medians.end(), -1.0f);
    }
}

TEST_F(AllocationFault, checks_of_uniformity_and_noise_answer_1035_or_the_right_verdict) {
    ASSERT_EQ("", qxkit::setDirectories(folder().path()));
    writeFile(std::filesystem::path(folder() / "offset") / "dark-500ms-std-gain2.raw", std::string(4008, '\0'));
    detector().config.rcnRowDiffLimit = 0.0f;
    setLogLevel(4);
    const TestImage flat = constantImage(384, 384, 300);
    TestImage uneven = flat;
    for (std::size_t i = uneven.pixels.size() / 2; i < uneven.pixels.size(); ++i)
        uneven.pixels[i] = 600;
    const auto darkGray = [&](int floor) {
        detector().config.darkLevelFloor = floor;
        return darkImgGrayAnalysis(flat.data(), 384, 384);
    };
    const struct {
        std::function<int()> check;
        int right;
    } cases[] = {{[] { return analysisRcn(2, 501); }, 1064},
                 {[] { return analysisRcn(2, 400); }, 0},
                 {[&] { return darkGray(300); }, 1066},
                 {[&] { return darkGray(299); }, 0},
                 {[&] { return checkGlobalUniform(uneven.data(), 384, 384, 0.2f); }, 1062},
                 {[&] { return checkGlobalUniform(flat.data(), 384, 384, 0.2f); }, 0}};
    for (const auto& [check, right] : cases) {
        EXPECT_EQ(right, check());
        failEach<int>(check, [&, expected = right](int result) { EXPECT_TRUE(result == 1035 || result == expected); });
    }
}

// Results of one failing allocation after the other, in runs of the same. The tube's centre, which checkFirstImg only
// logs, fails unnoticed.
TEST_F(AllocationFault, checks_of_exposures_and_gain_groups_answer_1035) {
    setLogLevel(4);
    detector().afeWidth = 64;
    detector().config.exposedBlockFloor = 1;
    detector().config.gainGroupCvLimit = 0.0f;
    detector().config.falseTriggerMedianFloor = 2000;
    const TestImage dark = constantImage(512, 768, 0);
    TestImage tilted = constantImage(512, 768, 10000);
    std::fill(tilted.pixels.begin() + 512 * 384, tilted.pixels.end(), WORD{4000});
    TestImage shadowed = tilted;
    std::fill(shadowed.pixels.begin() + 512 * 384, shadowed.pixels.end(), WORD{500});
    const std::string path = folder() / "gain.raw";
    writeFile(path, "10325476");
    const char* const paths[] = {path.c_str()};
    const std::vector<float> unexposed(1280 * 256, 100.0f);
    const struct {
        std::function<int()> check;
        int right;
        std::vector<int> runs;
    } cases[] = {{[&] { return checkFirstImg(tilted.data(), dark.data(), 512, 768); }, 1069, {1035, 1069, 1035}},
                 {[&] { return checkFirstImg(shadowed.data(), dark.data(), 512, 768); }, 1062, {1035}},
                 {[&] {
                      SurfaceFitResult centre{};
                      return qx::fitTubeCentre({tilted.data(), dark.data(), 512, 768}, centre);
                  },
                  0,
                  {1035}},
                 {[&] { return checkGainImgGroup(paths, 1); }, 1065, {1035}},
                 {[&] { return checkFalseTriggAEDImage(unexposed.data(), 1280, 256); }, 1094, {1035}}};
    for (const auto& c : cases) {
        std::vector<int> results;
        printedBy([&] {
            EXPECT_EQ(c.right, c.check());
            failEach<int>(c.check, [&](int result) { results.push_back(result); });
        });
        results.erase(std::unique(results.begin(), results.end()), results.end());
        EXPECT_EQ(c.runs, results) << "case " << &c - cases;
    }
}

// The mean of three values as a fit.
TEST_F(AllocationFault, svdfit_answers_1035_and_tells_on_the_console) {
    setLogLevel(4);
    constexpr float kValues[] = {1, 2, 3};
    constexpr float kSigmas[] = {1, 1, 1};
    const auto ones = [](const float*, qx::ColumnMatrix values, int, int) noexcept {
        std::fill_n(values.data, values.rows, 1.0f);
    };
    float u[3], v[1], w[1];
    std::vector<float> out(3, -1.0f);
    std::vector<int> results;
    const std::string printed = printedBy([&] {
        failEach<int>(
            [&] {
                return qx::svdfit({kValues, kValues, kSigmas, 3}, 0, 0, out.data(), {{u, 3, 1}, {v, 1, 1}, w}, out[1],
                                  ones, out[2]);
            },
            [&](int result) {
                results.push_back(result);
                EXPECT_EQ(std::vector<float>(3, -1.0f), out);
            });
    });
    // Its own vector, the decomposition's and the solution's.
    EXPECT_EQ(std::vector<int>(3, 1035), results);
    const std::string line = "allocation failure in vector()";
    EXPECT_EQ(line + line + line, printed);
    EXPECT_NEAR(2.0f, out[0], 1e-6);
}

TEST_F(AllocationFault, surface_fits_leave_their_outputs) {
    setLogLevel(4);
    constexpr float kPlaces[] = {0, 1, 2, 3, 4};
    const TestImage words = randomImage(5, 4, 0, 9, 6);
    const std::vector<float> image(words.pixels.begin(), words.pixels.end());
    const float* const rows[] = {&image[0], &image[5], &image[10], &image[15]};
    // Model, quality, coefficients and residuals.
    const std::vector<float> poison(20, -1.0f);
    std::vector<float> out;
    const auto image5x4 = [&](auto fit) {
        return [&, fit] { return fit(&out[0], 10, out[6], image.data(), 5, 4, &out[7], &out[17]); };
    };
    const std::function<int()> fits[] = {
        image5x4(doSurfaceFit), image5x4(doSurfaceFitUsingGeneralFormula), image5x4(doSurfaceFitUsingCubFormula), [&] {
            FitSurfaceLeastSquares(kPlaces, kPlaces, rows, reinterpret_cast<float(*)[3]>(&out[7]), &out[17], 4, 5, 3,
                                   3);
            return 0;
        }};
    for (const auto& fit : fits) {
        out = poison;
        printedBy(
            [&] { failEach<int>(fit, [&](int result) { EXPECT_EQ(std::pair(0, poison), std::pair(result, out)); }); });
        EXPECT_NE(poison, out);
    }
}

TEST_F(AllocationFault, ndt_calibration_answers_1035_and_writes_no_part_of_a_file) {
    ASSERT_EQ("", qxkit::setDirectories(folder().path()));
    detector().syncMode = 3;
    detector().ndtFrameCount = 4;
    const std::vector<std::uint32_t> dark(60, 10);
    const std::vector<std::uint32_t> bright(60, 30);
    const auto filesIn = [&](const char* directory) {
        const std::filesystem::directory_iterator entries(folder() / directory);
        return std::distance(begin(entries), end(entries));
    };
    std::vector<std::ptrdiff_t> darkFiles;
    darkFiles.reserve(10);
    EXPECT_EQ(2, failEach<int>([&] { return executeNDTCAL(bright.data(), dark.data(), 60); },
                               [&](int result) {
                                   EXPECT_EQ(1035, result);
                                   EXPECT_EQ(0, filesIn("gain"));
                                   darkFiles.push_back(filesIn("offset"));
                               }));
    EXPECT_EQ((std::vector<std::ptrdiff_t>{0, 1}), darkFiles);
    EXPECT_EQ(1, filesIn("gain"));
    EXPECT_EQ(std::vector<std::string>{}, logLines());
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

    // Lets every allocation of a correction fail. Returns the last two lines of the log of every run that answered with
    // 1035, the same ones once; the image is untouched then, and right otherwise.
    std::vector<std::string> endings(const std::uint32_t* dark) {
        Pixels plane(60);
        for (std::uint32_t i = 0; i < 60; ++i)
            plane[i] = 1000 + 100 * (i % 10) + 7 * (i / 10);
        Pixels before = plane;
        for (const std::size_t spoilt : {12, 42, 24, 17})
            before[spoilt] = 90000;
        if (detector().config.defectCorrectionMethod != 1)
            plane = before;
        std::vector<std::string> found;
        Pixels image(before.size());
        failEach<int>(
            [&] {
                std::copy(before.begin(), before.end(), image.begin());
                return correctNDTImage(image.data(), dark, 60);
            },
            [&](int result) {
                EXPECT_EQ(result == 0 ? plane : before, image);
                if (result == 0)
                    return;
                EXPECT_EQ(1035, result);
                const std::vector<std::string> lines = logLines();
                const std::string ending = lines.size() < 2 ? "" : lines[lines.size() - 2] + "; " + lines.back();
                if (std::find(found.begin(), found.end(), ending) == found.end())
                    found.push_back(ending);
            });
        EXPECT_EQ(plane, image);
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
    const std::vector<std::string> found = endings(nullptr);
    EXPECT_EQ(
        (std::vector<std::string>{noBuffer("627"), noBuffer("652"),
                                  "Utils  | E | allocate image buffer error; Utils  | E | Error occur in "
                                  "Utilities,line 729",
                                  corrected + "; Corr   | I | new defect method."}),
        (std::vector<std::string>{found.begin(), found.begin() + std::min<std::ptrdiff_t>(4, std::ssize(found))}));

    detector().config.defectCorrectionMethod = 2;
    detector().config.fixedLinearGainEnabled = 1;
    const Pixels dark(60, 0);
    const std::vector<std::string> fixed = endings(dark.data());
    ASSERT_EQ(1u, fixed.size());
    EXPECT_EQ("Corr   | E | Allocate buffer for gain image failed!", fixed[0].substr(fixed[0].find("; ") + 2));
}

TEST_F(AllocationFault, a_log_folder_that_cannot_be_listed_is_reported) {
    std::filesystem::create_directories(logFolder());
    const long count = failEach<int>([] { return removeLogFile(); }, [](int result) { EXPECT_EQ(1, result); });
    EXPECT_EQ(1, count);
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
