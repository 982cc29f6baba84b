#pragma once

#include "QxUtils/Types.h"
#include "foundation/ImageView.h"

#include <cstdint>
#include <span>

namespace qx {

// The band: the rows around the trigger line from which the stripe above it is measured. Every row is seen relative to
// the one above the trigger line, the reference row.
inline constexpr int kBandRows = 35;
inline constexpr int kTriggerRow = 25;
inline constexpr int kReferenceRow = kTriggerRow - 1;
inline constexpr int kRowsBelow = kBandRows - kTriggerRow - 1;

// What both corrections log when the rows around the trigger line are not all there.
inline constexpr char kBandOutsideWindow[] =
    "unable to proceed since the band lays outside the detected window frame, or it is too close to the upper or lower "
    "side of the detected window.";

// The detector's largest gray value, as correctAedStripeClinic read it last: corrected pixels end there, and columns
// above 0.8 of it are not used.
extern std::uint32_t maxGrayValue;

// Rescales the rows above the trigger line, at most 24, so that their signal, whose ratio to that of the reference row
// is given, follows a straight line from the row above them to the trigger line. Reads `source` and writes
// `destination`, which may be the same band. Returns 0. Logs its course.
int removeGenericStripe(const ImageView<WORD>& destination, const ImageView<const WORD>& source,
                        std::span<const double, kBandRows> ratio, int rows) noexcept;

}  // namespace qx
