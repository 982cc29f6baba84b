#pragma once

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/afe/AfeMeasurement.h"
#include "foundation/FloatRows.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"

#include <optional>

namespace qx {

// What a pixel without signal becomes before the AFE balance, so that ratios stay finite.
inline constexpr float kNoSignal = 0.1f;

// The balance of the detector's AFE blocks over an image without pixels at or below 0: measures it and hands the result
// to `apply`, which returns a status. No image gives 1017. Logs its course. surveyed(blocks) is a measurement that has
// had its pass over the image, if there is one.
template <class Surveyed, class Apply>
int balanceAfes(FloatRows* rows, Surveyed surveyed, Apply apply) {
    LoggedOperation operation("correctRDwithoutRgain");
    if (rows == nullptr) {
        logInfo(kLogNoValue, "rad image is null");
        return operation.end(StatusNullImage);
    }
    const AfeBlocks blocks{rows->width(), detectorAfeWidth()};
    if (!isImageSize(rows->width(), rows->height()) || !measurable(blocks))
        return operation.end(StatusWrongParameter);
    std::optional<AfeMeasurement> own;
    AfeMeasurement* const passed = surveyed(blocks);
    AfeMeasurement& measurement = passed != nullptr ? *passed : own.emplace(blocks, rows->height());
    if (!measurement) {
        measurement.logMissingBuffer();
        return operation.end(StatusAllocationFailed);
    }
    const int status = measurement.measure(*rows);
    return operation.end(status == StatusOk ? apply(measurement) : status);
}

}  // namespace qx
