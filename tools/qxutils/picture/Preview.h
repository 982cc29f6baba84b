#pragma once

#include "image/RawImage.h"

#include <cstdint>
#include <vector>

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

struct GreyPicture {
    Shape shape;
    std::vector<std::uint8_t> pixels;
};

// Averages square blocks of whole pixels so that the picture is at most maxWidth wide, then applies the window.
// Columns and rows that fill no whole block are left out.
GreyPicture makePreview(const RawImage& image, const PercentileWindow& window, int maxWidth);
GreyPicture makePreview(const RawImage& image, const GreyWindow& window, int maxWidth);

// The window of the image's own percentiles.
GreyWindow windowOf(const RawImage& image, const PercentileWindow& window);

// Raw pixels for each side of a block that becomes one preview pixel.
int previewScale(const Shape& shape, int maxWidth);

}  // namespace qx::tool
