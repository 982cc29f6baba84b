#include "detector/PanelFrames.h"

#include <utility>

namespace qx::tool {

qxkit::PanelParameters panelParameters(const Shape& shape, std::uint64_t seed) {
    qxkit::PanelParameters parameters;
    parameters.width = shape.width;
    parameters.height = shape.height;
    parameters.seed = seed;
    return parameters;
}

RawImage toImage(qxkit::Frame16 frame) {
    return {{frame.width, frame.height}, std::move(frame.pixels)};
}

FloatImage toImage(qxkit::FrameFloat frame) {
    return {{frame.width, frame.height}, std::move(frame.pixels)};
}

LongImage toImage(qxkit::Frame32 frame) {
    return {{frame.width, frame.height}, std::move(frame.pixels)};
}

}  // namespace qx::tool
