#include "QxUtils/Quality.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "numerics/statistics/RegionMedian.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <cstdint>

namespace {

constexpr int kRegionWidth = 256;
constexpr int kRegionUnit = 64;

// The median from which a region holds an exposure.
constexpr int kExposedMedian = 400;

// Rows and columns from the first to the last one, both included.
struct Area {
    int top;
    int bottom;
    int left;
    int right;

    bool isEmpty() const { return top >= bottom || left >= right; }
};

struct FloatImage {
    const float* data;
    int width;
    int height;

    int medianOf(const Area& area, int& median) const {
        return qx::regionMedian({data, width, height},
                                {area.top, area.left, area.bottom - area.top + 1, area.right - area.left + 1}, median);
    }
};

// The regions that are searched have the shape of the image.
std::int64_t regionHeight(const FloatImage& image) {
    const double ratio = static_cast<double>(image.height) / image.width;
    return std::int64_t{kRegionUnit} * qx::truncateToInt(ratio * kRegionWidth * (1.0 / kRegionUnit) + 0.5);
}

// The centred area of these sides, clipped to the image.
Area centred(const FloatImage& image, std::int64_t width, std::int64_t height) {
    const auto clipped = [](std::int64_t position, int size) {
        return static_cast<int>(std::clamp<std::int64_t>(position, 0, size - 1));
    };
    return {clipped((image.height - height) / 2, image.height), clipped((image.height + height) / 2, image.height),
            clipped((image.width - width) / 2, image.width), clipped((image.width + width) / 2, image.width)};
}

// Looks for a region that is exposed, column by column; `exposed` tells whether there is one.
int searchRegions(const FloatImage& image, const Area& middle, int height, bool& exposed) {
    for (int x = middle.left; x <= middle.right - kRegionWidth; x += kRegionWidth / 2) {
        for (int y = middle.top; y <= middle.bottom - height; y += height / 2) {
            int median = 0;
            const int status = image.medianOf({y, y + height, x, x + kRegionWidth}, median);
            if (status != StatusOk)
                return status;
            exposed = median > kExposedMedian;
            if (exposed) {
                qx::logInfo(kLogNoValue, "The area is found. The top-left coordinate is: [%d, %d]", x, y);
                return StatusOk;
            }
        }
    }
    return StatusOk;
}

int judge(const FloatImage& image) {
    const int floor = getConfigInfo()->falseTriggerMedianFloor;
    const std::int64_t height = regionHeight(image);
    qx::logInfo(kLogNoValue, "roiWidth:%d, roiHeight:%lld", kRegionWidth, static_cast<long long>(height));
    const std::int64_t regions = image.width / kRegionWidth - 2;
    const std::int64_t outerWidth = kRegionWidth * regions;
    const std::int64_t outerHeight = height * regions;
    if (regions < 1 || height < 1)
        return StatusWrongParameter;
    const Area middle = centred(image, outerWidth / 2, outerHeight / 2);
    const Area outer = centred(image, outerWidth, outerHeight);
    if (middle.isEmpty() || outer.isEmpty())
        return StatusWrongParameter;

    bool exposed = false;
    int status = searchRegions(image, middle, static_cast<int>(height), exposed);
    if (status != StatusOk || exposed)
        return status;
    int median = 0;
    status = image.medianOf(middle, median);
    if (status != StatusOk)
        return status;
    qx::logInfo(kLogNoValue, "The median of middle area is %f", static_cast<double>(median));
    if (median >= floor)
        return StatusOk;
    status = image.medianOf(outer, median);
    if (status != StatusOk)
        return status;
    qx::logInfo(kLogNoValue, "The outer ROI is [%d,%d,%d,%d]", outer.top, outer.bottom, outer.left, outer.right);
    qx::logInfo(kLogNoValue, "The median of outer area is %f", static_cast<double>(median));
    // Kept: the outer area must exceed half of the floor, the middle one only reach it.
    return median > floor / 2 ? StatusOk : StatusFalseTrigger;
}

}  // namespace

int checkFalseTriggAEDImage(const float* image, int width, int height) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    return judge({image, width, height});
}
