#pragma once

#include "image/Image.h"

// What the user reads about a filtered image.

namespace qx::tool {

// Print the grey ranges of both images and how far they differ.
void printChanges(const RawImage& before, const RawImage& after);

// Print the range of ratios that localRatio gives inside the border.
void printRatios(const FloatImage& ratio);

}  // namespace qx::tool
