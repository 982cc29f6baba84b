#pragma once

#include "QxUtils/Measures.h"
#include "QxUtils/Types.h"
#include "foundation/ImageView.h"

#include <span>

namespace qx {

// Number of squares of an image's SNR series; below 1 for impossible sizes.
int snrCount(int width, int height) noexcept;

// Whether the squares lie inside the image and its pixels can be counted.
bool snrMeasurable(int width, int height) noexcept;

// Side of square k, in pixels.
int snrSquareSide(int k) noexcept;

// Share of the scaled factory value that square k is expected to reach.
float snrFactor(int k) noexcept;

// Square k of a measured series beside the factory's, which may be empty.
SNRSquare snrSquare(int k, std::span<const float> measured, std::span<const float> factory) noexcept;

// Measures the SNR series of a measurable image into series, which holds snrCount entries. Returns 0, or 1035 when
// memory is short; series is untouched then.
int measureSnrSeries(ImageView<const WORD> image, std::span<float> series) noexcept;

// The same, and logs its course.
int calcSnrSeries(ImageView<const WORD> image, std::span<float> series) noexcept;

}  // namespace qx
