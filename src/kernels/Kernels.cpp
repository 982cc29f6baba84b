#include "kernels/AfeKernels.h"
#include "kernels/FrameKernels.h"
#include "kernels/PixelKernels.h"
#include "kernels/RankKernels.h"
#include "kernels/SplineKernels.h"
#include "kernels/SumKernels.h"
#include "kernels/VectorLevel.h"
#include "kernels/WindowKernels.h"

// Which set of kernels is used.

namespace qx {

const AfeKernels& afeKernels() noexcept {
    return kernelsInUse(kAfeKernelsBaseline, kAfeKernelsV3, kAfeKernelsV4);
}

const FrameKernels& frameKernels() noexcept {
    return kernelsInUse(kFrameKernelsBaseline, kFrameKernelsV3, kFrameKernelsV4);
}

const PixelKernels& pixelKernels() noexcept {
    return kernelsInUse(kPixelKernelsBaseline, kPixelKernelsV3, kPixelKernelsV4);
}

const RankKernels& rankKernels() noexcept {
    return kernelsInUse(kRankKernelsBaseline, kRankKernelsV3, kRankKernelsV4);
}

const SplineKernels& splineKernels() noexcept {
    return kernelsInUse(kSplineKernelsBaseline, kSplineKernelsV3, kSplineKernelsV4);
}

const SumKernels& sumKernels() noexcept {
    return kernelsInUse(kSumKernelsBaseline, kSumKernelsV3, kSumKernelsV4);
}

const WindowKernels& windowKernels() noexcept {
    return kernelsInUse(kWindowKernelsBaseline, kWindowKernelsV3, kWindowKernelsV4);
}

}  // namespace qx
