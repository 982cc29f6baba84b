#include "report/ImageSummary.h"

#include "common/Shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <numeric>
#include <set>
#include <type_traits>

namespace qx::tool {
namespace {

constexpr int kLargestSide = 512;
constexpr int kSmallestSide = 16;
constexpr double kPixelsOfAll = 5.0 * kLargestSide * kLargestSide;

constexpr int kBins = 256;
constexpr double kMaxPixel = 65535.0;

// The share of pixels that the window cuts off at either end, and that which the histogram is laid out without: a dead
// pixel is not to squeeze the rest into one bin.
constexpr double kWindowShare = 0.005;
constexpr double kSpanShare = 0.0005;

// Where the pixels of `count` that a reduced one stands for begin, for each of them and behind the last.
std::vector<int> borders(int count, int reduced) {
    std::vector<int> starts;
    for (int i = 0; i <= reduced; ++i)
        starts.push_back(static_cast<int>(std::int64_t{count} * i / reduced));
    return starts;
}

Shape reducedShape(const Shape& shape, int maxSide) {
    const int longer = std::max({shape.width, shape.height, maxSide});
    const auto reduce = [&](int side) {
        return std::max(1, static_cast<int>(std::lround(static_cast<double>(side) * maxSide / longer)));
    };
    return {reduce(shape.width), reduce(shape.height)};
}

// Sums of blocks, row by row, of columns and of rows, in one pass.
struct Sums {
    std::vector<double> blocks;
    std::vector<double> columns;
    std::vector<double> rows;
};

// Whole counts are added as such: the same sum, without waiting for one addition after the other.
template <class Pixel>
void addRow(const Pixel* row, const std::vector<int>& lefts, double* blocks, std::vector<double>& columns) {
    using Sum = std::conditional_t<std::is_integral_v<Pixel>, std::int64_t, double>;
    for (std::size_t block = 0; block + 1 < lefts.size(); ++block) {
        Sum sum = 0;
        for (int x = lefts[block]; x < lefts[block + 1]; ++x)
            sum += static_cast<Sum>(row[x]);
        blocks[block] += static_cast<double>(sum);
        columns[block] += static_cast<double>(sum);
    }
}

template <class Pixel>
Sums sumsOf(const Image<Pixel>& image, const std::vector<int>& tops, const std::vector<int>& lefts) {
    const std::size_t columns = lefts.size() - 1;
    const std::size_t rows = tops.size() - 1;
    Sums sums{std::vector<double>(rows * columns), std::vector<double>(columns), {}};
    for (std::size_t row = 0; row < rows; ++row) {
        double* const blocks = sums.blocks.data() + row * columns;
        for (int y = tops[row]; y < tops[row + 1]; ++y)
            addRow(image.row(y), lefts, blocks, sums.columns);
        sums.rows.push_back(std::accumulate(blocks, blocks + columns, 0.0));
    }
    return sums;
}

std::vector<double> meansOf(std::vector<double> sums, const std::vector<int>& starts, int across) {
    for (std::size_t i = 0; i < sums.size(); ++i)
        sums[i] /= static_cast<double>(starts[i + 1] - starts[i]) * across;
    return sums;
}

std::vector<double> blockMeans(const Sums& sums, const std::vector<int>& tops, const std::vector<int>& lefts) {
    std::vector<double> means;
    means.reserve(sums.blocks.size());
    for (std::size_t row = 0; row + 1 < tops.size(); ++row) {
        for (std::size_t column = 0; column + 1 < lefts.size(); ++column) {
            const double pixels = static_cast<double>(tops[row + 1] - tops[row]) * (lefts[column + 1] - lefts[column]);
            means.push_back(sums.blocks[row * (lefts.size() - 1) + column] / pixels);
        }
    }
    return means;
}

// The finite values by their order of size. Floats come into it only as far as it is asked for: to sort them all takes
// longer than all the rest.
class Ranks {
public:
    explicit Ranks(const RawImage& image) : counts_(std::numeric_limits<WORD>::max() + std::size_t{1}) {
        for (const WORD pixel : image.pixels)
            ++counts_[pixel];
        count_ = image.pixels.size();
    }
    explicit Ranks(const FloatImage& image) {
        std::copy_if(image.pixels.begin(), image.pixels.end(), std::back_inserter(values_),
                     [](float value) { return std::isfinite(value); });
        count_ = values_.size();
    }

    bool isWhole() const { return !counts_.empty(); }
    std::size_t count() const { return count_; }

    // Of rank 0 .. count() - 1; 0 where there is none.
    double value(std::size_t rank) {
        if (!isWhole())
            return values_.empty() ? 0.0 : static_cast<double>(place(rank));
        std::size_t value = 0;
        for (std::size_t passed = counts_[0]; passed <= rank && value + 1 < counts_.size(); passed += counts_[value])
            ++value;
        return static_cast<double>(value);
    }
    double quantile(double share) {
        const double last = count_ == 0 ? 0.0 : static_cast<double>(count_ - 1);
        return value(static_cast<std::size_t>(std::lround(share * last)));
    }

    template <class Use>
    void forEach(Use use) const {
        for (std::size_t value = 0; value < counts_.size(); ++value) {
            if (counts_[value] > 0)
                use(static_cast<double>(value), counts_[value]);
        }
        for (const float value : values_)
            use(static_cast<double>(value), std::size_t{1});
    }

private:
    // Between those that are in their places what is smaller stands before it, and what is larger behind.
    float place(std::size_t rank) {
        const auto next = placed_.lower_bound(rank);
        const std::size_t end = next == placed_.end() ? values_.size() : *next;
        const std::size_t first = next == placed_.begin() ? 0 : *std::prev(next) + 1;
        if (end != rank) {
            const auto at = [this](std::size_t i) { return values_.begin() + static_cast<std::ptrdiff_t>(i); };
            std::nth_element(at(first), at(rank), at(end));
            placed_.insert(rank);
        }
        return values_[rank];
    }

    std::vector<std::size_t> counts_;
    std::vector<float> values_;
    std::set<std::size_t> placed_;
    std::size_t count_ = 0;
};

// Room beside what most pixels have; a stretch holds whole counts where the values are whole.
Histogram layOut(Ranks& ranks, double minimum, double maximum) {
    const double low = ranks.quantile(kSpanShare);
    const double high = ranks.quantile(1.0 - kSpanShare);
    const double margin = (high - low) / 2.0;
    Histogram histogram;
    histogram.first = std::max(minimum, low - margin);
    const double span = std::min(maximum, high + margin) - histogram.first;
    if (ranks.isWhole()) {
        histogram.first = std::floor(histogram.first);
        histogram.width = std::max(1.0, std::ceil((span + 1.0) / kBins));
        histogram.counts.resize(static_cast<std::size_t>(std::floor(span / histogram.width)) + 1);
    } else {
        histogram.width = span > 0.0 ? span / (kBins - 1) : 1.0;
        histogram.counts.resize(span > 0.0 ? kBins : 1);
    }
    return histogram;
}

Histogram histogramOf(Ranks& ranks, double minimum, double maximum) {
    Histogram histogram = layOut(ranks, minimum, maximum);
    ranks.forEach([&](double value, std::size_t count) {
        const auto pixels = static_cast<std::int64_t>(count);
        const double bin = std::floor((value - histogram.first) / histogram.width);
        if (bin < 0.0)
            histogram.below += pixels;
        else if (bin >= static_cast<double>(histogram.counts.size()))
            histogram.above += pixels;
        else
            histogram.counts[static_cast<std::size_t>(bin)] += pixels;
    });
    return histogram;
}

// The facts that follow from how often each value occurs.
void addRankFacts(Ranks& ranks, ImageSummary& summary) {
    summary.minimum = ranks.value(0);
    summary.maximum = ranks.quantile(1.0);
    summary.median = ranks.value(ranks.count() / 2);
    summary.black = ranks.quantile(kWindowShare);
    summary.white = ranks.quantile(1.0 - kWindowShare);
    if (summary.white <= summary.black)
        summary.white = summary.black + 1.0;
    summary.histogram = histogramOf(ranks, summary.minimum, summary.maximum);
}

// Other values than whole counts are spread over the 16 bits: as far from what most pixels have as leaves them greys
// enough.
constexpr double kSpansBeyond = 100.0;

// Whole counts stay what they are.
void addPixels(const std::vector<double>& means, bool isWhole, ImageSummary& summary) {
    if (!isWhole) {
        double least = HUGE_VAL;
        double largest = -HUGE_VAL;
        for (const double mean : means) {
            least = std::isfinite(mean) ? std::min(least, mean) : least;
            largest = std::isfinite(mean) ? std::max(largest, mean) : largest;
        }
        const Histogram& most = summary.histogram;
        const double span = most.width * static_cast<double>(most.counts.size());
        least = std::max(least, most.first - kSpansBeyond * span);
        largest = std::min(largest, most.first + kSpansBeyond * span);
        summary.offset = least <= largest ? least : 0.0;
        summary.scale = least < largest ? (largest - least) / kMaxPixel : 1.0;
    }
    for (const double mean : means) {
        const double pixel = std::round((mean - summary.offset) / summary.scale);
        summary.reduced.pixels.push_back(std::isfinite(pixel) ? truncatedCount(pixel) : WORD{0});
    }
}

template <class Pixel>
ImageSummary summarizeImage(const Image<Pixel>& image, int maxSide) {
    ImageSummary summary;
    summary.shape = image.shape;
    summary.reduced.shape = reducedShape(image.shape, maxSide);
    const std::vector<int> tops = borders(image.shape.height, summary.reduced.shape.height);
    const std::vector<int> lefts = borders(image.shape.width, summary.reduced.shape.width);
    const Sums sums = sumsOf(image, tops, lefts);
    summary.columnMeans = meansOf(sums.columns, lefts, image.shape.height);
    summary.rowMeans = meansOf(sums.rows, tops, image.shape.width);
    summary.mean =
        std::accumulate(sums.rows.begin(), sums.rows.end(), 0.0) / static_cast<double>(image.shape.pixelCount());
    Ranks ranks(image);
    addRankFacts(ranks, summary);
    addPixels(blockMeans(sums, tops, lefts), ranks.isWhole(), summary);
    return summary;
}

}  // namespace

ImageSummary summarize(const RawImage& image, int maxSide) {
    return summarizeImage(image, maxSide);
}

ImageSummary summarize(const FloatImage& image, int maxSide) {
    return summarizeImage(image, maxSide);
}

int reducedSide(std::size_t images) {
    const double side = std::sqrt(kPixelsOfAll / static_cast<double>(std::max<std::size_t>(images, 1)));
    return std::clamp(static_cast<int>(side), kSmallestSide, kLargestSide);
}

}  // namespace qx::tool
