#include "DefectFiles.h"
#include "DetectorFixture.h"
#include "DrawnArguments.h"
#include "SnrFiles.h"

#include <QxUtils.h>
#include <qxutils_c.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using namespace qx::test;
using Lines = std::vector<std::string>;

// What a call returned, as bytes; of an address whether there is one.
template <class T>
std::string bytesOf(const T& value) {
    if constexpr (std::is_pointer_v<T>)
        return value != nullptr ? "address" : "null";
    else
        return {reinterpret_cast<const char*>(&value), sizeof value};
}

struct Outcome {
    std::string result;
    std::string printed;
    std::string file;
    Lines log;
};

class CInterface : public DetectorFixture {
protected:
    CInterface() { qx_setLogLevel(1); }
    ~CInterface() override {
        qx_setLogLevel(1);
        printedBy([] { qx_setUtilDebug(0); });
    }

    // Calls a function with arguments of its types.
    template <class R, class... A>
    Outcome outcomeOf(R (*function)(A...), DrawnArguments& arguments) {
        writeFile(folder() / "file.raw", std::string(500, 'A'));
        setDebug(0);
        printedBy([] { qx_setUtilDebug(0); });
        Outcome outcome;
        outcome.printed = printedBy([&] {
            // A braced list is worked out from left to right.
            const std::tuple<A...> drawn{arguments.draw<A>()...};
            if constexpr (std::is_void_v<R>)
                std::apply(function, drawn);
            else
                outcome.result = bytesOf(std::apply(function, drawn));
        });
        outcome.file = readFile(folder() / "file.raw");
        outcome.log = logLines();
        for (const auto& file : logFiles())
            std::filesystem::remove(file);
        return outcome;
    }

    // Compares a function with the export behind it, in what they return, write, print and log.
    template <class R, class... A>
    void compare(const char* name, R (*function)(A...), std::type_identity_t<R (*)(A...)> expected) {
        SCOPED_TRACE(name);
        for (int run = 0; run < 12; ++run) {
            const bool isLarge = run == 0;
            const int side = isLarge ? 544 : 40;
            const std::uint64_t seed = static_cast<std::uint64_t>(run);
            DrawnArguments theirs(seed, side, isLarge, folder().path() + '/');
            DrawnArguments ours(seed, side, isLarge, folder().path() + '/');
            const Outcome before = outcomeOf(expected, theirs);
            const Outcome after = outcomeOf(function, ours);
            EXPECT_EQ(before.result, after.result) << run;
            EXPECT_EQ(before.printed, after.printed) << run;
            EXPECT_EQ(before.file, after.file) << run;
            EXPECT_EQ(before.log, after.log) << run;
            EXPECT_TRUE(theirs == ours) << run << ": what is behind the pointers";
        }
    }
};

struct Entry {
    const char* name;
    std::function<void()> compare;
};

// An argument as the export takes it: records have the same layout, references are addresses.
template <class To, class From>
decltype(auto) as(From value) {
    if constexpr (std::is_reference_v<To>)
        return *as<std::remove_reference_t<To>*>(value);
    else if constexpr (std::is_pointer_v<To>)
        return (To)value;
    else
        return static_cast<To>(value);
}

// Calls an export with the arguments of a C function.
template <auto Export, class R, class... A, class S, class... B>
constexpr R (*likeOf(R (*)(A...), S (*)(B...)))(A...) {
    return [](A... a) -> R { return Export(as<B>(a)...); };
}

// The C function and what its export makes of the same arguments.
#define QX_AS(name, ...)                                                                                               \
    {                                                                                                                  \
        "qx_" #name, [this] { compare("qx_" #name, qx_##name, __VA_ARGS__); }                                          \
    }
#define QX_SAME_AS(name, behind) QX_AS(name, [](auto... a) { return behind(a...); })
#define QX_SAME(name) QX_SAME_AS(name, name)
#define QX_LIKE(name) QX_AS(name, likeOf<name>(qx_##name, name))

std::vector<float> series(const float* values, int count) {
    return {values, values + count};
}

// Tested one by one below.
const std::set<std::string> kByHand = {"qx_CutString",
                                       "qx_calcGlobalSNR",
                                       "qx_defects_create",
                                       "qx_defects_group",
                                       "qx_defects_group_count",
                                       "qx_defects_pixels",
                                       "qx_defects_release",
                                       "qx_defects_set_pixels",
                                       "qx_deleteMemory",
                                       "qx_deleteMemory2",
                                       "qx_factory_list_create",
                                       "qx_factory_list_record",
                                       "qx_factory_list_record_count",
                                       "qx_factory_list_release",
                                       "qx_factory_list_times",
                                       "qx_getDefectIndexFromDefectFile",
                                       "qx_getGaussValue",
                                       "qx_getLocalTimeStr",
                                       "qx_getQxUtilsDllVersion",
                                       "qx_getRealCoordinate",
                                       "qx_interface_version",
                                       "qx_loadAllSNRFromFactory",
                                       "qx_releaseFileList",
                                       "qx_seed",
                                       "qx_setTimeStamp",
                                       "qx_sortFileByCreateTime",
                                       "qx_status_message"};

TEST_F(CInterface, functions_do_what_the_exports_behind_them_do) {
    const std::vector<Entry> entries = {
        QX_SAME_AS(status_code_at, getStatusCodeAt),
        QX_SAME(WriteLogFile),
        QX_SAME(WriteErrorLine),
        QX_SAME(removeLogFile),
        QX_AS(GetTimeCounter,
              [](int64_t* start, int64_t* end, double* seconds) {
                  long first = static_cast<long>(*start), last = static_cast<long>(*end);
                  return GetTimeCounter(first, last, *seconds);
              }),
        QX_SAME(setUtilDebug),
        QX_SAME(getPowerModeId),
        QX_SAME(getGainId),
        QX_SAME(getCurrentExpTime),
        QX_SAME(getAEDTrigSource),
        QX_SAME(getReadOutChannels),
        QX_SAME(writeImageToDisk),
        QX_SAME(readImageFromDisk),
        QX_SAME(imageWithHead),
        QX_AS(getImageSize,
              [](const char* dir, const char* name, int64_t* size) {
                  long length = 0;
                  const int status = getImageSize(dir, name, length);
                  *size = status == 0 ? length : *size;
                  return status;
              }),
        QX_SAME(cleanFile),
        QX_SAME(copyFile),
        QX_AS(readLocalCRC,
              [](const char* dir, const char* name, uint32_t* crc) {
                  unsigned long value = 0;
                  const int status = readLocalCRC(dir, name, value);
                  *crc = status == 0 ? static_cast<uint32_t>(value) : *crc;
                  return status;
              }),
        QX_SAME(codecData),
        QX_SAME(getGainExpTime),
        QX_LIKE(getDetectorFileHeadFromImageHead),
        QX_LIKE(getDetectorInfoHeadFromImageHead),
        QX_LIKE(getPcImageHeadFromImageHead),
        QX_SAME(getTemperatureFromImageHead),
        QX_AS(CheckDirPath,
              [](const char* path) {
                  char* text = const_cast<char*>(path);
                  return CheckDirPath(text);
              }),
        QX_SAME(getDirectorySpace),
        QX_LIKE(getFileNumInDirectory),
        QX_LIKE(getStrPos),
        QX_SAME(checkIP),
        QX_SAME(base64_encode),
        QX_SAME(base64_decode),
        QX_SAME(decodeFile),
        QX_LIKE(ImageBoundCheck),
        QX_AS(isInVector,
              [](const int* list, int n, int value) {
                  const std::vector<int> values(list, list + n);
                  return isInVector(&values, value);
              }),
        QX_AS(isNewElement,
              [](const int* list, int n, int value) {
                  const std::vector<int> values(list, list + n);
                  return isNewElement(&values, value);
              }),
        QX_SAME_AS(getMedian_i32, getMedian),
        QX_SAME_AS(getMedian_f32, getMedian),
        QX_SAME_AS(getMedian_u16, getMedian),
        QX_SAME(getWordMedian),
        QX_SAME(getfloatMedian),
        QX_SAME(getFloatMedian),
        QX_SAME_AS(getFloatMedian_inplace, getFloatMedian),
        QX_SAME(getFloatMedianByQuickMethod),
        QX_SAME(getHisMedian),
        QX_SAME(getFloatHisMedian),
        QX_SAME_AS(getStdev_u16, getStdev),
        QX_SAME_AS(getStdev_i32, getStdev),
        QX_SAME_AS(getStdev_f32, getStdev),
        QX_LIKE(getStdevAndMean),
        QX_SAME_AS(getMean_u16, getMean),
        QX_SAME_AS(getMaxandMinIndex_f64, getMaxandMinIndex),
        QX_SAME_AS(getMaxandMinIndex_f32, getMaxandMinIndex),
        QX_SAME_AS(getMinIndex_u16, getMinIndex),
        QX_SAME_AS(getMinIndex_i32, getMinIndex),
        QX_SAME_AS(getMinIndex_f32, getMinIndex),
        QX_SAME_AS(getMaxIndex_i32, getMaxIndex),
        QX_SAME_AS(getMaxIndex_f32, getMaxIndex),
        QX_SAME(findidxbigger),
        QX_SAME(findidxsmaller),
        QX_SAME_AS(getROIMedian_u16, getROIMedian),
        QX_SAME_AS(getROIMedian_f32, getROIMedian),
        QX_SAME(getROIMean),
        QX_SAME(getHistogramByBins),
        QX_SAME(GetCovOfTwoImages),
        QX_AS(polyFit,
              [](float* c, const float* const* points, int n, int order) {
                  if (order > 6)
                      return 1086;
                  polyFit(c, points, n, order);
                  return 0;
              }),
        QX_SAME(calcMedianPerColumn),
        QX_LIKE(doSurfaceFit),
        QX_LIKE(doSurfaceFitUsingGeneralFormula),
        QX_LIKE(doSurfaceFitUsingCubFormula),
        QX_LIKE(FitSurfaceLeastSquares),
        QX_SAME(medianFilter),
        QX_SAME(filterImg),
        QX_SAME(hisEqualization),
        QX_SAME(getMedianImage),
        QX_SAME(filterUsingSGolay),
        QX_LIKE(interpImg2D),
        QX_LIKE(getIntepolationSize),
        QX_SAME(correctRDwithoutRgain),
        QX_SAME(correctRDbyRgain),
        QX_SAME(correctAbnormalPixelFromRD),
        QX_SAME(calcNeighbourAFERatio),
        QX_SAME(overwriteBadLineAroundAFEEdge),
        QX_SAME(calcRgain),
        QX_SAME(subtractImage),
        QX_SAME(cutBinningImage),
        QX_SAME(doBinningSample),
        QX_SAME(correctAedStripeClinic),
        QX_SAME(correctAedStripe),
        QX_SAME(recordAedTrainStepInfo),
        QX_SAME(executeNDTCAL),
        QX_SAME(correctNDTImage),
        QX_SAME(operateSubImage),
        QX_SAME(jingtaiEnhance),
        QX_SAME(precisionEnhance),
        QX_LIKE(getDefectHeadInfo),
        QX_AS(checkGlobalSNR, [](const uint16_t* image, int w, int h, const float* factory,
                                 int n) { return checkGlobalSNR(image, w, h, series(factory, n)); }),
        QX_AS(evaluateSNRResult,
              [](const uint16_t* image, int w, int h, const float* factory, int n, qx_surface_fit_result* result) {
                  return evaluateSNRResult(image, w, h, series(factory, n), as<SurfaceFitResult&>(result));
              }),
        QX_SAME(retrieveAllSNRForQualityCheck),
        QX_SAME(getUniform),
        QX_SAME(analysisStrip),
        QX_SAME(analysisRcn),
        QX_SAME(darkImgGrayAnalysis),
        QX_SAME(checkGlobalUniform),
        QX_SAME(checkFirstImg),
        QX_SAME(checkPreImg),
        QX_SAME(checkCollimator),
        QX_SAME(checkSync),
        QX_SAME(checkTube),
        QX_SAME(checkGainImgGroup),
        QX_SAME(CheckDarkTimeRepeat),
        QX_SAME(checkFalseTriggAEDImage),
        QX_SAME(checkOffsetImageQuality),
        QX_LIKE(measureUniform),
        QX_LIKE(measureGlobalUniform),
        QX_LIKE(measureStrip),
        QX_LIKE(measureDarkGray),
        QX_LIKE(measureRcn),
        QX_LIKE(measureFirstImg),
        QX_LIKE(measurePreImg),
        QX_LIKE(measureGlobalSNR),
        QX_LIKE(measureSNRResult),
        QX_LIKE(measureGainImgGroup),
        QX_LIKE(measureDarkTimeRepeat),
        QX_LIKE(measureFalseTriggAEDImage),
        QX_LIKE(measureOffsetImageQuality),
        QX_LIKE(measureSNRSquares),
        QX_SAME(locateShadow),
        QX_SAME(setLogLevel),
        QX_SAME(getLogLevel),
    };
    std::set<std::string> tested = kByHand;
    for (const Entry& entry : entries) {
        EXPECT_TRUE(tested.insert(entry.name).second) << entry.name;
        entry.compare();
    }
    std::set<std::string> exported;
    std::ifstream pinned(QX_PINNED_EXPORTS);
    for (std::string name; std::getline(pinned, name);)
        exported.insert(name);
    EXPECT_EQ(exported, tested);
}

// The values of a list, asked for twice: how many there are, then themselves.
template <class T, class Call>
std::vector<T> handedOut(Call call) {
    int count = -1;
    EXPECT_EQ(0, call(nullptr, 0, &count));
    std::vector<T> values(static_cast<std::size_t>(count));
    if (count > 1) {
        EXPECT_EQ(1020, call(values.data(), count - 1, &count));
    }
    EXPECT_EQ(0, call(values.data(), count, &count));
    EXPECT_EQ(1057, call(values.data(), count, nullptr));
    EXPECT_EQ(1020, call(values.data(), -1, &count));
    return values;
}

TEST_F(CInterface, classic_defects_are_lists_behind_a_handle) {
    const ClassicDefects defects = {
        1000, {{{5, 6}}, {{7, 8}}}, {{{0, 3, 999, 3}}, {{4, 0, 4, 999}}}, {9, 9, 10, 9, -1}};
    writeFile(folder() / "Normal.cal", classicFile(defects));
    const std::string dir = folder().path() + '/';
    VectorDefect expected;
    ASSERT_EQ(0, getDefectIndexFromDefectFile(dir.c_str(), "Normal.cal", &expected, nullptr));
    qx_defects handle = 0;
    ASSERT_EQ(0, qx_defects_create(&handle));
    EXPECT_EQ(0, qx_getDefectIndexFromDefectFile(dir.c_str(), "Normal.cal", handle));
    const auto list = [&](int which) {
        return handedOut<int32_t>([&](int32_t* out, int capacity, int* count) {
            return qx_defects_pixels(handle, which, out, capacity, count);
        });
    };
    EXPECT_EQ(expected.points, list(QX_DEFECT_POINTS));
    EXPECT_EQ(expected.clusters, list(QX_DEFECT_CLUSTERS));
    EXPECT_EQ(expected.rows, list(QX_DEFECT_ROWS));
    EXPECT_EQ(expected.columns, list(QX_DEFECT_COLUMNS));
    // Lists that would not end, or throw, are refused.
    EXPECT_EQ(1020, qx_getRealCoordinate(handle, handle, 1000, 0, 0, 0, 500));
    for (const int which : {QX_DEFECT_ROWS, QX_DEFECT_COLUMNS})
        EXPECT_EQ(0, qx_defects_set_pixels(handle, which, nullptr, 0));
    EXPECT_EQ(0, qx_getRealCoordinate(handle, handle, 1000, 0, 0, 0, 500));
    const int32_t pixels[] = {3, 1};
    EXPECT_EQ(0, qx_defects_set_pixels(handle, QX_DEFECT_POINTS, pixels, 2));
    EXPECT_EQ((std::vector<int>{3, 1}), list(QX_DEFECT_POINTS));
    EXPECT_EQ(1057, qx_defects_set_pixels(handle, QX_DEFECT_POINTS, nullptr, 2));
    EXPECT_EQ(1020, qx_defects_set_pixels(handle, QX_DEFECT_POINTS, pixels, -1));
    EXPECT_EQ(1020, qx_defects_set_pixels(handle, 4, pixels, 2));
    EXPECT_EQ(0, qx_defects_release(handle));
}

TEST_F(CInterface, structured_defects_are_groups_behind_a_handle) {
    DefectInfo defects;
    defects.points = {{1, 2, 0, 0}, {3, 4, 0, 0}};
    defects.rows = {{{1, 2, 3, 4, 5}, {{0, 7, 9, 7}}}};
    defects.columns = {{{0, 0, 0, 0, 9}, {}}, {{2, 0, 0, 0, 8}, {{5, 0, 5, 9}, {6, 0, 6, 9}}}};
    defects.clusters = {{{1, 6, 7, 8}, {{2, 2, 0, 0}}}};
    writeFile(folder() / "NormalStructurizedDefect.cal", structuredFile(defects));
    qx_defects handle = 0;
    ASSERT_EQ(0, qx_defects_create(&handle));
    EXPECT_EQ(0,
              qx_getDefectIndexFromDefectFile((folder().path() + '/').c_str(), "NormalStructurizedDefect.cal", handle));
    std::string found;
    for (const int which : {QX_DEFECT_POINTS, QX_DEFECT_CLUSTERS, QX_DEFECT_ROWS, QX_DEFECT_COLUMNS}) {
        int groups = -1;
        EXPECT_EQ(0, qx_defects_group_count(handle, which, &groups));
        for (int group = 0; group < groups; ++group) {
            int32_t header[6] = {-1, -1, -1, -1, -1, -1};
            const auto entries = handedOut<qx_defect_entry>([&](qx_defect_entry* out, int capacity, int* count) {
                return qx_defects_group(handle, which, group, header, out, capacity, count);
            });
            found += " |";
            for (const int32_t word : header)
                found += ' ' + std::to_string(word);
            for (const qx_defect_entry& entry : entries)
                found += ", " + std::to_string(entry.x1) + ' ' + std::to_string(entry.y1);
        }
    }
    EXPECT_EQ(
        " | 0 0 0 0 0 -1, 1 2, 3 4 | 1 6 7 8 0 -1, 2 2 | 1 2 3 4 5 -1, 0 7 | 0 0 0 0 9 -1 | 2 0 0 0 8 -1, 5 0, 6 0",
        found);
    int count = 0;
    for (const int group : {-1, 2})
        EXPECT_EQ(1020, qx_defects_group(handle, QX_DEFECT_COLUMNS, group, nullptr, nullptr, 0, &count));
    EXPECT_EQ(1020, qx_defects_group_count(handle, -1, &count));
    EXPECT_EQ(0, qx_defects_release(handle));
}

TEST_F(CInterface, factory_series_lie_behind_a_handle) {
    const std::vector<FactorySNRRecord> records = {{500, 3, 1000.5f, {1, 2, 3}}, {1000, 3, 2000.5f, {4, 5, 6}}};
    writeFile(folder() / "x-SNR.raw", std::string(65536, '\0') + snrPayload({2, 1, 3, 7}, records));
    const std::string dir = folder().path() + '/';
    qx_factory_list list = 0;
    ASSERT_EQ(0, qx_factory_list_create(&list));
    EXPECT_EQ(1020, qx_loadAllSNRFromFactory(dir.c_str(), "x-SNR.raw", list, 8));
    EXPECT_EQ(0, qx_loadAllSNRFromFactory(dir.c_str(), "x-SNR.raw", list, 7));
    const auto times = handedOut<int32_t>(
        [&](int32_t* out, int capacity, int* count) { return qx_factory_list_times(list, out, capacity, count); });
    EXPECT_EQ((std::vector<int32_t>{500, 1000}), times);
    int count = -1;
    EXPECT_EQ(0, qx_factory_list_record_count(list, &count));
    ASSERT_EQ(2, count);
    for (int i = 0; i < 2; ++i) {
        qx_factory_record record{};
        const auto snr = handedOut<float>([&](float* out, int capacity, int* length) {
            return qx_factory_list_record(list, i, &record, out, capacity, length);
        });
        EXPECT_EQ(records[i].snr, snr);
        EXPECT_EQ(records[i].integrationTime, record.integrationTime);
        EXPECT_EQ(records[i].snrCount, record.snrCount);
        EXPECT_EQ(records[i].meanGray, record.meanGray);
        EXPECT_EQ(1020, qx_factory_list_record(list, 2 - 3 * i, &record, nullptr, 0, &count));
        EXPECT_EQ(1057, qx_factory_list_record(list, i, nullptr, nullptr, 0, &count));
    }
    EXPECT_EQ(0, qx_factory_list_release(list));
}

// Released, never given out, or of the other kind.
TEST_F(CInterface, handles_are_looked_up_and_never_followed) {
    qx_defects defects = 0, released = 0;
    qx_factory_list list = 0;
    EXPECT_EQ(1057, qx_defects_create(nullptr));
    EXPECT_EQ(1057, qx_factory_list_create(nullptr));
    ASSERT_EQ(0, qx_defects_create(&released));
    ASSERT_EQ(0, qx_defects_release(released));
    ASSERT_EQ(0, qx_defects_create(&defects));
    ASSERT_EQ(0, qx_factory_list_create(&list));
    EXPECT_NE(released, defects);
    int count = 0;
    for (const std::uint64_t handle :
         {released, list, std::uint64_t{0}, ~std::uint64_t{0}, std::uint64_t{0x7FFF12345678}}) {
        EXPECT_EQ(1020, qx_defects_release(handle));
        EXPECT_EQ(1020, qx_defects_pixels(handle, QX_DEFECT_POINTS, nullptr, 0, &count));
        EXPECT_EQ(1020, qx_defects_set_pixels(handle, QX_DEFECT_POINTS, nullptr, 0));
        EXPECT_EQ(1020, qx_defects_group_count(handle, QX_DEFECT_POINTS, &count));
        EXPECT_EQ(1020, qx_defects_group(handle, QX_DEFECT_POINTS, 0, nullptr, nullptr, 0, &count));
        EXPECT_EQ(1020, qx_getDefectIndexFromDefectFile("", "", handle));
        EXPECT_EQ(1020, qx_getRealCoordinate(handle, defects, 1, 0, 0, 0, 1));
        EXPECT_EQ(1020, qx_getRealCoordinate(defects, handle, 1, 0, 0, 0, 1));
    }
    for (const std::uint64_t handle : {released, defects, std::uint64_t{0}}) {
        EXPECT_EQ(1020, qx_factory_list_release(handle));
        EXPECT_EQ(1020, qx_factory_list_times(handle, nullptr, 0, &count));
        EXPECT_EQ(1020, qx_factory_list_record_count(handle, &count));
        EXPECT_EQ(1020, qx_factory_list_record(handle, 0, nullptr, nullptr, 0, &count));
        EXPECT_EQ(1020, qx_loadAllSNRFromFactory("", "", handle, 0));
    }
    EXPECT_EQ(0, qx_defects_release(defects));
    EXPECT_EQ(0, qx_factory_list_release(list));
}

// What is released while another thread works on it lives until that work ends.
TEST_F(CInterface, handles_may_be_released_beside_their_use) {
    for (int round = 0; round < 50; ++round) {
        qx_defects defects = 0;
        ASSERT_EQ(0, qx_defects_create(&defects));
        std::atomic<int> uses = 0;
        std::thread user([&] {
            const int32_t pixels[3] = {1, 2, 3};
            int32_t found[3];
            int count = 0;
            while (qx_defects_set_pixels(defects, QX_DEFECT_POINTS, pixels, 3) == 0 &&
                   qx_defects_pixels(defects, QX_DEFECT_POINTS, found, 3, &count) == 0)
                ++uses;
        });
        while (uses < 3)
            std::this_thread::yield();
        EXPECT_EQ(0, qx_defects_release(defects));
        user.join();
    }
}

TEST_F(CInterface, series_texts_and_listings_have_buffers) {
    const TestImage image = flatImage(300, 280, 20000, 100, 1);
    std::vector<float> expected(3), snr(5, -1.0f);
    ASSERT_EQ(0, calcGlobalSNR(image.data(), 300, 280, expected));
    EXPECT_EQ(1020, qx_calcGlobalSNR(image.data(), 300, 280, snr.data(), 2));
    EXPECT_EQ(1020, qx_calcGlobalSNR(image.data(), 300, 280, snr.data(), -1));
    EXPECT_EQ(1017, qx_calcGlobalSNR(nullptr, 300, 280, snr.data(), 5));
    EXPECT_EQ(1057, qx_calcGlobalSNR(image.data(), 300, 280, nullptr, 5));
    EXPECT_EQ(std::vector<float>(5, -1.0f), snr);
    EXPECT_EQ(0, qx_calcGlobalSNR(image.data(), 300, 280, snr.data(), 5));
    expected.resize(5, -1.0f);
    EXPECT_EQ(expected, snr);

    char** pieces = nullptr;
    int count = -1;
    EXPECT_EQ(0, qx_CutString(&pieces, "ab;c", ';', &count));
    ASSERT_EQ(2, count);
    EXPECT_STREQ("ab", pieces[0]);
    EXPECT_STREQ("c", pieces[1]);
    qx_deleteMemory(&pieces[0]);
    EXPECT_EQ(nullptr, pieces[0]);
    qx_deleteMemory2(&pieces);
    EXPECT_EQ(nullptr, pieces);

    writeFile(folder() / "file", "12345");
    qx_file_entry* list = nullptr;
    count = 0;
    EXPECT_EQ(0, qx_sortFileByCreateTime((folder().path() + '/').c_str(), &list, &count));
    ASSERT_EQ(1, count);
    EXPECT_STREQ("file", list->name);
    EXPECT_EQ(5u, list->sizeLow);
    qx_releaseFileList(&list);
    EXPECT_EQ(nullptr, list);

    char mine[21], theirs[21];
    do {
        getLocalTimeStr(theirs);
        qx_getLocalTimeStr(mine);
        setTimeStamp(theirs);
        qx_setTimeStamp(mine);
    } while (std::strcmp(mine, theirs) != 0);
    EXPECT_EQ(14u, std::strlen(mine));
    EXPECT_STREQ(getQxUtilsDllVersion(), qx_getQxUtilsDllVersion());
    EXPECT_STREQ(getStatusMessage(1035), qx_status_message(1035));
    EXPECT_EQ(nullptr, qx_status_message(-1));
    EXPECT_EQ(QX_INTERFACE_VERSION, qx_interface_version());
    // The second deviate of a pair comes from the same numbers.
    qx_seed(5);
    const double first = qx_getGaussValue(2, 10), second = qx_getGaussValue(2, 10);
    qx_seed(5);
    EXPECT_EQ(first, qx_getGaussValue(2, 10));
    EXPECT_EQ(second, qx_getGaussValue(2, 10));
}

// On Windows these are two copies of the library in one process.
TEST_F(CInterface, shares_the_log_with_the_library_beside_it) {
    constexpr int kLines = 200;
    std::thread beside([] {
        for (int i = 0; i < kLines; ++i)
            WriteLogFile(8, 1, "library ", i);
    });
    for (int i = 0; i < kLines; ++i)
        qx_WriteLogFile(8, 1, "door ", i);
    beside.join();
    Lines expected, found = takeLog();
    for (int i = 0; i < kLines; ++i)
        expected.insert(expected.end(), {"library " + std::to_string(i), "door " + std::to_string(i)});
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(expected, found);
}

TEST_F(CInterface, null_places_of_results_give_1057_and_change_nothing) {
    int number = 7;
    double seconds = 7;
    int64_t start = 1;
    EXPECT_EQ(1057.0, qx_GetTimeCounter(nullptr, &start, &seconds));
    EXPECT_EQ(1057.0, qx_GetTimeCounter(&start, nullptr, &seconds));
    EXPECT_EQ(1057.0, qx_GetTimeCounter(&start, &start, nullptr));
    EXPECT_EQ(1057, qx_getImageSize("", "x", nullptr));
    EXPECT_EQ(1057, qx_readLocalCRC("", "x", nullptr));
    EXPECT_EQ(1057, qx_CheckDirPath(nullptr));
    EXPECT_EQ(1057, qx_sortFileByCreateTime("", nullptr, &number));
    qx_file_entry* list = nullptr;
    EXPECT_EQ(1057, qx_sortFileByCreateTime("", &list, nullptr));
    EXPECT_EQ(1057, qx_getFileNumInDirectory("", nullptr));
    char** pieces = nullptr;
    EXPECT_EQ(1057, qx_CutString(nullptr, "a", ',', &number));
    EXPECT_EQ(1057, qx_CutString(&pieces, "a", ',', nullptr));
    EXPECT_EQ(1057, qx_ImageBoundCheck(nullptr, &number, &number));
    EXPECT_EQ(1057, qx_ImageBoundCheck(&number, nullptr, &number));
    EXPECT_EQ(1057, qx_ImageBoundCheck(&number, &number, nullptr));
    EXPECT_EQ(1057, qx_getIntepolationSize(nullptr, &number, 1, 1));
    EXPECT_EQ(1057, qx_getIntepolationSize(&number, nullptr, 1, 1));
    EXPECT_EQ(1020, qx_isInVector(&number, -1, 7));
    EXPECT_EQ(0, qx_isInVector(nullptr, 3, 7));
    EXPECT_EQ(1, qx_isNewElement(nullptr, 3, 7));
    const uint16_t pixel = 0;
    EXPECT_EQ(1057, qx_evaluateSNRResult(&pixel, 1, 1, nullptr, 0, nullptr));
    float mean = 7;
    qx_getStdevAndMean(&number, 1, 1, &mean, nullptr);
    qx_getStdevAndMean(&number, 1, 1, nullptr, &mean);
    qx_getStrPos("ab", "a", 2, 1, nullptr);
    qx_deleteMemory(nullptr);
    qx_deleteMemory2(nullptr);
    qx_releaseFileList(nullptr);
    float model[6] = {7}, coefficients[10] = {7}, residuals[3] = {7};
    const float image[64] = {};
    for (const auto fit : {qx_doSurfaceFit, qx_doSurfaceFitUsingGeneralFormula, qx_doSurfaceFitUsingCubFormula})
        EXPECT_EQ(0, fit(model, 10, nullptr, image, 8, 8, coefficients, residuals));
    EXPECT_EQ(21.0f, model[0] + coefficients[0] + residuals[0]);
    EXPECT_EQ(7, number);
    EXPECT_EQ(7.0, seconds);
    EXPECT_EQ(7.0f, mean);
}

}  // namespace
