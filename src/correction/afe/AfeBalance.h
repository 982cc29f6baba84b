#pragma once

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeMeasurement.h"
#include "foundation/FloatRows.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"

namespace qx {

// What a pixel without signal becomes before the AFE balance, so that ratios stay finite.
inline constexpr float kNoSignal = 0.1f;

// The balance of the detector's AFE blocks over an image without pixels at or below 0: measures it and hands the result
// to `apply`, which returns a status. No image gives 1017. Logs its course.
template <class Apply>
int balanceAfes(FloatRows* rows, int width, int height, Apply apply) {
    const auto balance = [&]() -> int {
        if (rows == nullptr) {
            logInfo(kLogNoValue, "rad image is null");
            return StatusNullImage;
        }
        const AfeBlocks blocks{width, detectorAfeWidth()};
        if (!isImageSize(width, height) || !measurable(blocks))
            return StatusWrongParameter;
        AfeMeasurement measurement(blocks, height);
        if (!measurement) {
            measurement.logMissingBuffer();
            return StatusAllocationFailed;
        }
        const int status = measurement.measure(*rows);
        return status == StatusOk ? apply(measurement) : status;
    };
    logBegin("correctRDwithoutRgain");
    const int status = balance();
    logEnd("correctRDwithoutRgain", " terminates", status);
    return status;
}

}  // namespace qx
