#pragma once

namespace qx {

// The counts of a pixel without signal in an image that the detector has corrected for its offset.
inline constexpr int kPedestal = 208;

}  // namespace qx
