#include "filter/Filters.h"

#include "common/ToolError.h"

#include <QxUtils.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

namespace qx::tool {
namespace {

constexpr int kColumnWindow = 5;
constexpr int kSmoothingOrder = 2;

void requireSides(const Shape& shape, const Shape& least) {
    if (shape.width < least.width || shape.height < least.height)
        throw ToolError(toText(shape) + ": this filter's window needs at least " + toText(least) + " pixels",
                        ExitCode::Usage);
}

WORD roundedCount(float value) {
    return static_cast<WORD>(std::lround(std::clamp(value, 0.0f, 65535.0f)));
}

// Every row as a sequence of its own, of as many values as the image is wide; filter changes it in place.
template <class RowFilter>
RawImage filterRows(const RawImage& image, RowFilter filter) {
    const int width = image.shape.width;
    RawImage filtered = filledImage<WORD>(image.shape, 0);
    FloatImage row = filledImage({width, 1}, 0.0f);
    for (int y = 0; y < image.shape.height; ++y) {
        std::copy_n(image.row(y), width, row.row(0));
        filter(row);
        std::transform(row.pixels.begin(), row.pixels.end(), filtered.row(y), roundedCount);
    }
    return filtered;
}

// Whether every pixel is the share of those that are at most as bright, in parts of the range.
bool isEqualized(const RawImage& image) {
    std::vector<WORD> sorted = image.pixels;
    std::ranges::sort(sorted);
    for (auto first = sorted.begin(); first != sorted.end();) {
        const WORD value = *first;
        first = std::upper_bound(first, sorted.end(), value);
        const auto atMost = static_cast<double>(first - sorted.begin());
        if (static_cast<WORD>(atMost / image.pixelCount() * 65535.0) != value)
            return false;
    }
    return true;
}

}  // namespace

RawImage medianOfRows(const RawImage& image, int radius) {
    requireSides(image.shape, {2 * radius + 1, 1});
    const auto size = static_cast<std::size_t>(2 * radius + 1);
    const auto edge = static_cast<std::ptrdiff_t>(radius);
    return filterRows(image, [=](FloatImage& row) {
        // Without memory the library changes nothing: one bright pixel in a dark window of its own tells.
        std::vector<float> longer = row.pixels;
        longer.resize(longer.size() + size, 0.0f);
        float& probe = longer.end()[-1 - edge];
        probe = 1.0f;
        medianFilter(longer.data(), static_cast<int>(longer.size()), radius);
        if (probe != 0.0f)
            throw std::bad_alloc();
        // The last pixels stay, which the windows beyond the row would change.
        std::copy_n(longer.begin() + edge, std::ssize(row.pixels) - 2 * edge, row.pixels.begin() + edge);
    });
}

RawImage medianOfColumns(const RawImage& image) {
    requireSides(image.shape, {1, kColumnWindow});
    RawImage filtered = copyOf(image);
    filterImg(filtered.row(0), image.shape.width, image.shape.height);
    return filtered;
}

RawImage equalize(const RawImage& image) {
    RawImage equalized = copyOf(image);
    hisEqualization(equalized.row(0), image.pixelCount());
    // As the library leaves an image without memory, too.
    if (equalized.pixels == image.pixels && !isEqualized(image))
        throw std::bad_alloc();
    return equalized;
}

RawImage smoothRows(const RawImage& image, int window) {
    FloatImage smooth = filledImage({image.shape.width, 1}, 0.0f);
    return filterRows(image, [&](FloatImage& row) {
        const int count = row.shape.width;
        if (filterUsingSGolay(smooth.row(0), row.row(0), count, kSmoothingOrder, window) != StatusOk)
            throw ToolError("rows of " + std::to_string(count) + " pixels cannot be smoothed with window " +
                                std::to_string(window) +
                                "; there are the windows 5, 7, 15, 23, 31 and 51, none longer than the row",
                            ExitCode::Usage);
        std::swap(row, smooth);
    });
}

FloatImage localRatio(const RawImage& image) {
    requireRatio(image.shape);
    FloatImage ratio = filledImage(image.shape, 1.0f);
    getMedianImage(ratio.row(0), image.row(0), image.shape.width, image.shape.height);
    return ratio;
}

void localRatio(const RawImage& image, const TakeRows& take) {
    // What is made of so many stays in the cache.
    constexpr int kBandRows = 64;
    requireRatio(image.shape);
    const int width = image.shape.width;
    const int inside = image.shape.height - 2 * kRatioBorder;
    FloatImage band = filledImage({width, std::min(inside, kBandRows) + 2 * kRatioBorder}, 1.0f);
    const auto takeRows = [&](int first, int count) {
        take({band.row(first), static_cast<std::size_t>(count) * static_cast<std::size_t>(width)});
    };
    // A band's upper border is never written: it serves as both of the image's.
    takeRows(0, kRatioBorder);
    for (int top = 0; top < inside; top += kBandRows) {
        const int rows = std::min(kBandRows, inside - top);
        getMedianImage(band.row(0), image.row(top), width, rows + 2 * kRatioBorder);
        takeRows(kRatioBorder, rows);
    }
    takeRows(0, kRatioBorder);
}

void requireRatio(const Shape& shape) {
    constexpr int kLeast = 2 * kRatioBorder + 1;
    requireSides(shape, {kLeast, kLeast});
}

}  // namespace qx::tool
