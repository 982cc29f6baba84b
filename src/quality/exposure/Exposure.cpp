#include "quality/exposure/Exposure.h"

#include <algorithm>

namespace qx {

void DifferenceBlock::take(int blockRow, int blockColumn) noexcept {
    if (blockRow != row_ || blockColumn < firstColumn_ || blockColumn >= firstColumn_ + count_)
        takeFrom(blockRow, blockColumn);
    at_ = blockColumn - firstColumn_;
}

void DifferenceBlock::takeFrom(int blockRow, int blockColumn) noexcept {
    const int top = blockRow * kBlockSide;
    const int left = blockColumn * kBlockSide;
    row_ = blockRow;
    firstColumn_ = blockColumn;
    count_ = std::min(kBlocksAtOnce, exposure_.blockColumns() - blockColumn);
    kernels_.differences({&exposure_.image.at(top, left), &exposure_.dark.at(top, left), exposure_.width(), count_},
                         differences_.data(), lowest_.data());
}

PixelsAhead DifferenceBlock::pixelsAhead() const noexcept {
    const bool isLast = firstColumn_ + count_ == exposure_.blockColumns();
    const std::ptrdiff_t top = std::ptrdiff_t{row_ + isLast} * kBlockSide + at_ * kRowsAhead;
    const int left = isLast ? 0 : (firstColumn_ + count_) * kBlockSide;
    return {exposure_.image.data, exposure_.dark.data, top * exposure_.width() + left, exposure_.width()};
}

}  // namespace qx
