#include "quality/exposure/Exposure.h"

namespace qx {

void DifferenceBlock::take(int blockRow, int blockColumn) noexcept {
    const int top = blockRow * kBlockSide;
    const int left = blockColumn * kBlockSide;
    lowest_ = kernels_.differences(&exposure_.image.at(top, left), &exposure_.dark.at(top, left), exposure_.width(),
                                   differences_.data());
}

}  // namespace qx
