#include "numerics/FloatKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const FloatKernels& floatKernels() noexcept {
    return kernelsInUse(kFloatKernelsBaseline, kFloatKernelsV3, kFloatKernelsV4);
}

}  // namespace qx
