#include "numerics/PixelKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const PixelKernels& pixelKernels() noexcept {
    switch (vectorLevel()) {
    case VectorLevel::V4:
        return kPixelKernelsV4;
    case VectorLevel::V3:
        return kPixelKernelsV3;
    default:
        return kPixelKernelsBaseline;
    }
}

}  // namespace qx
