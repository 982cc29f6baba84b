#include "EveryExport.h"

#include "BinaryFields.h"
#include "Builders.h"
#include "DefectFiles.h"
#include "SnrFiles.h"
#include "StripeBands.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qx::test {
namespace {

constexpr int kSide = 512;
constexpr int kFrameSide = 128;  // of the detector
constexpr int kFramePixels = kFrameSide * kFrameSide;
constexpr int kDetectorType = 7;
constexpr int kTriggerLine = 35;
constexpr float kFactorySeries[] = {1, 1, 1};

// What the calls of this thread brought forth since it was asked for.
thread_local std::size_t told = 0;

void tell(const void* data, std::size_t bytes) {
    told = 31 * told + std::hash<std::string_view>()({static_cast<const char*>(data), bytes});
}

// Tells what it holds at its end.
template <class Number>
struct Array : std::vector<Number> {
    using std::vector<Number>::vector;
    Array(const Array&) = default;
    Array(Array&&) = default;
    ~Array() { tell(this->data(), this->size() * sizeof(Number)); }
};

// What the data is made from.
std::uint64_t seed = 1;

// Everything that a call writes is a copy of its own; this is only read.
TestImage& flat() {
    static TestImage image = flatImage(2 * kSide, kSide, 30000, 50, 1);
    return image;
}

Array<WORD> pixels(int width, int height) {
    return {flat().pixels.begin(), flat().pixels.begin() + width * height};
}

Array<float> floats(int width, int height = 1) {
    return {flat().pixels.begin(), flat().pixels.begin() + width * height};
}

Array<WORD> dark(int width, int height) {
    return Array<WORD>(static_cast<std::size_t>(width) * height, 300);
}

// 0 .. n - 1.
template <class Number>
Array<Number> ascending(int n) {
    Array<Number> numbers;
    for (int i = 0; i < n; ++i)
        numbers.push_back(static_cast<Number>(i));
    return numbers;
}

// A stripe above kTriggerLine.
Array<WORD> stripedPixels() {
    SplitMix64 random(3);
    Array<WORD> image = pixels(256, kTriggerLine - 25);
    const TestImage band = randomBand(256, BandContent::Smooth, 65535, random);
    image.insert(image.end(), band.pixels.begin(), band.pixels.end());
    return image;
}

const char* putFile(const std::string& dir, const char* name, const std::string& content) {
    writeFile(dir + name, content);
    return name;
}

// The status of a call that changes an output when it succeeds, and then only.
template <class Output, class Call>
double changing(Output& output, Call call) {
    const Output before = output;
    const double status = call();
    return (status == 0) == (before == output) ? kWrongOutput : status;
}

// The verdict of a check on a flat image of so many columns and rows.
template <class Check, class... Rest>
double onFlat(int width, int height, Check check, Rest... rest) {
    Array<WORD> image = pixels(width, height);
    return check(image.data(), width, height, rest...);
}

template <class Check, class... Rest>
double onExposure(Check check, Rest... rest) {
    return check(pixels(kSide, kSide).data(), dark(kSide, kSide).data(), kSide, kSide, rest...);
}

// The status of a measurement, which takes its record last and fills it.
template <class Measure>
double measured(Measure measure) {
    CheckMeasures measures{};
    const double status = measure(&measures);
    tell(&measures, sizeof measures);
    return (status == 0) == (measures.count < 1) ? kWrongOutput : status;
}

template <class Measure, class... Rest>
double measuredOnFlat(int side, Measure measure, Rest... rest) {
    return measured([=](CheckMeasures* out) { return onFlat(side, side, measure, rest..., out); });
}

template <class Measure>
double measuredOnExposure(Measure measure) {
    return measured([=](CheckMeasures* out) { return onExposure(measure, out); });
}

ClassicDefects defects() {
    const int column = static_cast<int>(seed % 10);
    return {10, {{column, 1}}, {{column, 0, column, 9}}, {1, 2, -1}};
}

// 1 for a fit, 0 when nothing was written, as without memory.
template <class Fit>
double fitted(Fit fit) {
    // Model, quality, coefficients and residuals.
    Array<float> out(20);
    if (fit(&out[0], 10, out[6], floats(64, 64).data(), 64, 64, &out[7], &out[17]) != 0)
        return kWrongOutput;
    return out == Array<float>(20) ? 0 : out[0] != 0 ? 1 : kWrongOutput;
}

template <class Check>
double oneGainImage(const std::string& dir, Check check) {
    const std::string path = dir + putFile(dir, "gain.raw", words(ascending<int>(5000)));
    const char* const paths[] = {path.c_str()};
    return check(paths, 1);
}

// Calls take the directory or nothing, and hand back a number or nothing.
template <class Call>
constexpr ExportCall with(const char* signature, double result, Call, Company company = Company::All) {
    return {signature, result,
            [](const std::string& dir) -> double {
                const auto run = [&] {
                    if constexpr (std::is_invocable_v<Call>)
                        return Call{}();
                    else
                        return Call{}(dir);
                };
                try {
                    if constexpr (std::is_void_v<decltype(run())>)
                        return run(), 0;
                    else
                        return static_cast<double>(run());
                } catch (const std::bad_alloc&) {
                    return kThrown;
                }
            },
            company};
}

template <class Call>
constexpr ExportCall once(const char* signature, double result, Call call) {
    return with(signature, result, call, Company::Others);
}

using Dir = const std::string&;

// clang-format off
const ExportCall kCalls[] = {
    // Foundation.h, StatusCode.h
    with("GetTimeCounter(long&, long&, double&)", 1.5, [] {
        long start = 1000, end = 2500;
        double seconds = 0;
        return GetTimeCounter(start, end, seconds);
    }),
    with("WriteErrorLine(int, int, char const*)", 0, [] { WriteErrorLine(LogModuleUtils, 7, "calls"); }),
    with("WriteLogFile(int, int, char const*, int)", 0, [] { return WriteLogFile(8, LogInfo, "called", 1); }),
    with("getAEDTrigSource()", 1, [] { return getAEDTrigSource(); }),
    with("getCurrentExpTime()", 500, [] { return getCurrentExpTime(); }),
    with("getGainId()", 2, [] { return getGainId(); }),
    with("getLocalTimeStr(char*)", 19,
         [] { std::array<char, 20> text{}; getLocalTimeStr(text.data()); return std::strlen(text.data()); }),
    with("getLogLevel()", 1, [] { return getLogLevel(); }),
    with("getPowerModeId()", 1, [] { return getPowerModeId(); }),
    with("getQxUtilsDllVersion()", 'Q', [] { return *getQxUtilsDllVersion(); }),
    with("getReadOutChannels()", 96, [] { return getReadOutChannels(); }),
    with("getStatusCodeAt(int)", 0, [] { return getStatusCodeAt(0); }),
    with("getStatusMessage(int)", 'E', [] { return *getStatusMessage(StatusAllocationFailed); }),
    with("removeLogFile()", 0, [] { return removeLogFile(); }).memory(1).files(1),
    with("setLogLevel(int)", 0, [] { return setLogLevel(1); }),
    with("setTimeStamp(char*)", 14,
         [] { std::array<char, 15> text{}; setTimeStamp(text.data()); return std::strlen(text.data()); }),
    with("setUtilDebug(int)", 0, [] { return setUtilDebug(0); }),

    // Files.h
    with("CheckDirPath(char*&)", 0,
         [](Dir dir) { std::string text = dir; char* path = text.data(); return CheckDirPath(path); }),
    with("CutString(char**&, char const*, char, int&)", 3, [] {
        char** pieces = nullptr;
        int count = 0;
        const int status = CutString(pieces, "a,b,c", ',', count);
        if (pieces == nullptr && count == 0)
            return status;
        deleteMemory(pieces[0]);
        deleteMemory2(pieces);
        return count;
    }).memory(1035),
    with("ImageBoundCheck(int&, int&, int&)", 4,
         [] { int pixel = 5, width = 4, height = 4; return ImageBoundCheck(pixel, width, height); }),
    with("base64_decode(char const*, char*)", 3,
         [] { std::array<char, 3> bytes{}; return base64_decode("MTIz", bytes.data()); }),
    with("base64_encode(char const*, char*, int)", 'M',
         [] { std::array<char, 5> text{}; return *base64_encode("123", text.data(), 3); }),
    with("checkIP(char const*)", 0, [] { return checkIP("192.168.1.10"); }),
    with("cleanFile(char const*, char const*)", 0, [](Dir dir) { return cleanFile(dir.c_str(), "clean"); }).files(1039),
    with("codecData(char*, int)", 0, [] { std::string data(300, 'x'); return codecData(data.data(), 300); }),
    with("copyFile(char const*, char const*)", 1, [](Dir dir) {
        const std::string source = dir + putFile(dir, "source", randomBytes(300000, seed));
        const std::string copy = dir + putFile(dir, "copy", "before");
        copyFile(copy.c_str(), source.c_str());
        return readFile(copy) == readFile(source) ? 1 : readFile(copy) == "before" ? 0 : -1;
    }).memory(0).files(0, -1),
    with("decodeFile(char const*, char const*)", 0, [](Dir dir) {
        return decodeFile((dir + putFile(dir, "text", "MTIz\nMTIz\n")).c_str(), (dir + "decoded").c_str());
    }).files(1039, 1040),
    with("deleteMemory(char*&)", 0, [] { char* array = new char[8]; deleteMemory(array); }),
    with("deleteMemory2(char**&)", 0, [] { char** array = new char*[8]; deleteMemory2(array); }),
    with("getDetectorFileHeadFromImageHead(DetectorFileHead*, char const*)", 0, [] {
        DetectorFileHead head;
        getDetectorFileHeadFromImageHead(&head, std::string(kImageHeaderBytes, '\0').data());
        return head.width;
    }),
    with("getDetectorInfoHeadFromImageHead(DetectorInfoHead*, char const*)", 0, [] {
        DetectorInfoHead head;
        getDetectorInfoHeadFromImageHead(&head, std::string(kImageHeaderBytes, '\0').data());
        return head.detectorType;
    }),
    with("getDirectorySpace(char const*)", 10, [](Dir dir) {
        std::filesystem::create_directory(dir + "space");
        putFile(dir, "space/file", "0123456789");
        return getDirectorySpace((dir + "space/").c_str());
    }).memory(1).files(1, 0),
    with("getFileNumInDirectory(char const*, int&)", 0, [](Dir dir) {
        putFile(dir, "counted", "");
        int count = 0;
        return changing(count, [&] { return getFileNumInDirectory(dir.c_str(), count); });
    }).memory(1).files(1),
    with("getGainExpTime(char const*)", 25, [] { return getGainExpTime("gain-300ms-25-mA.raw"); }),
    with("getImageSize(char const*, char const*, long&)", 0,
         [](Dir dir) {
        long size = 0;
        return changing(size, [&] { return getImageSize(dir.c_str(), putFile(dir, "size", "123"), size); });
    }).files(1039, 1040),
    with("getPcImageHeadFromImageHead(PcImgHead*, char const*)", 0, [] {
        PcImgHead head;
        getPcImageHeadFromImageHead(&head, std::string(kImageHeaderBytes, '\0').data());
        return head.stored[0];
    }),
    with("getStrPos(char const*, char const*, int, int, int&)", 1,
         [] { int position = 0; getStrPos("abcd", "bc", 4, 2, position); return position; }),
    with("getTemperatureFromImageHead(char const*)", 0,
         [] { return getTemperatureFromImageHead(std::string(kImageHeaderBytes, '\0').data()); }),
    with("imageWithHead(char const*, char const*, int)", 1,
         [](Dir dir) { return imageWithHead(dir.c_str(), putFile(dir, "head", "123"), 3); }).files(1039, 1040),
    with("isInVector(std::vector<int, std::allocator<int> > const*, int)", 1,
         [] { const auto list = ascending<int>(5); return isInVector(&list, 3); }),
    with("isNewElement(std::vector<int, std::allocator<int> > const*, int)", 0,
         [] { const auto list = ascending<int>(5); return isNewElement(&list, 3); }),
    with("readImageFromDisk(char const*, char const*, char*, int)", 0, [](Dir dir) {
        std::array<char, 3> bytes;
        return readImageFromDisk(dir.c_str(), putFile(dir, "read", "123"), bytes.data(), 3);
    }).files(1039, 1040),
    with("readLocalCRC(char const*, char const*, unsigned long&)", 0xCBF43926, [](Dir dir) {
        unsigned long crc = 0;
        const int status = readLocalCRC(dir.c_str(), putFile(dir, "crc", "123456789"), crc);
        return status == 0 || crc != 0 ? static_cast<double>(crc) : status;
    }).memory(1035).files(1039, 1040),
    with("releaseFileList(_WIN32_FIND_DATAA*&)", 1, [](Dir dir) {
        putFile(dir, "listed", "");
        _WIN32_FIND_DATAA* list = nullptr;
        int count = 0;
        sortFileByCreateTime(dir.c_str(), list, count);
        const bool isListed = list != nullptr;
        releaseFileList(list);
        return isListed && list == nullptr ? 1 : 0;
    }).memory(0).files(0),
    with("sortFileByCreateTime(char const*, _WIN32_FIND_DATAA*&, int&)", 0, [](Dir dir) {
        putFile(dir, "first", "");
        putFile(dir, "second", "");
        _WIN32_FIND_DATAA* list = nullptr;
        int count = 0;
        const int status = sortFileByCreateTime(dir.c_str(), list, count);
        const bool isListed = list != nullptr && count >= 2, isEmpty = list == nullptr && count == 0;
        releaseFileList(list);
        return status == 0 ? isListed ? 0.0 : kWrongOutput : isEmpty ? status : kWrongOutput;
    }).memory(1, 1035).files(1),
    with("writeImageToDisk(char const*, char const*, char const*, int)", 0,
         [](Dir dir) { return writeImageToDisk(dir.c_str(), "written", "123", 3); }).files(1041),

    // Numerics.h: statistics
    with("GetCovOfTwoImages(unsigned short const*, int, int)", 1,
         [] { return GetCovOfTwoImages(pixels(8, 8).data(), 8, 8); }),
    with("double getMean<unsigned short>(unsigned short const*, int)", 5,
         [] { return getMean(ascending<WORD>(11).data(), 11); }),
    with("findidxbigger(float const*, int, float)", 6,
         [] { return findidxbigger(ascending<float>(11).data(), 11, 5.5f); }),
    with("findidxsmaller(float const*, int, float)", 5,
         [] { return findidxsmaller(ascending<float>(11).data(), 11, 5.5f); }),
    with("getFloatHisMedian(float const*, int, int*, int)", 4,
         [] { return std::round(getFloatHisMedian(ascending<float>(11).data(), 11, nullptr, 0)); }).memory(1035),
    with("getFloatMedian(float const*, int)", 50,
         [] { const auto data = ascending<float>(100); return getFloatMedian(data.data(), 100); }).memory(1035),
    with("getFloatMedian(float*, int)", 50,
         [] {
        auto data = ascending<float>(100), sorted = data;
        std::reverse(data.begin(), data.end());
        const float median = getFloatMedian(data.data(), 100);
        return data == sorted ? median : -1.0f;
    }).memory(50),
    with("getFloatMedianByQuickMethod(float*, int)", 50,
         [] { return getFloatMedianByQuickMethod(ascending<float>(100).data(), 100); }),
    once("getGaussValue(double, double)", 1, [] { return std::isfinite(getGaussValue(1, 0)); }),
    with("getHisMedian(unsigned short const*, int, int*, int)", 4,
         [] { std::array<int, 20> hist; return getHisMedian(ascending<WORD>(11).data(), 11, hist.data(), 20); }),
    with("getHistogramByBins(int*, int*, int, unsigned short const*, int)", 0, [] {
        std::array<int, 8> bins{};
        return changing(bins, [&] { return getHistogramByBins(&bins[0], &bins[4], 4, pixels(64, 64).data(), 4096); });
    }).memory(1035),
    with("getMaxIndex(float const*, int)", 10, [] { return getMaxIndex(ascending<float>(11).data(), 11); }),
    with("getMaxIndex(int const*, int)", 10, [] { return getMaxIndex(ascending<int>(11).data(), 11); }),
    with("getMaxandMinIndex(double const*, int, bool)", 16,
         [] { return getMaxandMinIndex(ascending<double>(64).data(), 64, true); }),
    with("getMaxandMinIndex(float const*, int, bool)", 47,
         [] { return getMaxandMinIndex(ascending<float>(64).data(), 64, false); }),
    with("getMedian(float const*, int)", 49, [] { return getMedian(ascending<float>(100).data(), 100); }).memory(1035),
    with("getMedian(int const*, int)", 49, [] { return getMedian(ascending<int>(100).data(), 100); }).memory(1035),
    with("getMedian(unsigned short const*, int)", 49, [] { return getMedian(ascending<WORD>(100).data(), 100); }),
    with("getMinIndex(float const*, int)", 0, [] { return getMinIndex(ascending<float>(11).data(), 11); }),
    with("getMinIndex(int const*, int)", 0, [] { return getMinIndex(ascending<int>(11).data(), 11); }),
    with("getMinIndex(unsigned short const*, int)", 0, [] { return getMinIndex(ascending<WORD>(11).data(), 11); }),
    with("getROIMean(unsigned short const*, int, int, int, int, int)", 8,
         [] { return getROIMean(ascending<WORD>(64).data(), 0, 2, 0, 1, 8); }),
    with("getROIMedian(float const*, int, int, int, int, int)", 9,
         [] { return getROIMedian(ascending<float>(64).data(), 0, 2, 0, 2, 8); }).memory(1035),
    with("getROIMedian(unsigned short const*, int, int, int, int, int)", 9,
         [] { return getROIMedian(ascending<WORD>(64).data(), 0, 2, 0, 2, 8); }).memory(1035),
    with("getStdev(float const*, int, int)", 0, [] { return getStdev(Array<float>(64, 7).data(), 8, 8); }),
    with("getStdev(int const*, int, int)", 0, [] { return getStdev(Array<int>(64, 7).data(), 8, 8); }),
    with("getStdev(unsigned short const*, int, int)", 0,
         [] { return getStdev(Array<WORD>(64, 7).data(), 8, 8); }),
    with("getStdevAndMean(int const*, int, int, float&, float&)", 7, [] {
        float mean = 0, stdev = 0;
        getStdevAndMean(Array<int>(64, 7).data(), 8, 8, mean, stdev);
        return mean;
    }),
    with("getWordMedian(unsigned short const*, int)", 49,
         [] { return getWordMedian(ascending<WORD>(100).data(), 100); }),
    with("getfloatMedian(double const*, int)", 49,
         [] { return getfloatMedian(ascending<double>(100).data(), 100); }).memory(1035),

    // Numerics.h: fits, filters, resampling
    with("FitSurfaceLeastSquares(float const*, float const*, float const* const*, float (*) [3], float*, "
         "int, int, int, int)", 7, [] {
        const Array<float> at = ascending<float>(8), row(8, 7.0f);
        const std::vector<const float*> rows(8, row.data());
        float a[3][3] = {}, residuals[3] = {};
        FitSurfaceLeastSquares(at.data(), at.data(), rows.data(), a, residuals, 8, 8, 3, 3);
        return std::round(a[0][0]) + (a[0][0] == 0 && residuals[0] != 0 ? -1.0f : 0.0f);
    }).memory(0),
    with("calcMedianPerColumn(float*, float const*, int, int)", 0, [] {
        Array<float> medians(64);
        return changing(medians, [&] { return calcMedianPerColumn(&medians[0], floats(64, 64).data(), 64, 64); });
    }).memory(1035),
    with("doSurfaceFit(float*, int, float&, float const*, int, int, float*, float*)", 1,
         [] { return fitted(doSurfaceFit); }).memory(0),
    with("doSurfaceFitUsingCubFormula(float*, int, float&, float const*, int, int, float*, float*)", 1,
         [] { return fitted(doSurfaceFitUsingCubFormula); }).memory(0),
    with("doSurfaceFitUsingGeneralFormula(float*, int, float&, float const*, int, int, float*, float*)", 1,
         [] { return fitted(doSurfaceFitUsingGeneralFormula); }).memory(0),
    with("filterImg(unsigned short*, int, int)", 0, [] { return onFlat(kSide, 64, filterImg); }),
    with("filterUsingSGolay(float*, float const*, int, int, int)", 0,
         [] { Array<float> out(200); return filterUsingSGolay(out.data(), floats(200).data(), 200, 2, 51); }),
    with("getIntepolationSize(int&, int&, int, int)", 0,
         [] { int first = 0, second = 0; return getIntepolationSize(first, second, 1, 1); }),
    with("getMedianImage(float*, unsigned short const*, int, int)", 0, [] {
        Array<float> out(kSide * 32);
        return getMedianImage(out.data(), pixels(kSide, 32).data(), kSide, 32);
    }),
    with("hisEqualization(unsigned short*, int)", 65535,
         [] {
        auto image = Array<WORD>(4096, 7);
        hisEqualization(image.data(), 4096);
        return std::count(image.begin(), image.end(), image[0]) == 4096 ? image[0] : -1;
    }).memory(7),
    with("interpImg2D(unsigned short**, int, int, unsigned short**, int, int)", 300, [] {
        Array<WORD> in = dark(64, 48), out(80 * 96, 7);
        interpImg2D(reinterpret_cast<WORD**>(out.data()), 96, 80, reinterpret_cast<WORD**>(in.data()), 48, 64);
        return std::count(out.begin(), out.end(), out[0]) == 80 * 96 ? out[0] : -1;
    }).memory(7),
    with("medianFilter(float*, int, int)", 3, [] {
        int changed = 0;
        for (const int window : {5, 40, 200}) {
            Array<float> samples = floats(10000);
            medianFilter(samples.data(), 10000, window);
            changed += samples != floats(10000);
        }
        return changed;
    }).memory(2),
    with("polyFit(float*, float const* const*, int, int)", 1, [] {
        const float points[][2] = {{0, 1}, {1, 2}, {2, 3}};
        const float* const rows[] = {points[0], points[1], points[2]};
        float line[2] = {};
        polyFit(line, rows, 3, 1);
        return std::round(line[0]);
    }),

    // Correction.h
    with("calcNeighbourAFERatio(float*, int, float const*, int, int, int)", 0, [] {
        Array<float> ratio(3 * 64);
        return calcNeighbourAFERatio(ratio.data(), 3, floats(128, 64).data(), 128, 64, 32);
    }),
    with("calcRgain(float*, float const*, int, int, int)", 0, [] {
        Array<float> gain(3);
        return calcRgain(gain.data(), Array<float>(3, 1.0f).data(), 3, 128, 32);
    }),
    with("correctAbnormalPixelFromRD(float*, int, int)", 0,
         [] { return correctAbnormalPixelFromRD(floats(64, 64).data(), 64, 64); }),
    with("correctAedStripe(unsigned short*, int, int, int, int, int)", 0,
         [] { return correctAedStripe(pixels(1024, 128).data(), 1024, 128, 0, 0, 64); }),
    once("correctAedStripeClinic(unsigned short*, unsigned short const*, int, int, int, int)", 0, [] {
        Array<WORD> image = stripedPixels();
        const int height = static_cast<int>(image.size()) / 256;
        return changing(image, [&] {
            return correctAedStripeClinic(image.data(), stripedPixels().data(), 256, 256, height, kTriggerLine);
        });
    }).memory(1035),
    with("correctNDTImage(unsigned int*, unsigned int const*, int)", 0, [] {
        Array<std::uint32_t> image(kFramePixels, 5000), dark(kFramePixels, 300);
        return correctNDTImage(image.data(), dark.data(), kFramePixels);
    }).memory(1035).files(1039, 1040, 1041),
    with("correctRDbyRgain(float*, int, int, float const*, int, int)", 0,
         [] { return correctRDbyRgain(floats(128, 64).data(), 128, 64, Array<float>(3, 1.1f).data(), 3, 32); }),
    with("correctRDwithoutRgain(float*, int, int)", 0,
         [] {
        Array<float> image = floats(kSide, 64);
        return changing(image, [&] { return correctRDwithoutRgain(image.data(), kSide, 64); });
    }).memory(1035),
    with("cutBinningImage(float*, float const*, int, int, int)", 0,
         [] { Array<float> out(64 * 64); return cutBinningImage(out.data(), floats(64, 64).data(), 64, 64, 4); }),
    with("doBinningSample(float*, float const*, int, int)", 0,
         [] { Array<float> out(16); return doBinningSample(out.data(), floats(128, 128).data(), 128, 128); }),
    with("executeNDTCAL(unsigned int const*, unsigned int const*, int)", 0, [] {
        Array<std::uint32_t> bright(kFramePixels, 5000 + static_cast<std::uint32_t>(seed)), dark(kFramePixels, 300);
        return executeNDTCAL(bright.data(), dark.data(), kFramePixels);
    }, Company::None).memory(1035).files(1041),
    with("getDefectHeadInfo(char const*, char const*, FileHeadInfo*)", 0, [](Dir dir) {
        FileHeadInfo info{};
        const int status = getDefectHeadInfo(dir.c_str(), putFile(dir, "defects", classicFile(defects())), &info);
        return (status == 0) == (info.imageWidth == 0) ? kWrongOutput : status;
    }).memory(1035).files(1039, 1040),
    with("getDefectIndexFromDefectFile(char const*, char const*, VectorDefect*, DefectInfo*)", 0, [](Dir dir) {
        VectorDefect read;
        const char* const name = putFile(dir, "list", classicFile(defects()));
        const int status = getDefectIndexFromDefectFile(dir.c_str(), name, &read, nullptr);
        for (const std::vector<int>& places : {read.points, read.rows, read.columns})
            tell(places.data(), places.size() * sizeof places[0]);
        return (status == 0) == read.points.empty() ? kWrongOutput : status;
    }).memory(1035).files(1039, 1040),
    with("getRealCoordinate(VectorDefect*, VectorDefect, int, int, int, int, int)", 0,
         [] { VectorDefect source{{1, 2}, {3, -1}, {}, {}}; getRealCoordinate(&source, {}, 10, 0, 0, 0, 5); })
        .memory(kThrown),
    with("jingtaiEnhance(void*, char const*, int, int, int)", 0,
         [] { return jingtaiEnhance(pixels(8, 8).data(), "", 8, 8, 0); }),
    with("operateSubImage(float*, float const*, int, int, int, int, int)", 0, [] {
        Array<float> quarter(16 * 16);
        operateSubImage(quarter.data(), floats(32, 32).data(), 32, 32, 0, 0, 1);
    }),
    with("overwriteBadLineAroundAFEEdge(float*, int, int, int)", 0,
         [] { overwriteBadLineAroundAFEEdge(floats(128, 64).data(), 128, 64, 32); }).memory(0),
    with("precisionEnhance(unsigned short*, char const*, int, int)", 0,
         [] { return precisionEnhance(pixels(8, 8).data(), "", 8, 8); }),
    with("recordAedTrainStepInfo(unsigned short const*, int, int)", 0,
         [] { recordAedTrainStepInfo(pixels(1024, 64).data(), 1024, 64); }).memory(0).files(),
    with("subtractImage(float*, unsigned short const*, unsigned short const*, int)", 0,
         [] { Array<float> out(64); subtractImage(out.data(), pixels(64, 1).data(), dark(64, 1).data(), 64); }),

    // Quality.h
    with("CheckDarkTimeRepeat(char const*, int)", 0, [] { return CheckDarkTimeRepeat("500;1000;", 500); }),
    with("analysisRcn(int, int)", 0, [] { return analysisRcn(kFrameSide, kFrameSide); }).memory(1035).files(1039, 1040),
    with("analysisStrip(unsigned short const*, int, int)", 0,
         [] { return onFlat(256, 256, analysisStrip); }).memory(1035),
    with("calcGlobalSNR(unsigned short const*, int, int, std::vector<float, std::allocator<float> >&)", 0,
         [] {
        Array<float> snr(3);
        return changing(snr, [&] { return calcGlobalSNR(pixels(kSide, kSide).data(), kSide, kSide, snr); });
    }).memory(1035),
    with("checkCollimator(unsigned short*, int, int)", 0, [] { return onFlat(8, 8, checkCollimator); }),
    with("checkFalseTriggAEDImage(float const*, int, int)", 0,
         [] { return checkFalseTriggAEDImage(floats(1024, kSide).data(), 1024, kSide); }).memory(1035),
    with("checkFirstImg(unsigned short const*, unsigned short const*, int, int)", 0,
         [] { return onExposure(checkFirstImg); }).memory(1035, 0),
    with("checkGainImgGroup(char const* const*, int)", StatusLinearityUnqualified,
         [](Dir dir) { return oneGainImage(dir, checkGainImgGroup); }).memory(1035).files(1039, 1040),
    with("checkGlobalSNR(unsigned short const*, int, int, std::vector<float, std::allocator<float> >)", 0,
         [] { return onFlat(kSide, kSide, checkGlobalSNR, Array<float>(3, 1.0f)); }).memory(1035, 0),
    with("checkGlobalUniform(unsigned short const*, int, int, float)", 0,
         [] { return onFlat(kSide, kSide, checkGlobalUniform, 0.1f); }).memory(1035),
    with("checkOffsetImageQuality(float const*, int, int)", 0,
         [] { return checkOffsetImageQuality(floats(kSide, kSide).data(), kSide, kSide); }),
    with("checkPreImg(unsigned short const*, unsigned short const*, int, int)", 0,
         [] { return onExposure(checkPreImg); }),
    with("checkSync(unsigned short*, int, int)", 0, [] { return onFlat(8, 8, checkSync); }),
    with("checkTube(unsigned short*, int, int)", 0, [] { return onFlat(8, 8, checkTube); }),
    with("darkImgGrayAnalysis(unsigned short const*, int, int)", 0,
         [] { return onFlat(256, 256, darkImgGrayAnalysis); }).memory(1035),
    with("evaluateSNRResult(unsigned short const*, int, int, std::vector<float, std::allocator<float> >, "
         "SurfaceFitResult&)", StatusCalibrationExcellent,
         [] {
        SurfaceFitResult result{};
        evaluateSNRResult(pixels(kSide, kSide).data(), kSide, kSide, {0, 0, 0}, result);
        return result.evaluation;
    }).memory(1092, 1090),
    with("getUniform(unsigned short const*, int, int)", 0, [] { return onFlat(kSide, kSide, getUniform); }),
    with("loadAllSNRFromFactory(char const*, char const*, FactoryDiffIntSNRList&, int)", 0, [](Dir dir) {
        FactoryDiffIntSNRList list;
        const std::string payload = snrPayload({1, 1, 1, 7}, {{5, 1, 1.0f, {2.0f}}});
        const char* const name = putFile(dir, "snr", std::string(kImageHeaderBytes, '\0') + payload);
        const int status = loadAllSNRFromFactory(dir.c_str(), name, list, 7);
        return (status == 0) == (list.records.empty() && list.integrationTimes.empty()) ? kWrongOutput : status;
    }).memory(1035).files(1039, 1040),
    with("retrieveAllSNRForQualityCheck(int, char const*)", 0, [](Dir dir) {
        const std::string images = dir + "snr-images/";
        std::filesystem::create_directories(images + "500ms");
        putFile(images, "500ms/1.raw", imageFile({kFrameSide, kFrameSide, pixels(kFrameSide, kFrameSide)}, 500.0f));
        return retrieveAllSNRForQualityCheck(kDetectorType, images.c_str());
    }).memory(1035, 1040).files(1040, 1041),

    // Measures.h
    with("locateShadow(unsigned short const*, unsigned short const*, int, int, unsigned char*, int)", 0,
         [] { return onExposure(locateShadow, Array<unsigned char>(256).data(), 256); }).memory(1035),
    with("measureDarkGray(unsigned short const*, int, int, CheckMeasures*)", 0,
         [] { return measuredOnFlat(256, measureDarkGray); }).memory(1035),
    with("measureDarkTimeRepeat(char const*, int, CheckMeasures*)", 0,
         [] { return measured([](CheckMeasures* out) { return measureDarkTimeRepeat("500;", 500, out); }); }),
    with("measureFalseTriggAEDImage(float const*, int, int, CheckMeasures*)", 0, [] {
        const Array<float> image = floats(1024, kSide);
        return measured([&](CheckMeasures* out) { return measureFalseTriggAEDImage(image.data(), 1024, kSide, out); });
    }).memory(1035),
    with("measureFirstImg(unsigned short const*, unsigned short const*, int, int, CheckMeasures*)", 0,
         [] { return measuredOnExposure(measureFirstImg); }).memory(1035, 0),
    with("measureGainImgGroup(char const* const*, int, CheckMeasures*)", 0, [](Dir dir) {
        return oneGainImage(dir, [](const char* const* paths, int count) {
            return measured([=](CheckMeasures* out) { return measureGainImgGroup(paths, count, out); });
        });
    }).memory(1035).files(1039, 1040),
    with("measureGlobalSNR(unsigned short const*, int, int, float const*, int, CheckMeasures*)", 0,
         [] { return measuredOnFlat(kSide, measureGlobalSNR, kFactorySeries, 3); }).memory(1035, 0),
    with("measureGlobalUniform(unsigned short const*, int, int, float, CheckMeasures*)", 0,
         [] { return measuredOnFlat(kSide, measureGlobalUniform, 0.1f); }).memory(1035),
    with("measureOffsetImageQuality(float const*, int, int, CheckMeasures*)", 0, [] {
        const Array<float> image = floats(kSide, kSide);
        return measured([&](CheckMeasures* out) { return measureOffsetImageQuality(image.data(), kSide, kSide, out); });
    }),
    with("measurePreImg(unsigned short const*, unsigned short const*, int, int, CheckMeasures*)", 0,
         [] { return measuredOnExposure(measurePreImg); }),
    with("measureRcn(int, int, CheckMeasures*)", 0,
         [] { return measured([](CheckMeasures* out) { return measureRcn(kFrameSide, kFrameSide, out); }); })
        .memory(1035).files(1039, 1040),
    with("measureSNRResult(unsigned short const*, int, int, float const*, int, CheckMeasures*)", 0,
         [] { return measuredOnFlat(kSide, measureSNRResult, kFactorySeries, 3); }).memory(1035, 0),
    with("measureSNRSquares(unsigned short const*, int, int, float const*, int, SNRSquare*, int, int*)", 3, [] {
        std::array<SNRSquare, 3> squares;
        int count = 0;
        const double status = onFlat(kSide, kSide, measureSNRSquares, kFactorySeries, 3, squares.data(), 3, &count);
        return status != 0 ? status : count;
    }).memory(1035, 3),
    with("measureStrip(unsigned short const*, int, int, CheckMeasures*)", 0,
         [] { return measuredOnFlat(256, measureStrip); }).memory(1035),
    with("measureUniform(unsigned short const*, int, int, CheckMeasures*)", 0,
         [] { return measuredOnFlat(kSide, measureUniform); }),
};
// clang-format on

}  // namespace

std::span<const ExportCall> everyExport() {
    return kCalls;
}

void changeData(std::uint64_t newSeed) {
    static const std::vector<WORD> first = flat().pixels;
    seed = newSeed;
    SplitMix64 random(seed);
    const auto begin = first.begin() + random.below(static_cast<int>(first.size()));
    const int level = random.below(1000);
    std::rotate_copy(first.begin(), begin, first.end(), flat().pixels.begin());
    for (WORD& pixel : flat().pixels)
        pixel = static_cast<WORD>(pixel + level);
}

std::size_t takeTold() {
    return std::exchange(told, 0);
}

void prepareDetector(const std::string& root) {
    qxkit::resetVirtualDetector();
    qxkit::setDirectories(root);
    qxkit::VirtualDetector& detector = qxkit::virtualDetector();
    detector.type = kDetectorType;
    for (int* const side : {&detector.width, &detector.height, &detector.modeWidth, &detector.modeHeight})
        *side = kFrameSide;
    detector.afeWidth = 32;
    detector.aedTriggerLine = 32;
    detector.config.defectCorrectionMethod = -1;
    const std::string gains(2 * kFramePixels, '\x10');
    writeFile(root + "storage/ndt-linear-gain2.raw", std::string(kImageHeaderBytes, '\0') + gains);
    writeFile(root + "offset/dark-500ms-std-gain2.raw", std::string(4 * kFramePixels, '\0'));
}

}  // namespace qx::test
