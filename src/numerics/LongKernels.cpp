#include "numerics/LongKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const LongKernels& longKernels() noexcept {
    return kernelsInUse(kLongKernelsBaseline, kLongKernelsV3, kLongKernelsV4);
}

}  // namespace qx
