#pragma once

#include "correction/stripe/StripeRatio.h"

namespace qx {

// The columns that resemble each other most, in ascending order, of those sampled from a band whose pixels are relative
// to the reference row. `columns` has room for all of them. Returns how many there are, or kNoStripeMemory.
int findHomogeneousColumns(const ImageView<const double>& sampled, std::span<int> columns) noexcept;

}  // namespace qx
