#include "numerics/PixelKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const PixelKernels& pixelKernels() noexcept {
    return kernelsInUse(kPixelKernelsBaseline, kPixelKernelsV3, kPixelKernelsV4);
}

}  // namespace qx
