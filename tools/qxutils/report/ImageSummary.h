#pragma once

#include "image/Image.h"

#include <cstdint>
#include <vector>

// What a report shows of an image: few pixels, and facts that are taken from all of them.

namespace qx::tool {

// How many pixels have a value in each stretch of equal width; those outside are counted apart.
struct Histogram {
    double first = 0.0;
    double width = 1.0;  // of a stretch
    std::vector<std::int64_t> counts;
    std::int64_t below = 0;
    std::int64_t above = 0;
};

struct ImageSummary {
    Shape shape;       // of the image
    RawImage reduced;  // means of blocks; a value is offset + scale times the pixel
    double offset = 0.0;
    double scale = 1.0;
    double minimum = 0.0;
    double maximum = 0.0;
    double mean = 0.0;
    double median = 0.0;  // the upper middle
    double black = 0.0;   // the window that suits most pixels
    double white = 1.0;
    Histogram histogram;
    std::vector<double> columnMeans;  // as many as the reduced image has columns
    std::vector<double> rowMeans;
};

// The reduced image has sides of at most maxSide pixels. Values that are no finite numbers are left out of all but the
// means.
ImageSummary summarize(const RawImage& image, int maxSide);
ImageSummary summarize(const FloatImage& image, int maxSide);

// The side at which so many reduced images still make a page of some megabytes.
int reducedSide(std::size_t images);

}  // namespace qx::tool
