#pragma once

#include "QxUtils/Types.h"
#include "foundation/FloatRows.h"
#include "foundation/ImageView.h"
#include "foundation/Scratch.h"
#include "kernels/RankKernels.h"

namespace qx {

// An exposed image and its dark image, of the same size; there may be no dark image. Their difference is formed where
// it is needed: 0 where the dark image is brighter.
struct Exposure {
    Exposure(const WORD* exposed, const WORD* unexposed, int width, int height) noexcept
        : image{exposed, width, height}, dark{unexposed, width, height} {}

    // Differences of `count` pixels from a position on.
    void differences(int row, int column, int count, WORD* out) const noexcept {
        const WORD* const bright = &image.at(row, column);
        const WORD* const black = &dark.at(row, column);
        for (int i = 0; i < count; ++i)
            out[i] = bright[i] > black[i] ? bright[i] - black[i] : 0;
    }

    int width() const noexcept { return image.width; }
    int height() const noexcept { return image.height; }
    int blockColumns() const noexcept { return image.width / kBlockSide; }
    int blockRows() const noexcept { return image.height / kBlockSide; }

    ImageView<const WORD> image;
    ImageView<const WORD> dark;
};

// The upper middle of the differences in a block of 32 x 32 pixels.
WORD blockMedian(const Exposure& exposure, int blockRow, int blockColumn) noexcept;

// Rows of an exposure as float values that `difference` forms from a pixel of each image; test before use.
template <float (*difference)(WORD bright, WORD dark) noexcept>
class ExposureRows final : public FloatRows {
public:
    explicit ExposureRows(const Exposure& exposure) noexcept
        : FloatRows(exposure.width(), exposure.height()), exposure_(exposure), row_(exposure.width()) {}

    explicit operator bool() const noexcept { return static_cast<bool>(row_); }

    const float* row(int y) noexcept override {
        const WORD* const bright = exposure_.image.row(y);
        const WORD* const dark = exposure_.dark.row(y);
        float* const values = row_.data();
        for (int x = 0; x < exposure_.width(); ++x)
            values[x] = difference(bright[x], dark[x]);
        return values;
    }

    float pixel(int y, int x) const noexcept override {
        return difference(exposure_.image.at(y, x), exposure_.dark.at(y, x));
    }

private:
    Exposure exposure_;
    Scratch<float> row_;
};

}  // namespace qx
