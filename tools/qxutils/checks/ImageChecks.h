#pragma once

#include "image/RawImage.h"
#include "results/Record.h"

#include <string>
#include <vector>

namespace qx::tool {

// The relative deviation that a block may have unless the user says otherwise.
inline constexpr float kDefaultBlockLimit = 0.2f;

// What a check of the library says and measures; it stops at the measure that decides, the last one. Who asks says
// which command and file it is about. Each throws a ToolError when the library gives no verdict: the image is too
// small, or a file cannot be read.
Record checkFirst(const RawImage& image, const RawImage& dark);
Record checkPreview(const RawImage& image, const RawImage& dark);
Record checkSquares(const RawImage& image);
Record checkBlocks(const RawImage& image, float blockLimit);
Record checkStrips(const RawImage& image);
Record checkDarkLevel(const RawImage& image);
Record checkOffset(const FloatImage& image);
Record checkFalseTrigger(const FloatImage& image);
Record checkGainGroup(const std::vector<std::string>& files);
Record checkDarkTime(const std::string& list, int timeMs);

// Of the average dark image that the detector's offset directory holds for its exposure time and gain.
Record checkRowNoise(const Shape& shape);

// Puts an average dark image where checkRowNoise looks for it, in a folder that becomes the offset directory.
std::string averageDarkName();
void storeAverageDark(const std::string& file, const FloatImage& image);

}  // namespace qx::tool
