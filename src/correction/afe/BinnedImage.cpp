#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

int cutBinningImage(float* out, const float* image, int width, int height, int border) {
    if (out == nullptr || image == nullptr)
        return StatusNullArgument;
    if (border < 0 || !qx::isImageSize(width, height))
        return StatusWrongParameter;
    const std::int64_t columns = width - 2 * static_cast<std::int64_t>(border);
    if (columns < 1)
        return StatusOk;
    for (std::int64_t y = border; y < static_cast<std::int64_t>(height) - border; ++y)
        out = std::copy_n(image + y * width + border, columns, out);
    return StatusOk;
}

int doBinningSample(float* out, const float* image, int width, int height) {
    if (out == nullptr || image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    const int blocks = width / qx::kBlockSide;
    const std::ptrdiff_t blockRow = static_cast<std::ptrdiff_t>(qx::kBlockSide) * width;
    for (int row = 0; row < height / qx::kBlockSide; ++row, out += blocks)
        qx::blockMedians(image + row * blockRow, width, blocks, out);
    return StatusOk;
}
