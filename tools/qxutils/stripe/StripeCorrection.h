#pragma once

#include "image/Region.h"

#include <optional>
#include <string>
#include <vector>

// Taking the stripe out of an image that triggered itself, and measuring how much of it there is.

namespace qx::tool {

// How the library takes the stripe out of an image that triggered itself.
enum class StripeMethod {
    Clinic,  // by gains that are measured in a reference
    Line,    // by offsets from a line through the rows below the trigger line
};

// Rows above the trigger line that are looked at; the one before them is taken as undisturbed.
inline constexpr int kStripeRows = 24;

// Returns the corrected image. Throws a ToolError when the method does not apply or finds no stripe to measure.
RawImage correctStripe(const RawImage& image, const RawImage& reference, int triggerLine, StripeMethod method);

// The median of each of these rows, in counts.
std::vector<double> rowLevels(const RawImage& image, const Stretch& rows);

// Where the levels of the rows above a trigger line lie beside a straight line from the undisturbed row to it.
struct StripeProfile {
    std::vector<double> levels;    // of rows triggerLine - kStripeRows .. triggerLine - 1
    std::vector<double> straight;  // what the line has there
    double contrast = 0.0;         // largest deviation, counts
    double percent = 0.0;          // the same of the signal above the pedestal
};
StripeProfile profileOf(const RawImage& image, int triggerLine);

}  // namespace qx::tool
