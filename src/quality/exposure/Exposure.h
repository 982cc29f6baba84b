#pragma once

#include "QxUtils/Types.h"
#include "foundation/FloatRows.h"
#include "foundation/Scratch.h"
#include "kernels/RankKernels.h"

#include <cstddef>

namespace qx {

// An exposed image and its dark image, row-major and of the same size. Their difference is formed where it is needed: 0
// where the dark image is brighter.
struct Exposure {
    const WORD* image;
    const WORD* dark;
    int width;
    int height;

    std::ptrdiff_t index(int row, int column) const noexcept {
        return static_cast<std::ptrdiff_t>(row) * width + column;
    }

    // Differences of `count` pixels from a position on.
    void differences(int row, int column, int count, WORD* out) const noexcept {
        const WORD* const bright = image + index(row, column);
        const WORD* const black = dark + index(row, column);
        for (int i = 0; i < count; ++i)
            out[i] = static_cast<WORD>(bright[i] > black[i] ? bright[i] - black[i] : 0);
    }

    int blockColumns() const noexcept { return width / kBlockSide; }
    int blockRows() const noexcept { return height / kBlockSide; }
};

// The upper middle of the differences in a block of 32 x 32 pixels.
WORD blockMedian(const Exposure& exposure, int blockRow, int blockColumn) noexcept;

// Rows of an exposure as float values that `difference` forms from a pixel of each image; test before use.
template <float (*difference)(WORD bright, WORD dark) noexcept>
class ExposureRows final : public FloatRows {
public:
    explicit ExposureRows(const Exposure& exposure) noexcept
        : FloatRows(exposure.width, exposure.height), exposure_(exposure),
          row_(static_cast<std::size_t>(exposure.width)) {}

    explicit operator bool() const noexcept { return static_cast<bool>(row_); }

    const float* row(int y) noexcept override {
        const WORD* const bright = exposure_.image + exposure_.index(y, 0);
        const WORD* const dark = exposure_.dark + exposure_.index(y, 0);
        float* const values = row_.data();
        for (int x = 0; x < exposure_.width; ++x)
            values[x] = difference(bright[x], dark[x]);
        return values;
    }

    float pixel(int y, int x) const noexcept override {
        return difference(exposure_.image[exposure_.index(y, x)], exposure_.dark[exposure_.index(y, x)]);
    }

private:
    Exposure exposure_;
    Scratch<float> row_;
};

}  // namespace qx
