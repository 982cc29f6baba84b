#include "Rows.h"
#include "harness/HeldDetector.h"
#include "harness/Images.h"
#include "harness/OwnImage.h"
#include "harness/StreamRead.h"

#include "reference/correction/PlainAfe.h"

#include <QxUtils/Correction.h>

namespace {

using namespace qx::bench;

// A flat field whose AFEs differ by up to 3 %; every fifth one has a dim first column, every seventh a dim last one.
FloatImage unbalancedField(int side, int afeWidth) {
    constexpr double kLargestStep = 0.03;
    constexpr float kDim = 0.9f;
    FloatImage image = floatFlatField(side, side);
    std::vector<float> gains(static_cast<std::size_t>(side), 1.0f);
    qx::test::SplitMix64 random(7);
    for (int block = 0; (block + 1) * afeWidth <= side; ++block) {
        const auto first = gains.begin() + block * afeWidth;
        const auto gain = static_cast<float>(1 + kLargestStep * (2 * random.uniform() - 1));
        std::fill_n(first, afeWidth, gain);
        if (block % 5 == 1)
            first[0] *= kDim;
        if (block % 7 == 2)
            first[afeWidth - 1] *= kDim;
    }
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            image.row(y)[x] *= gains[static_cast<std::size_t>(x)];
    return image;
}

// The first run finds the steps and takes them out, the later ones do the same work with gains of about 1.
Row afeRow(int side, int afeWidth) {
    const auto detector = std::make_shared<HeldDetector>();
    qxkit::virtualDetector().afeWidth = afeWidth;
    const FloatImage unbalanced = unbalancedField(side, afeWidth);
    return {.ours = onOwnImage(
                unbalanced, [](FloatImage& image) { correctRDwithoutRgain(image.data(), image.width, image.height); }),
            .plain = onOwnImage(unbalanced,
                                [afeWidth](FloatImage& image) {
                                    qx::plain::correctRDwithoutRgain(image.data(), image.width, image.height, afeWidth);
                                }),
            .limitName = "one read, one update",
            .limit = onOwnImage(unbalanced,
                                [](FloatImage& image) {
                                    streamRead(image.data(), byteCount(image));
                                    streamUpdate(image.data(), byteCount(image));
                                }),
            .keepAlive = detector};
}

// Gains of 1, so that every run does the same work.
Row givenGainsRow(int side) {
    constexpr int kAfeWidth = 128;
    const std::vector<float> gains(static_cast<std::size_t>(side / kAfeWidth - 1), 1.0f);
    const FloatImage field = floatFlatField(side, side);
    const auto scaledBy = [&](auto scale) {
        return onOwnImage(field, [gains, scale](FloatImage& image) {
            scale(image.data(), image.width, image.height, gains.data(), static_cast<int>(gains.size()), kAfeWidth);
        });
    };
    return {.ours = scaledBy(correctRDbyRgain),
            .plain = scaledBy(qx::plain::correctRDbyRgain),
            .limitName = "one update",
            .limit = onOwnImage(field, [](FloatImage& image) { streamUpdate(image.data(), byteCount(image)); })};
}

}  // namespace

std::vector<qx::bench::RowEntry> qx::bench::afeRows() {
    return {
        {"correctRDwithoutRgain 3072 x 3072, AFEs of 32 columns",
         [](const Scale& scale) { return afeRow(scale.pick(3072, 300), 32); }},
        {"correctRDwithoutRgain 3072 x 3072, AFEs of 128 columns",
         [](const Scale& scale) { return afeRow(scale.pick(3072, 600), 128); }},
        {"correctRDbyRgain 3072 x 3072, AFEs of 128 columns",
         [](const Scale& scale) { return givenGainsRow(scale.pick(3072, 600)); }},
    };
}
