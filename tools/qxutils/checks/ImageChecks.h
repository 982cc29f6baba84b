#pragma once

#include "image/RawImage.h"

#include <string>
#include <vector>

namespace qx::tool {

// One number of a check beside its limit, as text: "0.572", "> 0.2". With as many digits as it takes to see that it
// stands so.
struct Finding {
    std::string quantity;
    std::string value;
    std::string limit;
};

// What a check of the library says. It stops at the finding that decides: the last one.
struct CheckResult {
    std::string check;
    int status = 0;
    std::string meaning;
    std::vector<Finding> findings;
};

// The relative deviation that a block may have unless the user says otherwise.
inline constexpr float kDefaultBlockLimit = 0.2f;

// Each throws a ToolError when the library gives no verdict: the image is too small, or a file cannot be read.
CheckResult checkFirst(const RawImage& image, const RawImage& dark);
CheckResult checkPreview(const RawImage& image, const RawImage& dark);
CheckResult checkSquares(const RawImage& image);
CheckResult checkBlocks(const RawImage& image, float blockLimit);
CheckResult checkStrips(const RawImage& image);
CheckResult checkDarkLevel(const RawImage& image);
CheckResult checkOffset(const FloatImage& image);
CheckResult checkFalseTrigger(const FloatImage& image);
CheckResult checkGainGroup(const std::vector<std::string>& files);
CheckResult checkDarkTime(const std::string& list, int timeMs);

// Of the average dark image that the detector's offset directory holds for its exposure time and gain.
CheckResult checkRowNoise(const Shape& shape);

// Puts an average dark image where checkRowNoise looks for it, in a folder that becomes the offset directory.
void storeAverageDark(const std::string& folder, const FloatImage& image);

}  // namespace qx::tool
