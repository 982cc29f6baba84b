#pragma once

#include "kernels/VectorLevel.h"

namespace qx {

// Steps of the AFE balance over a row of values.
struct AfeKernels {
    // Values at or below 0 become `floor`; memory is written only where there are such values.
    void (*raise)(float* row, int count, float floor) noexcept;

    // sums[x] += row[x].
    void (*add)(const float* row, int count, float* sums) noexcept;

    // Multiplies the values below `limit`, each by its factor.
    void (*scaleBelow)(float* row, int count, const float* factors, float limit) noexcept;
};

// The kernels of the vector level in use.
const AfeKernels& afeKernels() noexcept;

QX_DECLARE_TABLES(AfeKernels)

}  // namespace qx
