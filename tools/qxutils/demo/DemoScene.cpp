#include "demo/DemoScene.h"

#include "detector/PanelFrames.h"

#include <algorithm>

namespace qx::tool {
namespace {

constexpr int kFactoryFrames = 4;
constexpr std::uint32_t kFirstFieldFrame = 100;

// An area given by shares of the shorter side, relative to the panel's centre, as the squares are.
qxkit::Rectangle centredArea(const Shape& shape, double left, double top, double right, double bottom) {
    const int side = std::min(shape.width, shape.height);
    const auto at = [side](int extent, double share) {
        return std::clamp(extent / 2 + static_cast<int>(share * side), 0, extent);
    };
    const int row = at(shape.height, top);
    const int column = at(shape.width, left);
    return {row, column, at(shape.height, bottom) - row, at(shape.width, right) - column};
}

// Beyond every edge of the panel.
constexpr double kOutside = 1e3;

// The edges of the squares below are chosen so that the object cuts into most squares: what stays small against a
// square is taken for defects and cleaned away before the SNR is measured.
qxkit::FrameOptions forgottenObject(const Shape& shape) {
    return {.attenuators = {{centredArea(shape, 0.05, 0.0, 0.4, 0.4), 0.97, true}}};
}

qxkit::FrameOptions shutterShadow(const Shape& shape) {
    return {.attenuators = {{centredArea(shape, -kOutside, -kOutside, -0.2, kOutside), 0.85, false}}};
}

}  // namespace

DemoScene::DemoScene(const Shape& shape, std::uint64_t seed) : shape_(shape), panel_(panelParameters(shape, seed)) {}

RawImage DemoScene::dark() const {
    return toImage(panel_.dark());
}

RawImage DemoScene::rawFlat() const {
    return toImage(panel_.flat());
}

SnrSeries DemoScene::measureFactorySeries() const {
    SnrSeries mean(snrSquareSides(shape_).size());
    for (std::uint32_t frame = 0; frame < kFactoryFrames; ++frame) {
        const SnrSeries series = measureSnr(toImage(panel_.correctedFlat({.frame = frame})));
        std::transform(mean.begin(), mean.end(), series.begin(), mean.begin(),
                       [](float sum, float value) { return sum + value / kFactoryFrames; });
    }
    return mean;
}

std::vector<Exposure> DemoScene::fieldExposures() const {
    std::vector<Exposure> exposures = {
        {"clean", "nothing in the way", {}},
        {"low-dose", "a ninth of the dose", {.level = 6000.0}},
        {"drifted-gain", "gain map has drifted", {.residualShadingScale = 3.5}},
        {"object", "object on the detector", forgottenObject(shape_)},
        {"shutter-shadow", "shutter shadow", shutterShadow(shape_)},
    };
    std::uint32_t frame = kFirstFieldFrame;
    for (Exposure& exposure : exposures)
        exposure.options.frame = frame++;
    return exposures;
}

RawImage DemoScene::correctedFlat(const Exposure& exposure) const {
    return toImage(panel_.correctedFlat(exposure.options));
}

}  // namespace qx::tool
