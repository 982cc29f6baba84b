#include "numerics/FloatKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const FloatKernels& floatKernels() noexcept {
    switch (vectorLevel()) {
    case VectorLevel::V4:
        return kFloatKernelsV4;
    case VectorLevel::V3:
        return kFloatKernelsV3;
    default:
        return kFloatKernelsBaseline;
    }
}

}  // namespace qx
