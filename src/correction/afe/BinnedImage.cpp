#include "QxUtils/Correction.h"

#include "QxUtils/StatusCode.h"
#include "foundation/ImageView.h"
#include "numerics/statistics/BlockMedians.h"

#include <algorithm>

int cutBinningImage(float* out, const float* image, int width, int height, int border) {
    if (out == nullptr || image == nullptr)
        return StatusNullArgument;
    if (border < 0 || !qx::isImageSize(width, height))
        return StatusWrongParameter;
    if (border > std::min(width, height) / 2)
        return StatusOk;
    const qx::ImageView<const float> source{image, width, height};
    for (int y = border; y < height - border; ++y)
        out = std::copy_n(source.row(y) + border, width - 2 * border, out);
    return StatusOk;
}

int doBinningSample(float* out, const float* image, int width, int height) {
    if (out == nullptr || image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    const qx::ImageView<const float> source{image, width, height};
    const qx::ImageView<float> medians{out, width / qx::kBlockSide, height / qx::kBlockSide};
    for (int y = 0; y < medians.height; ++y)
        qx::blockMedians(source.row(y * qx::kBlockSide), width, medians.width, medians.row(y));
    return StatusOk;
}
