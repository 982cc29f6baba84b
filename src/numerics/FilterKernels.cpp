#include "numerics/FilterKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const FilterKernels& filterKernels() noexcept {
    return kernelsInUse(kFilterKernelsBaseline, kFilterKernelsV3, kFilterKernelsV4);
}

}  // namespace qx
