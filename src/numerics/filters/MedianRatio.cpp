#include "QxUtils/Numerics.h"

#include "QxUtils/StatusCode.h"
#include "foundation/CacheLine.h"
#include "foundation/ImageView.h"
#include "foundation/Panels.h"
#include "kernels/WindowKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

using qx::kCacheLineBytes;

// A panel of columns. Windows of eleven that start at an even place p and at p + 1 form a pair, along the rows as down
// the columns. Of the twelve places both together look at, in order,
//   p | p+1 .. p+4 | p+5 .. p+8 | p+9, p+10 | p+11
// the first one is the first window's alone, the last one the second window's; they share two fours and two more. Fours
// are ordered once: the second four of the windows at p is the first one of those at p + 4. Along a row, place p + 2 k
// is pixel k of the even ones behind p, p + 1 + 2 k that of the odd ones.
class RatioPanel {
public:
    static constexpr int kColumns = 384;

    // So many windows side by side, the first ones from a column on.
    RatioPanel(qx::ImageView<const WORD> image, int firstColumn, int columns)
        : image_(image), firstColumn_(firstColumn), columns_(columns),
          half_(((columns + 1) / 2 + qx::kPixelRoom - 1) / qx::kPixelRoom * qx::kPixelRoom) {}

    void write(qx::ImageView<float> out) noexcept {
        for (int y = 0; y < image_.height; ++y) {
            addRow(y);
            if (y % 2 == 0 && y >= qx::kFour)
                orderRows(y - qx::kFour);
            if (y % 2 == 1 && y >= qx::kRatioWindow)
                writeRows(y - qx::kRatioWindow, 2, out);
        }
        // The last windows have no partner when their number is odd.
        if (image_.height % 2 == 1)
            writeRows(image_.height - qx::kRatioWindow, 1, out);
    }

private:
    static constexpr int kCentre = qx::kRatioWindow / 2;
    static constexpr int kRowsAhead = 2;  // the processor itself does not look from one row's piece to the next
    static constexpr int kRowsHeld = qx::kRatioWindow + 1;
    static constexpr int kFoursHeld = 4;
    static constexpr int kHalfCapacity = kColumns / 2;
    using Half = std::array<WORD, kHalfCapacity + qx::kPixelRoom>;
    using Row = std::array<WORD, 2 * kHalfCapacity>;
    using Fours = std::array<Row, qx::kFour>;

    // Medians along a row: those of the windows of even index, then those of odd index.
    void addRow(int y) noexcept {
        kernels_.split(image_.row(y) + firstColumn_, rowsAhead(), columns_ + qx::kRatioWindow - 1, even_.data(),
                       odd_.data());
        const WORD* const even = even_.data();
        const WORD* const odd = odd_.data();
        const std::array<const WORD*, qx::kFour> pixels = {odd, even + 1, odd + 1, even + 2};
        const std::array<WORD*, qx::kFour> f = {fours_[0].data(), fours_[1].data(), fours_[2].data(), fours_[3].data()};
        kernels_.orderFours(pixels.data(), half_ + 2, f.data());
        const qx::WindowPair windows = {
            {f[0], f[1], f[2], f[3]}, {f[0] + 2, f[1] + 2, f[2] + 2, f[3] + 2}, {odd + 4, even + 5}, even, odd + 5};
        WORD* const medians = row(y);
        kernels_.mediansOfEleven(windows, half_, medians, medians + half_);
    }

    // The four rows after an even one.
    void orderRows(int y) noexcept {
        const std::array<const WORD*, qx::kFour> rows = {row(y + 1), row(y + 2), row(y + 3), row(y + 4)};
        Fours& f = foursAfter(y);
        const std::array<WORD*, qx::kFour> ordered = {f[0].data(), f[1].data(), f[2].data(), f[3].data()};
        kernels_.orderFours(rows.data(), 2 * half_, ordered.data());
    }

    // Ratios of the windows from an even row on, and of those from the next one on.
    // Kept: nothing guards a division by a pixel of 0, and the border is not written.
    void writeRows(int y, int count, qx::ImageView<float> out) noexcept {
        const Fours& a = foursAfter(y);
        const Fours& b = foursAfter(y + qx::kFour);
        const qx::WindowPair windows = {{a[0].data(), a[1].data(), a[2].data(), a[3].data()},
                                        {b[0].data(), b[1].data(), b[2].data(), b[3].data()},
                                        {row(y + 9), row(y + 10)},
                                        row(y),
                                        row(y + 11)};
        alignas(kCacheLineBytes) std::array<Row, 2> medians;
        kernels_.mediansOfEleven(windows, 2 * half_, medians[0].data(), medians[1].data());
        for (int i = 0; i < count; ++i) {
            const int row = y + i + kCentre;
            const int column = firstColumn_ + kCentre;
            kernels_.ratios(medians[i].data(), medians[i].data() + half_, image_.row(row) + column, columns_,
                            out.row(row) + column, rowsAhead());
        }
    }

    std::ptrdiff_t rowsAhead() const noexcept { return kRowsAhead * std::ptrdiff_t{image_.width}; }

    // Medians along a row, and the ordered fours of the four rows after an even one.
    WORD* row(int y) noexcept { return medians_[y % kRowsHeld].data(); }
    Fours& foursAfter(int y) noexcept { return rowFours_[y / 2 % kFoursHeld]; }

    const qx::WindowKernels& kernels_ = qx::windowKernels();
    qx::ImageView<const WORD> image_;
    int firstColumn_;
    int columns_;
    int half_;  // windows of even index, and of odd index, in whole vectors
    // Vectors that cross cache lines would take twice as long.
    alignas(kCacheLineBytes) Half even_{};
    alignas(kCacheLineBytes) Half odd_{};
    alignas(kCacheLineBytes) std::array<Half, qx::kFour> fours_{};
    alignas(kCacheLineBytes) std::array<Row, kRowsHeld> medians_{};
    alignas(kCacheLineBytes) std::array<Fours, kFoursHeld> rowFours_{};
};

}  // namespace

int getMedianImage(float* out, const WORD* image, int width, int height) {
    if (out == nullptr || image == nullptr)
        return StatusNullArgument;
    if (width < qx::kRatioWindow || height < qx::kRatioWindow)
        return StatusOk;
    qx::forPanels(width - qx::kRatioWindow + 1, RatioPanel::kColumns, [=](int x, int columns) {
        RatioPanel({image, width, height}, x, columns).write({out, width, height});
    });
    return StatusOk;
}
