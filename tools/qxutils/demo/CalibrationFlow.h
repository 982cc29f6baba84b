#pragma once

#include "checks/CheckTable.h"
#include "image/Image.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

// The demo's walk through the checks of a calibration.

namespace qx::tool {

// One check of the flow and what it must say of this image.
struct FlowStep {
    CheckRow row;
    int expected = 0;
};

// A panel's calibration from the preview to the first automatic exposure: once as it should be, then every check on an
// image that it must refuse.
struct CalibrationFlow {
    std::vector<FlowStep> good;
    std::vector<FlowStep> bad;
    RawImage dark;
    RawImage flat;
    RawImage collimated;
};

// Sets the virtual detector for the flow's own small panel, and writes into the folder what checks read from disk and
// what the user may want to try them on.
CalibrationFlow runCalibrationFlow(std::uint64_t seed, const std::string& folder);

// Prints every check and returns how many verdicts are not as they should be.
int printFlow(std::ostream& out, const CalibrationFlow& flow);

}  // namespace qx::tool
