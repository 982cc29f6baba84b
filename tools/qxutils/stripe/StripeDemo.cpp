#include "stripe/StripeDemo.h"

#include "detector/PanelFrames.h"
#include "picture/Look.h"
#include "stripe/StripePicture.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

namespace qx::tool {
namespace {

constexpr int kSide = 2 * kDemoTriggerLine;
constexpr int kStripe = 10;

StripeCase correctCase(const qxkit::VirtualPanel& panel, const char* name, StripeMethod method,
                       const qxkit::AedOptions& options) {
    qxkit::AedFrame frame = panel.aed(options);
    StripeCase result{name, method, toImage(std::move(frame.image)), {}, toImage(std::move(frame.clean))};
    result.corrected = correctStripe(result.striped, toImage(std::move(frame.reference)), kDemoTriggerLine, method);
    return result;
}

double meanOfRow(const RawImage& image, int row) {
    return getMean(image.row(row), image.shape.width);
}

// How far the means of the rows above the trigger line are from those of another image.
struct ProfileError {
    double largest = 0.0;
    double rootMeanSquare = 0.0;
};

ProfileError errorOf(const RawImage& image, const RawImage& truth) {
    ProfileError error;
    for (int row = kDemoTriggerLine - kStripeRows; row < kDemoTriggerLine; ++row) {
        const double difference = std::fabs(meanOfRow(image, row) - meanOfRow(truth, row));
        error.largest = std::max(error.largest, difference);
        error.rootMeanSquare += difference * difference / kStripeRows;
    }
    error.rootMeanSquare = std::sqrt(error.rootMeanSquare);
    return error;
}

// Of the mean of a row: from the steps between undisturbed rows.
double rowNoise(const RawImage& clean) {
    constexpr int kRows = 40;
    double squares = 0.0;
    for (int row = kDemoTriggerLine; row < kDemoTriggerLine + kRows; ++row) {
        const double step = meanOfRow(clean, row + 1) - meanOfRow(clean, row);
        squares += step * step / 2.0 / kRows;
    }
    return std::sqrt(squares);
}

int rowsWritten(const StripeCase& stripe) {
    int rows = 0;
    for (int row = 0; row < stripe.striped.shape.height; ++row) {
        const WORD* const before = stripe.striped.row(row);
        rows += !std::equal(before, before + stripe.striped.shape.width, stripe.corrected.row(row));
    }
    return rows;
}

}  // namespace

std::vector<StripeCase> correctDemoStripes(std::uint64_t seed) {
    const qxkit::VirtualPanel panel(panelParameters({kSide, kSide}, seed));
    qxkit::AedOptions options;
    options.triggerLine = kDemoTriggerLine;
    options.stripeRows = kStripe;
    // Something lies on the right half of the panel.
    options.exposure.attenuators = {{{0, 2 * kSide / 3, kSide, kSide / 4}, 0.6}};
    std::vector<StripeCase> cases;
    cases.push_back(correctCase(panel, "gains from a reference", StripeMethod::Clinic, options));
    // The same offset for a whole row suits a field without anything in it.
    options.exposure.frame = 1;
    options.exposure.attenuators.clear();
    options.rowSlope = 6.0;
    cases.push_back(correctCase(panel, "offsets, sloping signal", StripeMethod::Line, options));
    return cases;
}

Drawing drawStripeCase(const StripeCase& stripe) {
    const Stretch rows = stripeRows(stripe.clean.shape, kDemoTriggerLine);
    return drawStripe({{stripe.striped, "as it was read", "stripe above the trigger line", kNotPassed},
                       {stripe.corrected, "corrected", stripe.name, kPassed}},
                      kDemoTriggerLine, rowLevels(stripe.clean, rows));
}

void printStripes(std::ostream& out, const std::vector<StripeCase>& cases) {
    TextTable table({"method", "rows written", "largest before, counts", "after, counts", "rms before, counts",
                     "after, counts", "noise of a row, counts"});
    for (const StripeCase& stripe : cases) {
        const ProfileError before = errorOf(stripe.striped, stripe.clean);
        const ProfileError after = errorOf(stripe.corrected, stripe.clean);
        table.addRow({stripe.name, std::to_string(rowsWritten(stripe)), formatNumber(before.largest, 1),
                      formatNumber(after.largest, 1), formatNumber(before.rootMeanSquare, 1),
                      formatNumber(after.rootMeanSquare, 1), formatNumber(rowNoise(stripe.clean), 1)});
    }
    out << "\nThe stripe of images that triggered themselves: error of the row means above the trigger line, in "
           "counts,\n"
           "against the same image without a stripe:\n";
    table.print(out);
}

}  // namespace qx::tool
