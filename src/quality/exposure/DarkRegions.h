#pragma once

#include "foundation/ImageView.h"
#include "quality/Measure.h"

#include <cstdint>

namespace qx {

// The shadow in the block medians of an exposed image.
struct DarkRegion {
    int darkBlocks = 0;
    int largest = 0;  // blocks of the largest 8-connected region of them
};

// Looks for values below `fraction` of the maximum, which is lowered with the distance from the brightest value; there
// may be no values at all. Returns 0, or 1035 when memory is short: darkBlocks is told then, too. `inside`, unless it
// has no memory, receives 1 for the values of the largest region and 0 for all others.
int measureDarkRegion(ImageView<const float> blocks, float fraction, DarkRegion& region,
                      ImageView<std::uint8_t> inside = {});

// How large the region is beside what is allowed.
inline Measure sizeOf(const DarkRegion& region, int allowedSize) noexcept {
    return {region.largest, MeasureAtMost, allowedSize};
}

// Measures and judges: 1062 for a region of more than `allowedSize`. Logs what it finds.
int findDarkRegion(ImageView<const float> blocks, float fraction, int allowedSize);

// Size of the largest 8-connected region of marked (non-zero) values, -1 when memory is short; `inside` as above.
int largestRegion(ImageView<const std::uint8_t> marked, ImageView<std::uint8_t> inside = {});

}  // namespace qx
