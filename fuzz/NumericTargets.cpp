// One target calls every export that works on numbers in memory, with sizes and values of the input's. What is called
// keeps to the contracts: an array holds what a count says, and an order that ends in an exception is caught.

#include "FuzzInput.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

using namespace qx::fuzz;

namespace {

template <class Value>
Value extreme(int which) {
    using Limits = std::numeric_limits<Value>;
    const Value values[] = {Limits::max(),
                            Limits::lowest(),
                            Value{0},
                            Value{1},
                            static_cast<Value>(65535),
                            static_cast<Value>(-0.0),
                            Limits::quiet_NaN(),
                            Limits::infinity(),
                            static_cast<Value>(-Limits::infinity()),
                            Limits::denorm_min(),
                            static_cast<Value>(208)};
    return values[which % (std::is_integral_v<Value> ? 6 : 11)];
}

// Arrays for one call, and the sizes of its image.
class Case {
public:
    explicit Case(Input& source) : in(source) {}

    // Sides of the input's, or impossible ones; more pixels than 32 bits count are refused by all but filters.
    Case& sized(int most, bool mayBeHuge = true) {
        const int kind = in.below(8) + (mayBeHuge ? 0 : 1);
        width = kind == 0 ? INT_MAX - in.below(2) : 1 + in.number<std::uint16_t>() % most;
        height = 2 + in.number<std::uint16_t>();
        if (kind > 1)
            height = height % std::min(most, 1 + 200000 / width) + 1;
        else if (kind == 1)
            (in.flag() ? width : height) *= -1;
        pixels = kind > 1 ? width * height : 0;
        return *this;
    }
    // Beside what stands, such as a count of bins: small, or not possible.
    int count(int most = 100) { return in.below(6) == 0 ? -in.number<std::uint16_t>() : in.below(most); }

    // Up to eight values, extreme ones or any, taken in turn for a while each, or at random.
    template <class Value>
    Value* values(std::int64_t count) {
        std::vector<Value> palette(static_cast<std::size_t>(1 + in.below(8)));
        for (Value& value : palette) {
            const int which = in.below(32);
            value = which < 11 ? extreme<Value>(which) : static_cast<Value>(which * 1000);
            if (which > 16)
                value = in.number<Value>();
        }
        const std::size_t size = sizeOf(count), turn = in.number<std::uint8_t>();
        Value* const array = room<Value>(count);
        std::uint32_t random = 1;
        for (std::size_t i = 0; i < size; ++i) {
            random = random * 1664525U + 1013904223U;
            array[i] = palette[(turn == 0 ? random >> 16 : i / turn) % palette.size()];
        }
        return array;
    }
    template <class Value>
    Value* image() {
        return values<Value>(pixels);
    }
    template <class Value>
    Value* room(std::int64_t count) {
        const std::shared_ptr<Value[]> array(new Value[sizeOf(count)]());
        arrays_.push_back(array);
        return array.get();
    }
    // Pointers to so many rows.
    const float** rows(int count, int columns) {
        const float** const places = room<const float*>(count);
        for (int i = 0; i < count; ++i)
            places[i] = values<float>(columns);
        return places;
    }

    // A check and its measures give one verdict.
    template <class Check, class Measure, class... Arguments>
    void judge(Check check, Measure measure, Arguments... arguments) {
        CheckMeasures measures{};
        const int taken = measure(arguments..., &measures), verdict = check(arguments...);
        require(taken == 0 ? isPassed(measures) == (verdict == 0) : taken == verdict, "one verdict");
    }
    template <class Pixel, class Check, class Measure>
    void judgeImage(int most, Check check, Measure measure) {
        sized(most);
        judge(check, measure, image<Pixel>(), width, height);
    }
    template <class Fit>
    void fit(Fit fitSurface, int most) {
        sized(most);
        const int n = count(12);
        float quality = 0;
        fitSurface(room<float>(6), n, quality, image<float>(), width, height, room<float>(10), room<float>(3));
    }

    Input& in;
    int width = 1;
    int height = 1;
    int pixels = 0;

private:
    static std::size_t sizeOf(std::int64_t count) { return static_cast<std::size_t>(std::max<std::int64_t>(count, 0)); }

    std::vector<std::shared_ptr<const void>> arrays_;
};

template <class Value>
void statistics(Case& c) {
    const int n = c.count(250);
    const Value* const data = c.values<Value>(n);
    getMedian(data, n);
    getMinIndex(data, n);
    const Value* const image = c.sized(90).image<Value>();
    getStdev(image, c.width, c.height);
}

// A region inside the image, or ends that are refused.
template <class Value>
void region(Case& c) {
    const Value* const image = c.sized(60, false).image<Value>();
    if (c.pixels == 0)
        return;
    const int row = c.in.below(c.height), column = c.in.below(c.width);
    const int lastRow = c.in.flag() ? c.in.below(c.height) : row - c.in.below(4);
    const int lastColumn = c.in.flag() ? c.in.below(c.width) : column - c.in.below(4);
    getROIMedian(image, row, lastRow, column, lastColumn, c.width);
    if constexpr (std::is_same_v<Value, WORD>)
        getROIMean(image, row, lastRow, column, lastColumn, c.width);
}

// Each row calls what takes the same arguments.
// clang-format off
constexpr void (*kCalls[])(Case&) = {
    statistics<WORD>, statistics<int>, statistics<float>, region<WORD>, region<float>,
    [](Case& c) { const int n = c.count(250), bins = c.count(); const WORD* const data = c.values<WORD>(n);
        getWordMedian(data, n); getMean(data, n); hisEqualization(c.values<WORD>(n), n);
        subtractImage(c.room<float>(n), data, data, n);
        getHisMedian(data, n, c.room<int>(bins), bins);
        getHistogramByBins(c.room<int>(bins), c.room<int>(bins), bins, data, n); },
    [](Case& c) { const int n = c.count(250); const double* const data = c.values<double>(n);
        getfloatMedian(data, n); getMaxandMinIndex(data, n, c.in.flag()); getMaxIndex(c.values<int>(n), n); },
    [](Case& c) { const int n = c.count(250); const float* const data = c.values<float>(n);
        const auto limit = c.in.number<float>();
        getMaxandMinIndex(data, n, c.in.flag()); getMaxIndex(data, n); getFloatHisMedian(data, n, nullptr, 0);
        findidxbigger(data, n, limit); findidxsmaller(data, n, limit); getFloatMedian(data, n); },
    [](Case& c) { const int n = c.count(250); float* const data = c.values<float>(n);
        filterUsingSGolay(c.room<float>(n), data, n, c.in.below(4), c.count());
        medianFilter(data, n, c.in.flag() ? c.in.number<int>() : c.count());
        getFloatMedianByQuickMethod(data, n); getFloatMedian(data, n); },
    [](Case& c) { float mean = 0, stdev = 0;
        const int* const image = c.sized(90).image<int>();
        getStdevAndMean(image, c.width, c.height, mean, stdev); },
    [](Case& c) { const int points = c.in.below(40), order = c.in.number<std::int8_t>() % 10;
        try { polyFit(c.room<float>(order + 1), c.rows(points, 2), points, order);
            require(order <= 6, "orders above 6 are refused");
        } catch (StatusCode status) { require(status == StatusPolynomialOrder, "the order's status"); } },
    [](Case& c) { const int n = c.in.below(30), m = c.in.below(30), p = c.count(24), q = c.count(6);
        const float* const x = c.values<float>(n); const float* const y = c.values<float>(m);
        FitSurfaceLeastSquares(x, y, c.rows(n, m), c.room<float[3]>(std::max(p, 1)), c.room<float>(3), n, m, p, q); },
    [](Case& c) { c.fit(doSurfaceFit, 90); },
    [](Case& c) { c.fit(doSurfaceFitUsingGeneralFormula, 40); },
    [](Case& c) { c.fit(doSurfaceFitUsingCubFormula, 40); },
    [](Case& c) { float* const image = c.sized(300).image<float>();
        calcMedianPerColumn(c.room<float>(std::min(c.width, 1 << 16)), image, c.width, c.height);
        cutBinningImage(c.room<float>(c.pixels), image, c.width, c.height, c.count());
        doBinningSample(c.room<float>(c.pixels), image, c.width, c.height);
        correctAbnormalPixelFromRD(image, c.width, c.height); },
    [](Case& c) { WORD* const image = c.sized(300, false).image<WORD>();
        getMedianImage(c.room<float>(c.pixels), image, c.width, c.height); filterImg(image, c.width, c.height); },
    [](Case& c) { auto** const out = reinterpret_cast<WORD**>(c.sized(120, false).image<WORD>());
        const int width = c.width, height = c.height;
        auto** const in = reinterpret_cast<WORD**>(c.sized(120).image<WORD>());
        interpImg2D(out, height, width, in, c.height, c.width); },
    [](Case& c) { float* const whole = c.sized(60).image<float>();
        const int x = c.in.number<std::int8_t>() % 3, y = c.in.number<std::int8_t>() % 3;
        float* const part = c.values<float>(c.pixels == 0 ? 0 : ((c.width + 1) / 2) * ((c.height + 1) / 2));
        operateSubImage(part, whole, c.width, c.height, x, y, 1);
        operateSubImage(whole, part, c.width, c.height, x, y, 0); },
    [](Case& c) { float* const image = c.sized(400).image<float>(); const int afeWidth = c.in.flag() ? c.count() : 32;
        const int all = c.in.below(8) == 0 ? c.count() : afeWidth < 1 ? 0 : c.width / afeWidth - 1;
        const int n = std::min(all, 500), height = c.pixels == 0 ? 0 : c.height;
        float* const gains = c.values<float>(n); float* const ratios = c.room<float>(std::int64_t{n} * height);
        calcNeighbourAFERatio(ratios, n, image, c.width, c.height, afeWidth);
        correctRDbyRgain(image, c.width, c.height, gains, n, afeWidth);
        overwriteBadLineAroundAFEEdge(image, c.width, c.height, afeWidth);
        calcRgain(c.room<float>(n), gains, n, c.width, afeWidth);
        qxkit::virtualDetector().afeWidth = afeWidth;
        correctRDwithoutRgain(image, c.width, c.height); },
    [](Case& c) { const int line = c.in.flag() ? c.count(200) : c.in.number<std::int32_t>();
        const int width = 1 + c.in.below(255);
        static const std::string work = fuzzFolder() + "record/";
        std::filesystem::create_directories(work + "logs");
        qxkit::virtualDetector().workDirectory = work;
        qxkit::virtualDetector().aedTriggerLine = line;
        WORD* const image = c.sized(1200).image<WORD>();
        const WORD* const reference = c.values<WORD>(std::int64_t{width} * (std::max(line % 400, 0) + 10));
        recordAedTrainStepInfo(image, c.width, c.height);
        std::filesystem::remove(work + "logs/PostDarkData.txt");
        correctAedStripe(image, c.width, c.height, 0, 0, line);
        correctAedStripeClinic(image, reference, c.width, width, c.height, line % 400); },
    [](Case& c) { qxkit::virtualDetector().config.exposedBlockFloor = c.in.number<std::int16_t>();
        qxkit::virtualDetector().afeWidth = c.in.flag() ? 32 : c.count();
        const WORD* const image = c.sized(580).image<WORD>(); const WORD* const dark = c.image<WORD>();
        c.judge(checkFirstImg, measureFirstImg, image, dark, c.width, c.height);
        c.judge(checkPreImg, measurePreImg, image, dark, c.width, c.height);
        const int room = c.pixels == 0 ? 0 : (c.width / 32) * (c.height / 32);
        locateShadow(image, dark, c.width, c.height, c.room<unsigned char>(room), room); },
    [](Case& c) { const WORD* const image = c.sized(420).image<WORD>();
        const int n = c.in.below(6), room = c.in.below(6); const float* const series = c.values<float>(n);
        const std::vector<float> list(series, series + n); std::vector<float> measured = list;
        SurfaceFitResult result{}; CheckMeasures measures{}; int told = 0;
        calcGlobalSNR(image, c.width, c.height, measured); checkGlobalSNR(image, c.width, c.height, list);
        require(evaluateSNRResult(image, c.width, c.height, list, result) == 0, "a grade");
        measureGlobalSNR(image, c.width, c.height, series, n, &measures);
        measureSNRResult(image, c.width, c.height, series, n, &measures);
        measureSNRSquares(image, c.width, c.height, series, n, c.room<SNRSquare>(room), room, &told); },
    [](Case& c) { c.judgeImage<WORD>(300, getUniform, measureUniform); },
    [](Case& c) { c.judgeImage<WORD>(500, analysisStrip, measureStrip); },
    [](Case& c) { c.judgeImage<WORD>(500, darkImgGrayAnalysis, measureDarkGray); },
    [](Case& c) { const WORD* const image = c.sized(600).image<WORD>();
        c.judge(checkGlobalUniform, measureGlobalUniform, image, c.width, c.height, c.in.number<float>()); },
    [](Case& c) { c.judgeImage<float>(900, checkFalseTriggAEDImage, measureFalseTriggAEDImage); },
    [](Case& c) { c.judgeImage<float>(500, checkOffsetImageQuality, measureOffsetImageQuality); },
    [](Case& c) { int pixel = c.in.number<int>(), width = c.in.number<int>(), height = c.in.number<int>();
        const int n = c.count();
        ImageBoundCheck(pixel, width, height); getIntepolationSize(width, height, c.count(), c.count());
        codecData(c.values<char>(n), n); getStatusMessage(getStatusCodeAt(pixel));
        const std::vector<int> list(static_cast<std::size_t>(std::max(n, 0)), c.in.number<int>());
        require(isInVector(&list, pixel) + isNewElement(&list, pixel) == 1, "in the list or not");
        VectorDefect source{list, list, {}, {}};
        getRealCoordinate(&source, {}, c.in.number<std::int8_t>(), 0, 0, 0, c.in.number<std::int8_t>());
        getGaussValue(c.in.number<double>(), c.in.number<double>()); },
};
// clang-format on

const Target kNumbers("Numbers", [](Input& input) {
    Case values(input);
    kCalls[input.below(std::size(kCalls))](values);
});

}  // namespace
