#pragma once

#include "image/Image.h"

#include <cstdint>

// Grey pictures of raw images.

namespace qx::tool {

// The counts that become black and white.
struct GreyWindow {
    double black = 0.0;
    double white = 65535.0;
};

// A brightness window given by percentiles of the picture's own values.
struct PercentileWindow {
    double low = 0.5;
    double high = 99.5;
};

using GreyPicture = Image<std::uint8_t>;

// Averages square blocks of whole pixels so that the picture is at most maxWidth wide, then applies the window.
// Columns and rows that fill no whole block are left out.
GreyPicture makePreview(const RawImage& image, const GreyWindow& window, int maxWidth);

struct Preview {
    GreyPicture picture;
    GreyWindow window;
};
Preview makePreview(const RawImage& image, const PercentileWindow& window, int maxWidth);

// The window of the image's own percentiles.
GreyWindow windowOf(const RawImage& image, const PercentileWindow& window);

// The image's median in the middle, this share of it more and less at the ends.
GreyWindow windowAroundMedian(const RawImage& image, double share);

// Raw pixels for each side of a block that becomes one preview pixel.
int previewScale(const Shape& shape, int maxWidth);

}  // namespace qx::tool
