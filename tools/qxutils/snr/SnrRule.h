#pragma once

#include "common/Shape.h"

#include <cstddef>
#include <vector>

// The library's rule for an SNR series, to name its squares and draw its limits; the verdicts are the library's own.

namespace qx::tool {

// An image whose shorter side is smaller has no series.
inline constexpr int kSmallestSide = 128;

// Sides of the nested centred squares on which the SNR of an image is measured.
std::vector<int> snrSquareSides(const Shape& shape);

// Share of the scaled factory value that square k is expected to reach.
float snrFactor(std::size_t k);

}  // namespace qx::tool
