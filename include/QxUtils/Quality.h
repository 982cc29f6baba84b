#pragma once

// Verdicts on calibration images. Every check returns 0 when the image passes, writes its course to the daily log and
// never changes the caller's image. Images are row-major, width x height 16-bit pixels with a pedestal of 208 counts.
//
// SNR series: the signal-to-noise ratio on nested centred squares of 64, 128, 256, 512, 768 ... pixels, smallest
// first; N = (min(width, height) - 12) / 256 + 2 of them. In each square values 4 standard deviations or more away
// from the median are replaced by it; the ratio is the median over the standard deviation of what results. A square
// without noise has an infinite ratio.

#include "Export.h"
#include "Records.h"
#include "Types.h"

#include <vector>

// Measures the SNR series into the first N entries of snr, which is never resized.
// Returns 0; 1017 for a null image; 1020 when a side is below 128 pixels, the pixel count exceeds 32 bits or snr holds
// fewer than N entries; 1035 when memory is short. snr changes only on 0.
// Cost: one pass over the image, 256 KiB of memory.
QXUTILS_API int calcGlobalSNR(const WORD* image, int width, int height, std::vector<float>& snr);

// Compares the image's series with the factory's, scaled so that the smallest squares agree: 0 when fewer than three
// squares fall below the expectation (0.9, 0.86, 0.84, 0.82 ... of the scaled factory value), else 1088, with the
// advice to the user on standard output. A series that could not be measured, for want of an image or of memory, is
// zero and passes: a difference that is zero or not a number is no shortfall. 1020 when a side of the
// image is below 128 pixels, or factorySNR holds fewer than N entries; 1035 when memory for the series is short.
QXUTILS_API int checkGlobalSNR(const WORD* image, int width, int height, std::vector<float> factorySNR);

// Grades a one-shot calibration into result.evaluation: 1090 when no square falls below the scaled factory value,
// 1091 when fewer than three fall below the expectation of checkGlobalSNR, else 1092. A null image is graded 1090,
// an image or a series that checkGlobalSNR refuses 1092. The other fields stay as they are. Always returns 0.
QXUTILS_API int evaluateSNRResult(const WORD* image, int width, int height, std::vector<float> factorySNR,
                                  SurfaceFitResult& result);
