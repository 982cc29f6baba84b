#pragma once

#include "image/Image.h"

#include <VirtualPanel.h>

#include <cstdint>

// A virtual panel of the size of an image, and its frames as images.

namespace qx::tool {

qxkit::PanelParameters panelParameters(const Shape& shape, std::uint64_t seed);

RawImage toImage(qxkit::Frame16 frame);
FloatImage toImage(qxkit::FrameFloat frame);
LongImage toImage(qxkit::Frame32 frame);

}  // namespace qx::tool
