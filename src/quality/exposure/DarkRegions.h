#pragma once

#include <cstdint>

namespace qx {

// Looks for a shadow in the block medians of an exposed image: values below `fraction` of the maximum, which is lowered
// with the distance from the brightest value. Returns 1062 when such values form an 8-connected region of more than
// `allowedSize`, else 0; 1035 when memory is short. Logs what it finds.
int findDarkRegion(const float* blocks, int width, int height, float fraction, int allowedSize);

// Size of the largest 8-connected region of marked (non-zero) values; -1 when memory is short.
int largestRegion(const std::uint8_t* marked, int width, int height);

}  // namespace qx
