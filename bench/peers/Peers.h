#pragma once

// What a user would pick instead of the library. Each maker returns an empty method when its library was not found at
// configure time. All of them work on the given memory without copying it, on one thread.

#include "harness/Images.h"
#include "harness/Row.h"

#include <filesystem>

namespace qx::bench {

// cv::mean, cv::meanStdDev.
Method openCvMean(const std::shared_ptr<const Image>& image);
Method openCvStdev(const std::shared_ptr<const Image>& image);

// cv::medianBlur over 5 x 5 pixels; cv::equalizeHist of the image in 8 bits; cv::resize by INTER_CUBIC. They do other
// work than ours, and return one pixel.
Method openCvMedian5(const std::shared_ptr<const Image>& image);
Method openCvEqualise8(const std::shared_ptr<const Image>& image);
Method openCvResize(const std::shared_ptr<const Image>& image, int rows, int columns);

// The image resampled by gsl_interp_cspline, in double precision: rows first, then columns, rounded to pixels.
Method gslSplines(const std::shared_ptr<const Image>& image, int rows, int columns);

// A Python function `measure(image)` on a two-dimensional NumPy array of the pixels; `source` defines it, with NumPy
// imported as np. It returns a number or a list of numbers. Empty when the source imports a module that is missing.
Method numpy(const char* source, const std::shared_ptr<const Image>& image);
Method numpy(const char* source, const std::shared_ptr<const FloatImage>& image);

// Eigen::BDCSVD in single precision of the design matrix 1, X, Y, XY, X^2, Y^2, X = column - width / 2 and Y = row -
// height / 2. Returns heightsOfQuadric.
Method eigenQuadric(const std::shared_ptr<const FloatImage>& image);

// The plain line-fit correction of an AED stripe, compiled for this machine's vectors.
Method vectorisedLineStripe(const Image& frame, int triggerLine);

// crc32 over a file that is read piece by piece.
Method zlibCrc(const std::filesystem::path& file);

}  // namespace qx::bench
