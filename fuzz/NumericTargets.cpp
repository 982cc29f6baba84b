// One target calls every export that works on numbers in memory, with sizes and values of the input's. What is called
// keeps to the contracts: an array holds what a count says, and orders that end in an exception are caught.

#include "FuzzInput.h"

#include <QxUtils.h>
#include <VirtualDetector.h>

#include <algorithm>
#include <climits>
#include <limits>
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
                            static_cast<Value>(208),
                            static_cast<Value>(-0.0),
                            Limits::quiet_NaN(),
                            Limits::infinity(),
                            static_cast<Value>(-Limits::infinity()),
                            Limits::denorm_min()};
    return values[which % (std::is_integral_v<Value> ? 6 : 11)];
}

// Up to eight values, extreme ones or any, taken in turn for a while each, or at random.
template <class Value>
Array<Value> array(Input& input, std::int64_t count) {
    const auto size = static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
    std::vector<Value> palette(static_cast<std::size_t>(1 + input.below(8)));
    for (Value& value : palette) {
        const int which = input.below(32);
        value = which < 11   ? extreme<Value>(which)
                : which < 16 ? static_cast<Value>(which * 1000)
                             : input.number<Value>();
    }
    const std::size_t turn = input.number<std::uint8_t>();
    Array<Value> values(new Value[size]);
    std::uint32_t random = 1;
    for (std::size_t i = 0; i < size; ++i) {
        random = random * 1664525U + 1013904223U;
        values[i] = palette[(turn == 0 ? random >> 16 : i / turn) % palette.size()];
    }
    return values;
}

// Of an image: sides of the input's, or impossible ones. More pixels than 32 bits count are refused by all but filters.
enum class Huge { Refused, NotMade };
struct Size {
    Size(Input& input, int most, Huge huge = Huge::Refused) {
        switch (input.below(8) + (huge == Huge::NotMade ? 1 : 0)) {
        case 0:
            width = INT_MAX - input.below(2);
            height = 2 + input.number<std::uint16_t>();
            break;
        case 1:
            (input.flag() ? width : height) = -input.number<std::uint16_t>();
            break;
        default:
            width = 1 + input.number<std::uint16_t>() % most;
            height = 1 + input.number<std::uint16_t>() % std::min(most, 1 + 200000 / width);
            pixels = width * height;
        }
    }
    int width = 1;
    int height = 1;
    int pixels = 0;
};

// Beside what stands, such as a count of bins: small, or not possible.
int count(Input& input, int most = 100) {
    return input.below(6) == 0 ? -input.number<std::uint16_t>() : input.below(most);
}

template <class Pixel, int kMost, class... Rest>
void onImage(Input& input, int (*check)(Pixel*, int, int, Rest...), Rest... rest) {
    const Size size(input, kMost);
    check(array<std::remove_const_t<Pixel>>(input, size.pixels).get(), size.width, size.height, rest...);
}

// A check and its measures give one verdict.
template <class Pixel, int kMost, class Check, class Measure, class... Rest>
void judge(Input& input, Check check, Measure measure, Rest... rest) {
    const Size size(input, kMost);
    const Array<Pixel> image = array<Pixel>(input, size.pixels);
    CheckMeasures measures{};
    const int taken = measure(image.get(), size.width, size.height, rest..., &measures);
    const int verdict = check(image.get(), size.width, size.height, rest...);
    require(taken == 0 ? isPassed(measures) == (verdict == 0) : taken == verdict, "one verdict of check and measures");
}

template <class Value, class Function>
void onList(Input& input, Function function) {
    const int n = count(input, 250);
    const Array<Value> values = array<Value>(input, n);
    function(static_cast<const Value*>(values.get()), n);
}

// An output as large as promised, and an image beside it.
template <class Function>
void toImage(Input& input, Function function) {
    const Size size(input, 300);
    const Array<float> image = array<float>(input, size.pixels),
                       out(new float[static_cast<std::size_t>(size.pixels)]());
    function(out.get(), image.get(), size);
}

template <class Fit>
void fitSurface(Input& input, Fit fit, int mostSide, std::size_t coefficients) {
    const Size size(input, mostSide);
    const Array<float> image = array<float>(input, size.pixels), model(new float[6]()),
                       terms(new float[coefficients]()), residuals(new float[3]());
    float quality = 0;
    const int n = count(input, 12);
    require(fit(model.get(), n, quality, image.get(), size.width, size.height, terms.get(), residuals.get()) == 0, "0");
}

template <class Value>
void listStatistics(Input& input) {
    onList<Value>(input, [](const Value* data, int n) { getMedian(data, n); });
    onList<Value>(input, [](const Value* data, int n) { getMinIndex(data, n); });
    const Size size(input, 90);
    getStdev(array<Value>(input, size.pixels).get(), size.width, size.height);
}

// A region inside the image, or ends that are refused.
template <class Value>
void region(Input& input) {
    const Size size(input, 60);
    if (size.pixels == 0)
        return;
    const Array<Value> image = array<Value>(input, size.pixels);
    const int row = input.below(size.height), column = input.below(size.width);
    const int lastRow = input.flag() ? input.below(size.height) : row - input.below(4);
    const int lastColumn = input.flag() ? input.below(size.width) : column - input.below(4);
    getROIMedian(image.get(), row, lastRow, column, lastColumn, size.width);
    if constexpr (std::is_same_v<Value, WORD>)
        getROIMean(image.get(), row, lastRow, column, lastColumn, size.width);
}

void polynomial(Input& input) {
    const int points = input.below(40), order = input.number<std::int8_t>() % 10;
    const Array<float> values = array<float>(input, 2 * points);
    std::vector<const float*> rows;
    for (int i = 0; i < points; ++i)
        rows.push_back(values.get() + 2 * i);
    const Array<float> coefficients(new float[static_cast<std::size_t>(std::max(order, 0) + 1)]());
    try {
        polyFit(coefficients.get(), rows.data(), points, order);
        require(order <= 6, "orders above 6 are refused");
    } catch (StatusCode status) {
        require(status == StatusPolynomialOrder, "the order's status");
    }
}

void surface(Input& input) {
    const int n = input.below(30), m = input.below(30), p = count(input, 24), q = count(input, 6);
    const Array<float> x = array<float>(input, n), y = array<float>(input, m), z = array<float>(input, n * m);
    std::vector<const float*> rows;
    for (int i = 0; i < n; ++i)
        rows.push_back(z.get() + i * m);
    const Array<float[3]> a(new float[static_cast<std::size_t>(std::max(p, 1))][3]());
    float residuals[3] = {};
    FitSurfaceLeastSquares(x.get(), y.get(), rows.data(), a.get(), residuals, n, m, p, q);
}

void resample(Input& input) {
    const Size from(input, 120), to(input, 120);
    if (from.pixels == 0 && to.pixels == 0)
        return;
    Array<WORD> in = array<WORD>(input, from.pixels), out = array<WORD>(input, to.pixels);
    interpImg2D(reinterpret_cast<WORD**>(out.get()), to.height, to.width, reinterpret_cast<WORD**>(in.get()),
                from.height, from.width);
}

void blocks(Input& input) {
    const Size size(input, 400);
    const int afeWidth = input.flag() ? count(input) : 32;
    const int boundaries = input.below(8) == 0 ? count(input) : afeWidth < 1 ? 0 : size.width / afeWidth - 1;
    const auto kept = std::clamp(boundaries, 0, 500);
    const Array<float> image = array<float>(input, size.pixels), gains = array<float>(input, kept);
    const Array<float> ratios = array<float>(input, size.pixels == 0 ? 0 : std::int64_t{kept} * size.height);
    const int gained = std::min(boundaries, kept);
    calcNeighbourAFERatio(ratios.get(), gained, image.get(), size.width, size.height, afeWidth);
    correctRDbyRgain(image.get(), size.width, size.height, gains.get(), gained, afeWidth);
    overwriteBadLineAroundAFEEdge(image.get(), size.width, size.height, afeWidth);
    calcRgain(array<float>(input, kept).get(), gains.get(), gained, size.width, afeWidth);
    qxkit::virtualDetector().afeWidth = afeWidth;
    correctRDwithoutRgain(image.get(), size.width, size.height);
}

void stripes(Input& input) {
    const Size size(input, 1200), reference(input, 300);
    Array<WORD> image = array<WORD>(input, size.pixels);
    const int line = input.flag() ? count(input, 200) : input.number<std::int32_t>();
    correctAedStripe(image.get(), size.width, size.height, 0, 0, line);
    static const std::string work = fuzzFolder() + "record/";
    std::filesystem::create_directories(work + "logs");
    qxkit::virtualDetector().workDirectory = work;
    qxkit::virtualDetector().aedTriggerLine = line;
    recordAedTrainStepInfo(image.get(), size.width, size.height);
    std::filesystem::remove(work + "logs/PostDarkData.txt");
    if (size.pixels != 0 && reference.pixels != 0) {
        const Array<WORD> other = array<WORD>(input, std::int64_t{reference.width} * (std::max(line, 0) % 400 + 10));
        correctAedStripeClinic(image.get(), other.get(), size.width, reference.width, size.height, line % 400);
    }
}

void exposure(Input& input) {
    const Size size(input, 580);
    const Array<WORD> image = array<WORD>(input, size.pixels), dark = array<WORD>(input, size.pixels);
    qxkit::virtualDetector().config.exposedBlockFloor = input.number<std::int16_t>();
    qxkit::virtualDetector().afeWidth = input.flag() ? 32 : count(input);
    for (const auto& [check, measure] : {std::pair(&checkFirstImg, &measureFirstImg), {&checkPreImg, &measurePreImg}}) {
        CheckMeasures measures{};
        const int taken = measure(image.get(), dark.get(), size.width, size.height, &measures);
        const int verdict = check(image.get(), dark.get(), size.width, size.height);
        require(taken == 0 ? isPassed(measures) == (verdict == 0) : taken == verdict, "one verdict");
    }
    const int room = size.pixels == 0 ? 0 : (size.width / 32) * (size.height / 32);
    locateShadow(image.get(), dark.get(), size.width, size.height, array<unsigned char>(input, room).get(), room);
}

void snr(Input& input) {
    const Size size(input, 420);
    const Array<WORD> image = array<WORD>(input, size.pixels);
    const int factory = input.below(6), room = input.below(6);
    const Array<float> series = array<float>(input, factory);
    const std::vector<float> list(series.get(), series.get() + factory);
    std::vector<float> measured = list;
    calcGlobalSNR(image.get(), size.width, size.height, measured);
    checkGlobalSNR(image.get(), size.width, size.height, list);
    SurfaceFitResult result{};
    require(evaluateSNRResult(image.get(), size.width, size.height, list, result) == 0, "a grade");
    CheckMeasures measures{};
    measureGlobalSNR(image.get(), size.width, size.height, series.get(), factory, &measures);
    measureSNRResult(image.get(), size.width, size.height, series.get(), factory, &measures);
    const Array<SNRSquare> squares(new SNRSquare[static_cast<std::size_t>(room)]);
    int told = 0;
    measureSNRSquares(image.get(), size.width, size.height, series.get(), factory, squares.get(), room, &told);
}

void histograms(Input& input) {
    const int bins = count(input), n = count(input, 250);
    const auto room = static_cast<std::size_t>(std::max(bins, 0));
    const Array<int> counts(new int[room]), centers(new int[room]);
    const Array<WORD> data = array<WORD>(input, n);
    getHisMedian(data.get(), n, counts.get(), bins);
    getHistogramByBins(counts.get(), centers.get(), bins, data.get(), n);
    getFloatHisMedian(array<float>(input, n).get(), n, nullptr, 0);
    Array<float> sorted = array<float>(input, n);
    getFloatMedian(static_cast<const float*>(sorted.get()), n);
    getFloatMedianByQuickMethod(sorted.get(), n);
    getFloatMedian(sorted.get(), n);
}

void phases(Input& input) {
    const Size size(input, 60);
    const int x = input.number<std::int8_t>() % 3, y = input.number<std::int8_t>() % 3;
    const int quarter = size.pixels == 0 ? 0 : ((size.width + 1) / 2) * ((size.height + 1) / 2);
    const Array<float> part = array<float>(input, quarter), whole = array<float>(input, size.pixels);
    operateSubImage(part.get(), whole.get(), size.width, size.height, x, y, 1);
    operateSubImage(whole.get(), part.get(), size.width, size.height, x, y, 0);
}

void smallOnes(Input& input) {
    int pixel = input.number<int>(), width = input.number<int>(), height = input.number<int>();
    ImageBoundCheck(pixel, width, height);
    getIntepolationSize(width, height, count(input), count(input));
    std::string text = input.take(static_cast<std::size_t>(input.below(40)));
    codecData(text.data(), static_cast<int>(text.size()));
    const std::vector<int> list(text.begin(), text.end());
    require(isInVector(&list, pixel) + isNewElement(&list, pixel) == 1, "in the list or not");
    VectorDefect source{list, list, {}, {}};
    getRealCoordinate(&source, {}, input.number<std::int8_t>(), 0, 0, 0, input.number<std::int8_t>());
    getGaussValue(input.number<double>(), input.number<double>());
    long start = input.number<int>(), end = input.number<int>();
    double seconds = 0;
    GetTimeCounter(start, end, seconds);
    getStatusMessage(pixel);
    getStatusCodeAt(pixel);
}

// clang-format off
constexpr Run kCalls[] = {
    smallOnes, histograms, region<WORD>, region<float>, polynomial, surface, resample, blocks, stripes, exposure, snr,
    phases, listStatistics<WORD>, listStatistics<int>, listStatistics<float>,
    [](Input& in) { onList<int>(in, [](const int* data, int n) { getMaxIndex(data, n); }); },
    [](Input& in) { onList<WORD>(in, [](const WORD* data, int n) { getWordMedian(data, n); getMean(data, n); }); },
    [](Input& in) { onList<double>(in, [](const double* data, int n) {
        getfloatMedian(data, n); getMaxandMinIndex(data, n, true); getMaxandMinIndex(data, n, false); }); },
    [](Input& in) { onList<float>(in, [](const float* data, int n) {
        getMaxandMinIndex(data, n, true); getMaxandMinIndex(data, n, false); getMaxIndex(data, n);
        findidxbigger(data, n, n > 0 ? data[0] : 0); findidxsmaller(data, n, n > 0 ? data[0] : 0); }); },
    [](Input& in) { const Size size(in, 90); float mean = 0, stdev = 0;
        getStdevAndMean(array<int>(in, size.pixels).get(), size.width, size.height, mean, stdev); },
    [](Input& in) { toImage(in, [&](float* out, const float* image, const Size& size) {
        calcMedianPerColumn(array<float>(in, size.pixels == 0 ? std::min(size.width, 100000) : size.width).get(), image, size.width, size.height);
        cutBinningImage(out, image, size.width, size.height, count(in)); }); },
    [](Input& in) { toImage(in, [](float* out, const float* image, const Size& size) {
        doBinningSample(out, image, size.width, size.height); }); },
    [](Input& in) { fitSurface(in, doSurfaceFit, 90, 9); },
    [](Input& in) { fitSurface(in, doSurfaceFitUsingGeneralFormula, 40, 9); },
    [](Input& in) { fitSurface(in, doSurfaceFitUsingCubFormula, 40, 10); },
    [](Input& in) { const int n = count(in, 250);
        medianFilter(array<float>(in, n).get(), n, in.flag() ? in.number<int>() : count(in)); },
    [](Input& in) { const int n = count(in, 250); Array<float> out(new float[static_cast<std::size_t>(std::max(n, 0))]);
        filterUsingSGolay(out.get(), array<float>(in, n).get(), n, in.below(4), count(in)); },
    [](Input& in) { const int n = count(in, 250); hisEqualization(array<WORD>(in, n).get(), n); },
    [](Input& in) { const Size size(in, 90, Huge::NotMade);
        Array<float> out(new float[static_cast<std::size_t>(size.pixels)]);
        getMedianImage(out.get(), array<WORD>(in, size.pixels).get(), size.width, size.height); },
    [](Input& in) { const int n = count(in, 250); Array<float> out(new float[static_cast<std::size_t>(std::max(n, 0))]);
        subtractImage(out.get(), array<WORD>(in, n).get(), array<WORD>(in, n).get(), n); },
    [](Input& in) { const Size size(in, 300, Huge::NotMade);
        filterImg(array<WORD>(in, size.pixels).get(), size.width, size.height); },
    [](Input& in) { onImage<float, 300>(in, correctAbnormalPixelFromRD); },
    [](Input& in) { onImage<WORD, 9>(in, checkCollimator); onImage<WORD, 9>(in, checkSync); onImage<WORD, 9>(in, checkTube); },
    [](Input& in) { judge<WORD, 300>(in, getUniform, measureUniform); },
    [](Input& in) { judge<WORD, 500>(in, analysisStrip, measureStrip); },
    [](Input& in) { judge<WORD, 500>(in, darkImgGrayAnalysis, measureDarkGray); },
    [](Input& in) { judge<WORD, 600>(in, checkGlobalUniform, measureGlobalUniform, in.number<float>()); },
    [](Input& in) { judge<float, 900>(in, checkFalseTriggAEDImage, measureFalseTriggAEDImage); },
    [](Input& in) { judge<float, 500>(in, checkOffsetImageQuality, measureOffsetImageQuality); },
};
// clang-format on

const Target kNumbers("Numbers", [](Input& input) { kCalls[input.below(std::size(kCalls))](input); });

}  // namespace
