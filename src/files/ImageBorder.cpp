#include "QxUtils/Files.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"

#include <cstdint>

namespace {

enum Side { TopRow, BottomRow, LeftColumn, RightColumn, Interior };

}  // namespace

int ImageBoundCheck(int& pixel, int& width, int& height) {
    if (width < 1 || height < 1)
        return StatusWrongParameter;
    const std::int64_t index = pixel;
    const std::int64_t pixels = static_cast<std::int64_t>(height) * width;
    if (index >= 0 && index < width) {
        qx::printDebug("The pixel is %d and lies in top side.\n", pixel);
        return TopRow;
    }
    if (index >= pixels - width && index < pixels) {
        qx::printDebug("The pixel is %d and lies in bottom side", pixel);
        return BottomRow;
    }
    // Kept: an index outside the image is told by its column all the same.
    if (index % width == 0) {
        qx::printDebug("The pixel is %d and lies in left side", pixel);
        return LeftColumn;
    }
    if ((index + 1) % width == 0) {
        qx::printDebug("The pixel is %d and lies in right side", pixel);
        return RightColumn;
    }
    qx::printDebug("The pixel is %d and lies in interval\n", pixel);
    return Interior;
}
