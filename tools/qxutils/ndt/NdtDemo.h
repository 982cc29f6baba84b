#pragma once

#include "image/Image.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

// The demo's images of non-destructive testing, calibrated and corrected, beside the truth.

namespace qx::tool {

// The panel of the demonstration.
inline constexpr Shape kNdtDemoPanel{768, 768};

// A call of the correction: what it answered and what it had the detector deliver.
struct NdtCall {
    std::string what;
    int status = 0;
    std::string downloaded;
};

// Distance of an image from the truth. A pixel deviates when it is more than five deviations of its noise away.
struct NdtError {
    double rootMeanSquare = 0.0;  // counts
    double largest = 0.0;         // counts
    int deviatingPixels = 0;
};

// An object on a panel that sums several frames a picture and triggers itself.
struct NdtDemo {
    LongImage raw;
    LongImage flattened;  // offset and gain corrected, defects not
    LongImage corrected;
    FloatImage truth;
    FloatImage noise;        // standard deviation that is expected of each corrected pixel
    double openField = 0.0;  // the true level without an object
    double meanGain = 0.0;   // of the calibration file
    std::vector<NdtCall> calls;
};

// Calibrates, and corrects the object with what the detector delivers. The folder receives the images and becomes the
// detector's directories meanwhile.
NdtDemo runNdtDemo(std::uint64_t seed, const std::string& folder);

NdtError ndtError(const LongImage& image, const NdtDemo& demo);

// Whether one pixel does.
bool deviates(const LongImage& image, const NdtDemo& demo, std::size_t pixel);

// Prints the calls, and how far the images are from the truth.
void printNdt(std::ostream& out, const NdtDemo& demo);

}  // namespace qx::tool
