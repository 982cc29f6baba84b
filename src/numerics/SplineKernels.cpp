#include "numerics/SplineKernels.h"

#include "foundation/VectorLevel.h"

namespace qx {

const SplineKernels& splineKernels() noexcept {
    return kernelsInUse(kSplineKernelsBaseline, kSplineKernelsV3, kSplineKernelsV4);
}

}  // namespace qx
