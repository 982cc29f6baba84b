#pragma once

#include "correction/stripe/StripeSuppression.h"

namespace qx {

// Returned in place of a number of rows or columns.
inline constexpr int kNoStripeRatio = -1;
inline constexpr int kNoStripeMemory = -2;

// The signal of each row of the band relative to the reference row. Returns how many rows above the trigger line
// depart, 0 to 24; kNoStripeRatio when the band does not tell, kNoStripeMemory when memory is short. Logs its course.
int calcStripeRatio(const ImageView<const WORD>& band, std::span<double, kBandRows> ratio) noexcept;

// How many rows above the trigger line depart from a straight line to it: 0 to 23.
int countRowsToCompensate(std::span<const double, kBandRows> ratio) noexcept;

}  // namespace qx
