#pragma once

#include "image/Image.h"

#include <functional>
#include <span>

// Every filter throws a ToolError for an image or a window that the library does not filter.

namespace qx::tool {

// Pixels that no window of localRatio reaches, on each side.
inline constexpr int kRatioBorder = 5;

// The median of 2 radius + 1 pixels beside each other.
RawImage medianOfRows(const RawImage& image, int radius);

// The median of five pixels above each other.
RawImage medianOfColumns(const RawImage& image);

// Counts spread over the whole range, by rank.
RawImage equalize(const RawImage& image);

// The quadratic through a window of pixels beside each other.
RawImage smoothRows(const RawImage& image, int window);

// The median of the neighbourhood over the pixel; 1 at the border.
FloatImage localRatio(const RawImage& image);

// Takes the next rows of an image, whole and without gaps, which are there for the moment.
using TakeRows = std::function<void(std::span<const float> rows)>;

// The same from the top to the bottom, some rows at a time: an image of floats is never held.
void localRatio(const RawImage& image, const TakeRows& take);

// Refuses what localRatio refuses.
void requireRatio(const Shape& shape);

}  // namespace qx::tool
