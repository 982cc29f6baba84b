#include "quality/snr/SnrSeries.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "kernels/PixelKernels.h"
#include "numerics/statistics/DeviationOfSquares.h"
#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

// The squares of a series are nested and centred, so one histogram that grows ring by ring holds the pixels of every
// square in turn, and each pixel is read once. Median, mean and deviation of a square follow from the histogram bit
// for bit: a squared deviation rounded to single precision is an integer that depends on the pixel alone, and sums of
// such integers below 2^53 are exact in any order. Beyond that the square is summed in pixel order, where the order may
// show in the result.

namespace qx {
namespace {

constexpr int kSmallestSide = 128;
constexpr int kImageMargin = 12;
constexpr int kSideStep = 256;
constexpr float kOutlierDeviations = 4.0f;

using Image = ImageView<const WORD>;

Rect centredSquare(const Image& image, int side) {
    return {(image.height - side) / 2, (image.width - side) / 2, side, side};
}

// Adds a rectangle, which may be empty. The processor does not look from row to row: rows ahead are fetched, the more
// the fewer pixels they have.
void addRect(const Image& image, const Rect& rect, PixelHistogram& histogram) {
    constexpr int kPixelsAhead = 1024;
    constexpr int kMostRows = 16;
    if (rect.isEmpty())
        return;
    const std::ptrdiff_t stride = image.width;
    const int rowsAhead = std::clamp(kPixelsAhead / rect.width, 1, kMostRows);
    const auto columns = static_cast<std::size_t>(rect.width);
    histogram.addPart({&image.at(rect.top, rect.left), stride, rect.height, columns, rowsAhead * stride});
}

// Adds the pixels of `outer` that do not lie in `inner`, which lies inside it.
void addRing(const Image& image, const Rect& outer, const Rect& inner, PixelHistogram& histogram) {
    const int left = inner.left - outer.left;
    const int right = outer.right() - inner.right();
    addRect(image, {outer.top, outer.left, inner.top - outer.top, outer.width}, histogram);
    addRect(image, {inner.top, outer.left, inner.height, left}, histogram);
    addRect(image, {inner.top, inner.right(), inner.height, right}, histogram);
    addRect(image, {inner.bottom(), outer.left, outer.bottom() - inner.bottom(), outer.width}, histogram);
    histogram.merge();
}

// Pixels all over the image.
PixelSpread spreadOf(const Image& image) {
    constexpr int kColumns = 8;
    constexpr int kRows = kSamplePlaces / kColumns;
    PixelSample sample;
    for (int i = 0; i < kSamplePlaces; ++i) {
        const WORD* const place =
            &image.at(image.height / kRows * (i / kColumns), image.width / kColumns * (i % kColumns));
        std::copy_n(place, sample[i].size(), sample[i].begin());
    }
    return qx::spreadOf(sample);
}

// The pixel values first .. last of a square are kept; all others count as `substitute`.
struct Cleaning {
    int first;
    int last;
    int substitute;

    int apply(int value) const { return value >= first && value <= last ? value : substitute; }
};

// A square's pixels: the histogram for everything that does not depend on their order, the image for what might.
class SquareContent {
public:
    SquareContent(const Image& image, const Rect& square, PixelHistogram& histogram)
        : image_(image), square_(square), counts_(histogram.counts()), blocks_(counts_) {}

    // The upper middle pixel.
    int median() const { return blocks_.valueOfRank(square_.pixels() / 2); }

    // Keeps all pixels.
    Cleaning none() const { return {blocks_.first(), blocks_.last(), 0}; }

    // The deviation as getStdev takes it of the pixels without their pedestal.
    float deviation(const Cleaning& cleaning) const;

private:
    double squares(const Cleaning& cleaning, std::int64_t substituted, int centre) const;
    double orderedSquares(const Cleaning& cleaning, int centre) const;

    Image image_;
    Rect square_;
    const std::uint32_t* counts_;
    CountBlocks blocks_;
};

double singleSquare(int deviation) {
    const float value = deviation;
    return static_cast<double>(value * value);
}

double SquareContent::squares(const Cleaning& cleaning, std::int64_t substituted, int centre) const {
    return pixelKernels().histogramSquares(counts_, cleaning.first, cleaning.last, centre) +
           substituted * singleSquare(cleaning.substitute - centre);
}

double SquareContent::orderedSquares(const Cleaning& cleaning, int centre) const {
    double total = 0;
    for (int y = square_.top; y < square_.bottom(); ++y) {
        const WORD* const row = image_.row(y);
        for (int x = square_.left; x < square_.right(); ++x)
            total += singleSquare(cleaning.apply(row[x]) - centre);
    }
    return total;
}

float SquareContent::deviation(const Cleaning& cleaning) const {
    const std::int64_t pixels = square_.pixels();
    const double count = pixels;
    const HistogramSum kept = pixelKernels().histogramSum(counts_, cleaning.first, cleaning.last);
    const std::int64_t substituted = pixels - kept.count;
    const std::int64_t sum = kept.sum + substituted * cleaning.substitute - pixels * kPedestal;
    const auto mean = static_cast<float>(sum / count);
    // Kept: about the mean's integer part.
    const int centre = truncateToInt(mean) + kPedestal;
    return deviationOfSquares(squares(cleaning, substituted, centre), pixels,
                              [&] { return orderedSquares(cleaning, centre); });
}

// Of the values that are kept so far, those strictly within four deviations of the median, compared in single precision
// without the pedestal.
Cleaning withoutOutliers(const Cleaning& before, int median, float deviation) {
    const float middle = median - kPedestal;
    const float high = middle + kOutlierDeviations * deviation;
    const float low = middle - kOutlierDeviations * deviation;
    return {std::max(truncateToInt(std::floor(low)) + 1 + kPedestal, before.first),
            std::min(truncateToInt(std::ceil(high)) - 1 + kPedestal, before.last), median};
}

// Replacing outliers by the median leaves the median as it is: no value changes sides.
float snrOf(const SquareContent& content) {
    const int median = content.median();
    const Cleaning all = content.none();
    const float deviation = content.deviation(all);
    const Cleaning cleaning = withoutOutliers(all, median, deviation);
    const bool changes = cleaning.first > all.first || cleaning.last < all.last;
    return (median - kPedestal) / (changes ? content.deviation(cleaning) : deviation);
}

}  // namespace

int snrCount(int width, int height) noexcept {
    const std::int64_t side = std::min(width, height);
    return (side - kImageMargin) / kSideStep + 2;
}

bool snrMeasurable(int width, int height) noexcept {
    return std::min(width, height) >= kSmallestSide && isImageSize(width, height);
}

int snrSquareSide(int k) noexcept {
    return k == 0 ? 64 : k == 1 ? 128 : kSideStep * (k - 1);
}

float snrFactor(int k) noexcept {
    return k == 0 ? 0.9f : (86 - 2 * (k - 1)) / 100.0f;
}

SNRSquare snrSquare(int k, std::span<const float> measured, std::span<const float> factory) noexcept {
    SNRSquare square{};
    square.side = snrSquareSide(k);
    square.factor = snrFactor(k);
    square.measured = measured[k];
    if (factory.empty())
        return square;
    square.factory = factory[k];
    // Kept: scaled to itself, the smallest square cannot fall below its share.
    square.scaled = measured[0] / factory[0] * factory[k];
    square.expected = square.scaled * square.factor;
    square.belowScaled = square.measured - square.scaled < 0;
    square.belowExpected = square.measured - square.expected < 0;
    return square;
}

int measureSnrSeries(ImageView<const WORD> image, std::span<float> series) noexcept {
    PixelHistogram histogram;
    if (!histogram)
        return StatusAllocationFailed;
    histogram.expect(spreadOf(image));
    Rect inner{image.height / 2, image.width / 2, 0, 0};
    for (int k = 0; k < snrCount(image.width, image.height); ++k) {
        const Rect outer = centredSquare(image, snrSquareSide(k));
        addRing(image, outer, inner, histogram);
        series[k] = snrOf(SquareContent(image, outer, histogram));
        inner = outer;
    }
    return StatusOk;
}

int calcSnrSeries(ImageView<const WORD> image, std::span<float> series) noexcept {
    LoggedOperation operation("SNRcalc", " terminates", LogModuleCalib);
    const int status = measureSnrSeries(image, series);
    if (status == StatusOk)
        return operation.end(status);
    constexpr int kValueBytes = 4;
    logAllocationFailure("RM", kValueBytes * static_cast<long long>(image.pixels()), status);
    return operation.endUntold(status);
}

}  // namespace qx
