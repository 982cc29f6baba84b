#pragma once

#include "QxUtils/Types.h"
#include "foundation/ImageView.h"
#include "kernels/ExposureKernels.h"

#include <array>

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

// The differences of one block of 32 x 32 pixels of an exposure, and then of another one. It reads the blocks on the
// right as well, which come soonest then.
class DifferenceBlock {
public:
    explicit DifferenceBlock(const Exposure& exposure) noexcept : exposure_(exposure), kernels_(exposureKernels()) {}

    void take(int blockRow, int blockColumn) noexcept;

    // Whether every difference is above 0.
    bool isLit() const noexcept { return lowest_[at_] > 0; }

    // The upper middle: found soonest where the block is like the one before.
    WORD median() noexcept { return kernels_.median(differences(), pixelsAhead(), guess_); }

    // Adds every column, row by row, to two sums.
    void addColumns(float* sums, float* others) const noexcept { kernels_.addColumns(differences(), sums, others); }

private:
    static constexpr int kPixels = kBlockSide * kBlockSide;

    void takeFrom(int blockRow, int blockColumn) noexcept;
    const WORD* differences() const noexcept { return &differences_[at_ * kPixels]; }

    // Fetched while the block's median is found: a block has more rows than the processor follows by itself.
    PixelsAhead pixelsAhead() const noexcept;

    Exposure exposure_;
    const ExposureKernels& kernels_;
    alignas(64) std::array<WORD, kBlocksAtOnce * kPixels> differences_;
    std::array<int, kBlocksAtOnce> lowest_{};
    int row_ = 0;
    int firstColumn_ = 0;
    int count_ = 0;
    int at_ = 0;
    MedianGuess guess_;
};

}  // namespace qx
