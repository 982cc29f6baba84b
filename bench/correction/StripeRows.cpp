#include "Rows.h"
#include "harness/Images.h"
#include "harness/OwnImage.h"
#include "harness/StreamRead.h"
#include "peers/Peers.h"

#include "reference/correction/PlainStripe.h"

#include <QxSysMgt.h>
#include <QxUtils/Correction.h>

#include <algorithm>

namespace {

using namespace qx::bench;

// A frame whose rows above the trigger line lack up to a quarter of their signal. The columns' levels differ by
// `variety`: alike ones serve the first method, others the second.
Image stripedFrame(int width, int height, int triggerLine, double variety) {
    constexpr int kStripeRows = 8;
    constexpr double kLevel = 8000;
    Image image = qx::test::flatImage(width, height, 0, 1, 3);
    qx::test::SplitMix64 random(4);
    std::vector<double> levels(static_cast<std::size_t>(width));
    for (double& level : levels)
        level = kLevel * (1 + variety * random.uniform());
    for (int row = 0; row < height; ++row) {
        const int above = triggerLine - row;
        const double share = above >= 1 && above <= kStripeRows ? 0.75 + 0.25 * (above - 1) / kStripeRows : 1.0;
        for (int column = 0; column < width; ++column) {
            const double signal = share * levels[static_cast<std::size_t>(column)];
            image.at(row, column) = static_cast<WORD>(kPedestal + signal + 6 * random.gaussian());
        }
    }
    return image;
}

Row clinicRow(int width, double variety) {
    constexpr int kHeight = 64;
    constexpr int kTriggerLine = 40;
    const auto reference = std::make_shared<const Image>(stripedFrame(width, kHeight, kTriggerLine, variety));
    const std::uint32_t maxGrayValue = getConfigInfo()->maxGrayValue;
    return {.ours = onOwnImage(*reference,
                               [=](Image& image) {
                                   correctAedStripeClinic(image.pixels.data(), reference->data(), width, width, kHeight,
                                                          kTriggerLine);
                               }),
            .plain = onOwnImage(*reference, [=](Image& image) {
                qx::plain::correctAedStripeClinic(image.pixels.data(), reference->data(), width, width, kHeight,
                                                  kTriggerLine, maxGrayValue);
            })};
}

Row lineRow(int side, int triggerLine) {
    const Image frame = stripedFrame(side, side, triggerLine, 0.05);
    const std::size_t changed = sizeof(WORD) * static_cast<std::size_t>(side) * static_cast<std::size_t>(triggerLine);
    return {
        .ours = onOwnImage(frame,
                           [=](Image& image) { correctAedStripe(image.pixels.data(), side, side, 0, 0, triggerLine); }),
        .plain = onOwnImage(
            frame, [=](Image& image) { qx::plain::correctAedStripe(image.pixels.data(), side, side, triggerLine); }),
        .peerName = "the plain one, vectorised",
        .peer = vectorisedLineStripe(frame, triggerLine),
        .limitName = "one update of the rows",
        .limit = onOwnImage(frame, [=](Image& image) { streamUpdate(image.pixels.data(), changed); })};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::stripeRows() {
    return {
        {"correctAedStripeClinic 3072 columns alike",
         [](const Scale& scale) { return clinicRow(scale.pick(3072, 600), 0.0); }},
        {"correctAedStripeClinic 3072 columns unlike",
         [](const Scale& scale) { return clinicRow(scale.pick(3072, 600), 2.0); }},
        {"correctAedStripe 3072 x 3072, trigger line 1500",
         [](const Scale& scale) { return lineRow(scale.pick(3072, 1010), scale.place(1500, 60)); }},
        {"correctAedStripe 3072 x 3072, trigger line 3000",
         [](const Scale& scale) { return lineRow(scale.pick(3072, 1010), scale.place(3000, 900)); }},
    };
}
