#pragma once

#include "image/Region.h"
#include "picture/Drawing.h"
#include "picture/Tiles.h"

#include <string>
#include <vector>

// Pictures of one image beside what was made of it.

namespace qx::tool {

// One of several images side by side, with what its black and white stand for.
struct ComparedImage {
    RawImage image;
    GreyWindow window;
    std::string caption;
    GreyScale scale;
};

ComparedImage compared(const RawImage& image, const GreyWindow& window, const std::string& caption);

// Ratios around 1, as far as nearly all of those in the region go.
ComparedImage compared(const FloatImage& ratio, const Region& region, const std::string& caption);

// The counts that a region of an image holds, but for a few.
GreyWindow windowOf(const RawImage& image, const Region& region);

// A region of the first image, and what shows the same in the others, which may be resampled ones.
Drawing drawComparison(const std::vector<ComparedImage>& images, const Region& region, int columns);

}  // namespace qx::tool
