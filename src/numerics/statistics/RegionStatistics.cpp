#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "kernels/PixelKernels.h"
#include "numerics/statistics/PixelMedian.h"
#include "numerics/statistics/RegionMedian.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>

namespace {

struct Region {
    std::int64_t rowStart;
    std::int64_t rowEnd;
    std::int64_t columnStart;
    std::int64_t columnEnd;
    std::int64_t width;

    std::int64_t rows() const { return rowEnd - rowStart + 1; }
    std::int64_t columns() const { return columnEnd - columnStart + 1; }
    std::int64_t pixels() const { return rows() * columns(); }
    bool isEmpty() const { return rows() == 0 || columns() == 0; }
    bool rowsReversed() const { return rowStart > rowEnd; }
    std::int64_t firstIndex(std::int64_t row) const { return row * width + columnStart; }
    bool startsBeforeImage() const { return std::min(firstIndex(rowStart), firstIndex(rowEnd)) < 0; }
};

int checkRegion(const void* image, const Region& region) {
    if (image == nullptr)
        return StatusNullArgument;
    const bool countable = std::abs(region.rows()) <= INT_MAX && std::abs(region.columns()) <= INT_MAX &&
                           region.pixels() >= 1 && region.pixels() <= INT_MAX;
    if (!countable)
        return StatusWrongParameter;
    if (!region.rowsReversed() && region.startsBeforeImage())
        return StatusWrongParameter;
    return StatusOk;
}

// Copies the region's pixels row by row. Kept: a region with reversed rows counts as zeros.
template <class T>
void gather(const T* image, const Region& region, qx::Scratch<T>& pixels) {
    if (region.rowsReversed()) {
        pixels.clear();
        return;
    }
    T* next = pixels.data();
    for (std::int64_t row = region.rowStart; row <= region.rowEnd; ++row)
        next = std::copy_n(image + region.firstIndex(row), region.columns(), next);
}

template <class T, class Median>
int medianOfCopy(const T* image, const Region& region, const char* failureText, Median medianOf, int& median) {
    if (region.isEmpty())
        return StatusNullArgument;
    const int status = checkRegion(image, region);
    if (status != StatusOk)
        return status;
    qx::Scratch<T> pixels(static_cast<std::size_t>(region.pixels()));
    if (!pixels) {
        WriteLogFile(LogModuleUtils, LogError, failureText, kLogNoValue);
        return StatusAllocationFailed;
    }
    gather(image, region, pixels);
    median = medianOf(pixels.data(), static_cast<int>(region.pixels()));
    return StatusOk;
}

// Kept: a status stands in for the median.
int medianOrStatus(int status, int median) {
    return status == StatusOk ? median : status;
}

}  // namespace

int qx::regionMedian(const float* image, int rowStart, int rowEnd, int columnStart, int columnEnd, int width,
                     int& median) noexcept {
    return medianOfCopy(
        image, Region{rowStart, rowEnd, columnStart, columnEnd, width}, "allocate failed in getROIMedian (float)",
        [](float* pixels, int count) { return qx::truncateToInt(getFloatMedianByQuickMethod(pixels, count)); }, median);
}

int getROIMedian(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    int median = 0;
    const int status = medianOfCopy(
        image, Region{rowStart, rowEnd, colStart, colEnd, width}, "allocate failed in getROIMedian (WORD)",
        [](const WORD* pixels, int count) -> int { return qx::lowerMiddle(pixels, static_cast<std::size_t>(count)); },
        median);
    return medianOrStatus(status, median);
}

int getROIMedian(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    int median = 0;
    const int status = qx::regionMedian(image, rowStart, rowEnd, colStart, colEnd, width, median);
    return medianOrStatus(status, median);
}

int getROIMean(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    if (image == nullptr)
        return StatusNullArgument;
    if (rowStart > rowEnd)
        return 0;
    const Region region{rowStart, rowEnd, colStart, colEnd, width};
    const int status = checkRegion(image, region);
    if (status != StatusOk)
        return status;
    std::int64_t sum = 0;
    for (std::int64_t row = region.rowStart; row <= region.rowEnd; ++row)
        sum += qx::pixelKernels().sum(image + region.firstIndex(row), static_cast<std::size_t>(region.columns()));
    return static_cast<int>(sum / region.pixels());
}
