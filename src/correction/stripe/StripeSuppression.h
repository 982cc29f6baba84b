#pragma once

#include "QxUtils/Types.h"

#include <cstdint>

namespace qx {

// The rows around the trigger line from which the stripe above it is measured. Row kTriggerRow is the trigger line.
inline constexpr int kBandRows = 35;
inline constexpr int kTriggerRow = 25;

// What both corrections log when the rows around the trigger line are not all there.
inline constexpr char kBandOutsideWindow[] =
    "unable to proceed since the band lays outside the detected window frame, or it is too close to the upper or lower "
    "side of the detected window.";

// Returned in place of a number of rows.
inline constexpr int kNoStripeRatio = -1;
inline constexpr int kNoStripeMemory = -2;

// The detector's largest gray value, as correctAedStripeClinic read it last: corrected pixels end there, and columns
// above 0.8 of it are not used.
extern std::uint32_t maxGrayValue;

// The signal of each band row relative to the row above the trigger line: kBandRows values. Returns how many rows above
// the trigger line depart, 0 to 24; kNoStripeRatio when the band does not tell, kNoStripeMemory when memory is short.
// Logs its course.
int calcStripeRatio(double* ratio, const WORD* band, int width) noexcept;

// The columns that resemble each other most, in ascending order, of `count` columns sampled from the normalised band,
// which holds kBandRows rows of them. columns has room for all of them. Returns how many there are, or kNoStripeMemory.
int findHomogeneousColumns(const double* sampled, int count, int* columns) noexcept;

// How many rows above the trigger line depart from a straight line to it: 0 to 23.
int countRowsToCompensate(const double* ratio) noexcept;

// Rescales the rows above the trigger line, at most 24, so that their signal follows a straight line from the row above
// them to the trigger line. Reads `source` and writes `destination`, bands of `width` columns. Returns 0.
int removeGenericStripe(WORD* destination, const WORD* source, int width, const double* ratio, int rows) noexcept;

}  // namespace qx
