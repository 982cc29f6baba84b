#pragma once

#include "demo/CalibrationFlow.h"
#include "demo/DemoScene.h"
#include "stripe/StripeDemo.h"

#include <string>
#include <vector>

namespace qx::tool {

// Writes the page about the demo's day: the exposures of the field, the calibration flow, a stripe, and the lines of
// the log.
void writeDemoReport(const std::string& path, const std::vector<JudgedExposure>& exposures, const SnrSeries& factory,
                     const CalibrationFlow& flow, const std::vector<StripeCase>& stripes,
                     const std::vector<std::string>& logLines);

}  // namespace qx::tool
