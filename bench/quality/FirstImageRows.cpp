#include "Rows.h"
#include "harness/HeldDetector.h"
#include "harness/Images.h"
#include "harness/StreamRead.h"

#include "reference/quality/PlainFirstImage.h"

#include <QxUtils/Quality.h>

namespace {

using namespace qx::bench;

constexpr int kBlockFloor = 2000;

// A flat field and its dark image, with the limits and the AFE width that hold for them.
struct Shot {
    Shot(int side, int afeWidth)
        : image(flatField(side)), dark(std::make_shared<const Image>(qx::test::flatImage(side, side, 1500, 25, 10))),
          detector(std::make_shared<HeldDetector>()) {
        qxkit::virtualDetector().config.exposedBlockFloor = kBlockFloor;
        qxkit::virtualDetector().afeWidth = afeWidth;
    }

    template <class... Limits>
    auto judgedBy(int (*check)(const WORD*, const WORD*, int, int, Limits...), Limits... limits) const {
        return [image = image, dark = dark, check, limits...] {
            return check(image->data(), dark->data(), image->width, image->height, limits...);
        };
    }
    auto read() const {
        return [image = image, dark = dark] {
            return streamRead(image->data(), byteCount(*image)) + streamRead(dark->data(), byteCount(*dark));
        };
    }

    std::shared_ptr<const Image> image;
    std::shared_ptr<const Image> dark;
    std::shared_ptr<HeldDetector> detector;
};

// The plain method lacks the tube's centre, which ours estimates twice for the log: by another AFE balance with its
// block medians, and by a surface fit.
Row firstImageRow(int side, int afeWidth) {
    const Shot shot(side, afeWidth);
    return {.ours = shot.judgedBy(checkFirstImg),
            .plain = shot.judgedBy(qx::plain::firstImageVerdict, kBlockFloor, afeWidth),
            .limitName = "one read of both",
            .limit = shot.read(),
            .keepAlive = shot.detector};
}

Row previewRow(int side) {
    const Shot shot(side, 128);
    const float limit = qxkit::virtualDetector().config.uniformityCvLimit;
    return {.ours = shot.judgedBy(checkPreImg),
            .plain = shot.judgedBy(qx::plain::previewVerdict, kBlockFloor, limit),
            .limitName = "one read of both",
            .limit = shot.read(),
            .keepAlive = shot.detector};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::firstImageRows() {
    return {
        {"checkFirstImg 3072 x 3072, AFEs of 128 columns",
         [](const Scale& scale) { return firstImageRow(scale.pick(3072, 520), 128); }},
        {"checkFirstImg 3072 x 3072, AFEs of 32 columns",
         [](const Scale& scale) { return firstImageRow(scale.pick(3072, 520), 32); }},
        {"checkPreImg 3072 x 3072", [](const Scale& scale) { return previewRow(scale.pick(3072, 520)); }},
    };
}
