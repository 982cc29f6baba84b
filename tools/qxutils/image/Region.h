#pragma once

#include "common/Shape.h"
#include "image/RawImage.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace qx::tool {

// Part of an image, at least one pixel.
struct Region {
    Point corner;
    Shape shape;
};

// The part that a --zoom of "WxH+X+Y" names, such as 128x96+400+300, or the whole image without one; throws a usage
// error for anything else and for what does not lie inside the image.
Region parseRegion(const std::optional<std::string>& text, const Shape& image);

// The part of an image resampled from corner pixel to corner pixel that shows the same as this part of the original.
Region resampledRegion(const Region& region, const Shape& from, const Shape& to);

// The largest picture of a region with sides up to maxSide; pixels become squares where there is room.
Shape pictureShape(const Region& region, int maxSide);

// The region in the pixels of a picture: means where several pixels fall into one, repeated where one fills several.
RawImage fit(const RawImage& image, const Region& region, const Shape& picture);

// Declares --zoom, which needs --png.
void addZoom(CLI::App& command, std::optional<std::string>& zoom);

}  // namespace qx::tool
