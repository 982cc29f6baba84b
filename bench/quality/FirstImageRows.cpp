#include "Rows.h"
#include "harness/HeldDetector.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"

#include "reference/quality/PlainFirstImage.h"

#include <QxUtils/Quality.h>

namespace {

using namespace qx::bench;

// The plain method lacks the tube's centre, which ours estimates twice for the log: by another AFE balance with its
// block medians, and by a surface fit.
Row firstImageRow(const Scale& scale) {
    constexpr int kBlockFloor = 2000;
    constexpr int kAfeWidth = 128;
    const auto detector = std::make_shared<HeldDetector>();
    qxkit::virtualDetector().config.exposedBlockFloor = kBlockFloor;
    qxkit::virtualDetector().afeWidth = kAfeWidth;
    const int side = scale.pick(3072, 520);
    const auto image = flatField(side);
    const auto dark = std::make_shared<const Image>(qx::test::flatImage(side, side, 1500, 25, 10));
    return {
        .ours = [=] { return checkFirstImg(image->data(), dark->data(), side, side); },
        .plain =
            [=] {
                return qx::plain::firstImageVerdict(image->data(), dark->data(), side, side, kBlockFloor, kAfeWidth);
            },
        .limitName = "one read of both",
        .limit =
            [=] { return streamRead(image->data(), byteCount(*image)) + streamRead(dark->data(), byteCount(*dark)); },
        .keepAlive = detector};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::firstImageRows() {
    return {
        {"checkFirstImg 3072 x 3072, two images", firstImageRow},
    };
}
