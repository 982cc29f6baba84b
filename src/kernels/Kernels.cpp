#include "kernels/AfeKernels.h"
#include "kernels/Base64Kernels.h"
#include "kernels/ColumnKernels.h"
#include "kernels/CrcKernels.h"
#include "kernels/ExposureKernels.h"
#include "kernels/FrameKernels.h"
#include "kernels/HistogramKernels.h"
#include "kernels/PixelKernels.h"
#include "kernels/Processor.h"
#include "kernels/RankKernels.h"
#include "kernels/SplineKernels.h"
#include "kernels/SumKernels.h"
#include "kernels/SurfaceKernels.h"
#include "kernels/VectorLevel.h"
#include "kernels/WindowKernels.h"

#include <algorithm>

// Which table of each purpose is used.

namespace qx {
namespace {

// Where the processor lacks the products of the level in use, a lower level's table serves.
const VectorLevel crcLimit = processorCrcLevel();

}  // namespace

#define QX_CASE(Kernels, level, instructions)                                                                          \
    case VectorLevel::level:                                                                                           \
        return k##Kernels##level;
#define QX_CHOOSE(Kernels, function, chosen)                                                                           \
    const Kernels& function() noexcept {                                                                               \
        switch (chosen) { QX_FOR_LEVELS(QX_CASE, Kernels) }                                                            \
        return k##Kernels##Baseline;                                                                                   \
    }

QX_CHOOSE(AfeKernels, afeKernels, vectorLevel())
QX_CHOOSE(Base64Kernels, base64Kernels, vectorLevel())
QX_CHOOSE(ColumnKernels, columnKernels, vectorLevel())
QX_CHOOSE(CrcKernels, crcKernels, std::min(vectorLevel(), crcLimit))
QX_CHOOSE(ExposureKernels, exposureKernels, vectorLevel())
QX_CHOOSE(FrameKernels, frameKernels, vectorLevel())
QX_CHOOSE(HistogramKernels, histogramKernels, vectorLevel())
QX_CHOOSE(PixelKernels, pixelKernels, vectorLevel())
QX_CHOOSE(RankKernels, rankKernels, vectorLevel())
QX_CHOOSE(SplineKernels, splineKernels, vectorLevel())
QX_CHOOSE(SumKernels, sumKernels, vectorLevel())
QX_CHOOSE(SurfaceKernels, surfaceKernels, vectorLevel())
QX_CHOOSE(WindowKernels, windowKernels, vectorLevel())

}  // namespace qx
