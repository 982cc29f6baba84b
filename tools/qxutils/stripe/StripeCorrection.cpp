#include "stripe/StripeCorrection.h"

#include "common/ToolError.h"
#include "image/MedianOf.h"

#include <QxUtils.h>

#include <algorithm>
#include <cmath>

namespace qx::tool {
namespace {

struct MethodLimits {
    int rowsAbove;
    int rowsFrom;  // the trigger line and below
    int width;
};

MethodLimits limitsOf(StripeMethod method) {
    return method == StripeMethod::Clinic ? MethodLimits{26, 10, 1} : MethodLimits{26, 40, 1002};
}

void requireFit(const Shape& shape, int triggerLine, StripeMethod method) {
    const MethodLimits limits = limitsOf(method);
    if (shape.width < limits.width) {
        throw ToolError(toText(shape) + ": this method needs " + std::to_string(limits.width) +
                            " columns or more; use --method clinic",
                        ExitCode::Usage);
    }
    if (triggerLine < limits.rowsAbove || shape.height - triggerLine < limits.rowsFrom) {
        throw ToolError("trigger line " + std::to_string(triggerLine) + " is too close to the edge: there must be " +
                            std::to_string(limits.rowsAbove) + " rows above it, and " +
                            std::to_string(limits.rowsFrom) + " from it on; give another --trigger",
                        ExitCode::Usage);
    }
}

}  // namespace

RawImage correctStripe(const RawImage& image, const RawImage& reference, int triggerLine, StripeMethod method) {
    requireFit(image.shape, triggerLine, method);
    if (reference.shape.height - triggerLine < limitsOf(method).rowsFrom)
        throw ToolError("the reference ends too close to the trigger line; give one of more rows");
    RawImage corrected = image;
    const auto [width, height] = image.shape;
    const int status = method == StripeMethod::Clinic
                           ? correctAedStripeClinic(corrected.pixels.data(), reference.pixels.data(), width,
                                                    reference.shape.width, height, triggerLine)
                           : correctAedStripe(corrected.pixels.data(), width, height, 0, 0, triggerLine);
    if (status == -1)
        throw ToolError("no stripe that can be measured above row " + std::to_string(triggerLine) +
                        "; give another --trigger or a --reference that shows it");
    if (status != StatusOk)
        throw ToolError("not corrected: status " + std::to_string(status) + ": " + getStatusMessage(status));
    return corrected;
}

std::vector<double> rowLevels(const RawImage& image, const Stretch& rows) {
    std::vector<double> levels;
    for (int row = rows.first; row < rows.end; ++row)
        levels.push_back(medianOf(image.row(row), image.shape.width));
    return levels;
}

StripeProfile profileOf(const RawImage& image, int triggerLine) {
    StripeProfile profile;
    profile.levels = rowLevels(image, {triggerLine - kStripeRows, triggerLine});
    const double above = medianOf(image.row(triggerLine - kStripeRows - 1), image.shape.width);
    const double trigger = medianOf(image.row(triggerLine), image.shape.width);
    int i = 1;
    for (const double level : profile.levels) {
        const double straight = above + (trigger - above) * i++ / (kStripeRows + 1);
        profile.straight.push_back(straight);
        profile.contrast = std::max(profile.contrast, std::fabs(level - straight));
    }
    profile.percent = 100.0 * profile.contrast / std::max(1.0, std::fabs(trigger - kPedestal));
    return profile;
}

}  // namespace qx::tool
