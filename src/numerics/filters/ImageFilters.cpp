#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CacheLine.h"
#include "foundation/ImageView.h"
#include "foundation/Panels.h"
#include "foundation/Scratch.h"
#include "kernels/HistogramKernels.h"
#include "kernels/WindowKernels.h"
#include "numerics/statistics/PixelHistogram.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace {

using qx::kCacheLineBytes;

// Rows above and below in the windows of filterImg.
constexpr int kColumnHalf = 2;
constexpr int kFilteredColumns = 4096;

// Columns before the first one that starts a cache line in every row.
int columnsBeforeLine(const WORD* image, int width) noexcept {
    constexpr int kLinePixels = kCacheLineBytes / sizeof(WORD);
    return width % kLinePixels == 0 ? qx::valuesBeforeLine(image) : 0;
}

void filterPanel(qx::ImageView<WORD> image, int firstColumn, int columns) noexcept {
    struct alignas(kCacheLineBytes) Row : std::array<WORD, kFilteredColumns> {};
    std::array<Row, kColumnHalf> rows;
    const std::array<WORD*, kColumnHalf> above = {rows[0].data(), rows[1].data()};
    for (int y = 0; y < kColumnHalf; ++y)
        std::copy_n(image.row(y) + firstColumn, columns, above[y]);
    const qx::WindowKernels& kernels = qx::windowKernels();
    // Kept: the first and the last two rows stay.
    const int end = image.height - kColumnHalf;
    const std::ptrdiff_t stride = image.width;
    WORD* row = image.row(kColumnHalf) + firstColumn;
    for (int y = kColumnHalf; y + 1 < end; y += 2, row += 2 * stride)
        kernels.mediansOfFive(row, stride, columns, above.data(), row + 3 * stride, row + stride);
    if ((end - kColumnHalf) % 2 == 0)
        return;
    // The last row has no partner: the medians of the row that stays go nowhere.
    Row unused;
    kernels.mediansOfFive(row, stride, columns, above.data(), row + 2 * stride, unused.data());
}

// Values of pixels by the share of pixels that are at most as bright.
// Kept: the darkest value does not become 0.
void fillLevels(const std::uint32_t* counts, int n, WORD* levels) noexcept {
    constexpr std::uint32_t kSparsePixels = qx::kValueBlock / 8;
    const qx::CountBlocks blocks(counts);
    double atMost = 0.0;
    for (int block = 0; block < qx::kValueBlocks; ++block) {
        const std::uint32_t pixels = blocks.pixels(block);
        if (pixels == 0)
            continue;
        // Where most values occur, a level too many takes less time than to foresee which do not.
        const bool isSparse = pixels < kSparsePixels;
        const int first = block * qx::kValueBlock;
        for (int value = first; value < first + qx::kValueBlock; ++value) {
            if (isSparse && counts[value] == 0)
                continue;
            atMost += counts[value];
            levels[value] = static_cast<WORD>(atMost / n * 65535.0);
        }
    }
}

}  // namespace

int filterImg(WORD* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (width < 1 || height <= 2 * kColumnHalf)
        return StatusOk;
    const auto filter = [=](int first, int columns) { filterPanel({image, width, height}, first, columns); };
    const int before = columnsBeforeLine(image, width);
    if (before > 0)
        filter(0, before);
    qx::forPanels(width - before, kFilteredColumns, [=](int first, int columns) { filter(before + first, columns); });
    return StatusOk;
}

void hisEqualization(WORD* pixels, int n) {
    if (pixels == nullptr || n < 1)
        return;
    qx::PixelHistogram histogram;
    // A look-up may read the next level too. The pair of the largest value, which saturated images have most, would
    // span two pages if the first level came first.
    qx::Scratch<WORD> memory(1 + qx::kPixelValues + 1);
    if (!histogram || !memory)
        return;
    WORD* const levels = memory.data() + 1;
    histogram.add(std::span(pixels, n));
    fillLevels(histogram.counts(), n, levels);
    qx::histogramKernels().replace(pixels, n, levels);
}
