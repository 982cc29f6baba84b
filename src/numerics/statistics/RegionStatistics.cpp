#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "kernels/PixelKernels.h"
#include "numerics/statistics/PixelMedian.h"
#include "numerics/statistics/RegionMedian.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <span>

namespace {

using qx::ImageView;
using qx::Rect;

// The caller keeps regions inside the image, whose height is not told.
constexpr int kHeightUntold = INT_MAX;

// The side of a region from the first to the last one of its rows or columns: below 1 where they are reversed, and
// INT_MIN, which checkRegion refuses, where no int holds it.
int sideOf(int first, int last) {
    const std::int64_t side = std::int64_t{last} - first + 1;
    return std::abs(side) <= INT_MAX ? static_cast<int>(side) : INT_MIN;
}

Rect regionOf(int rowStart, int rowEnd, int columnStart, int columnEnd) {
    return {rowStart, columnStart, sideOf(rowStart, rowEnd), sideOf(columnStart, columnEnd)};
}

bool hasReversedRows(const Rect& region) {
    return region.height < 1;
}

template <class T>
bool startsBeforeImage(ImageView<const T> image, const Rect& region) {
    const auto indexInRow = [&](int y) { return std::int64_t{y} * image.width + region.left; };
    return std::min(indexInRow(region.top), indexInRow(region.top + (region.height - 1))) < 0;
}

template <class T>
int checkRegion(ImageView<const T> image, const Rect& region) {
    if (image.data == nullptr)
        return StatusNullArgument;
    const bool countable =
        region.height != INT_MIN && region.width != INT_MIN && region.pixels() >= 1 && region.pixels() <= INT_MAX;
    if (!countable)
        return StatusWrongParameter;
    if (!hasReversedRows(region) && startsBeforeImage(image, region))
        return StatusWrongParameter;
    return StatusOk;
}

// Copies the region's pixels row by row.
// Kept: a region with reversed rows counts as zeros.
template <class T>
void gather(ImageView<const T> image, const Rect& region, qx::Scratch<T>& pixels) {
    if (hasReversedRows(region)) {
        pixels.clear();
        return;
    }
    T* next = pixels.data();
    for (int i = 0; i < region.height; ++i)
        next = std::copy_n(image.row(region.top + i) + region.left, region.width, next);
}

template <class T, class Median>
int medianOfCopy(ImageView<const T> image, const Rect& region, const char* failureText, Median medianOf, int& median) {
    // Kept: a region without pixels is answered like a null image.
    if (region.height == 0 || region.width == 0)
        return StatusNullArgument;
    const int status = checkRegion(image, region);
    if (status != StatusOk)
        return status;
    qx::Scratch<T> pixels(region.height, region.width);
    if (!pixels) {
        WriteLogFile(LogModuleUtils, LogError, failureText, kLogNoValue);
        return StatusAllocationFailed;
    }
    gather(image, region, pixels);
    median = medianOf(pixels.span());
    return StatusOk;
}

// Kept: a status stands in for the median.
int medianOrStatus(int status, int median) {
    return status == StatusOk ? median : status;
}

}  // namespace

int qx::regionMedian(ImageView<const float> image, const Rect& region, int& median) noexcept {
    const auto upperMiddle = [](std::span<float> pixels) {
        return qx::truncateToInt(getFloatMedianByQuickMethod(pixels.data(), static_cast<int>(pixels.size())));
    };
    return medianOfCopy(image, region, "allocate failed in getROIMedian (float)", upperMiddle, median);
}

int getROIMedian(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    int median = 0;
    const int status =
        medianOfCopy(ImageView<const WORD>{image, width, kHeightUntold}, regionOf(rowStart, rowEnd, colStart, colEnd),
                     "allocate failed in getROIMedian (WORD)", qx::lowerMiddle, median);
    return medianOrStatus(status, median);
}

int getROIMedian(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    int median = 0;
    const int status =
        qx::regionMedian({image, width, kHeightUntold}, regionOf(rowStart, rowEnd, colStart, colEnd), median);
    return medianOrStatus(status, median);
}

int getROIMean(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    if (image == nullptr)
        return StatusNullArgument;
    // Kept: reversed rows have a mean of 0.
    if (rowStart > rowEnd)
        return 0;
    const ImageView<const WORD> view{image, width, kHeightUntold};
    const Rect region = regionOf(rowStart, rowEnd, colStart, colEnd);
    const int status = checkRegion(view, region);
    if (status != StatusOk)
        return status;
    std::int64_t sum = 0;
    for (int i = 0; i < region.height; ++i)
        sum += qx::pixelKernels().sum(view.row(region.top + i) + region.left, region.width);
    return static_cast<int>(sum / region.pixels());
}
