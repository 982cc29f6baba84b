#pragma once

#include <QxUtils/Types.h>

#include <cstdint>
#include <vector>

// The corrections of the stripe above an AED trigger line, written out step by step. A band is 35 rows of `width`
// pixels, row 25 is the trigger line. Pointers and sizes are valid here, trigger lines of any value.
namespace qx::plain {

// |pixel - 208| over that of row 24, which is at least 5e-05: 35 rows of `width` values.
std::vector<double> normalisedBand(const WORD* band, int width);

// Ascending, of 35 rows of `count` normalised values.
std::vector<int> findHomogeneousColumns(const double* sampled, int count);

// Fills 35 ratios. Returns the number of rows to compensate, or -1.
int calcStripeRatio(double* ratio, const WORD* band, int width, std::uint32_t maxGrayValue);

void removeGenericStripe(WORD* destination, const WORD* source, int width, const double* ratio, int rows,
                         std::uint32_t maxGrayValue);

int correctAedStripeClinic(WORD* image, const WORD* reference, int width, int referenceWidth, int height,
                           int triggerLine, std::uint32_t maxGrayValue);

// The line-fit correction.
int correctAedStripe(WORD* image, int width, int height, int triggerLine);

}  // namespace qx::plain
