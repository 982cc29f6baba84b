#pragma once

#include "image/Image.h"

#include <optional>
#include <string>

// Parts of images, and how they come into pictures of another size.

namespace qx::tool {

// Rows or columns first .. end - 1.
struct Stretch {
    int first;
    int end;

    int length() const { return end - first; }
};

// Part of an image, at least one pixel.
struct Region {
    Point corner;
    Shape shape;

    Stretch rows() const { return {corner.y, corner.y + shape.height}; }
    Stretch columns() const { return {corner.x, corner.x + shape.width}; }
};

inline Region wholeOf(const Shape& image) {
    return {{0, 0}, image};
}

// The part that a --zoom of "WxH+X+Y" names, such as 128x96+400+300, or the whole image without one; throws a usage
// error for anything else and for what does not lie inside the image.
Region parseRegion(const std::optional<std::string>& text, const Shape& image);

// The part of an image resampled from corner pixel to corner pixel that shows the same as this part of the original.
Region resampledRegion(const Region& region, const Shape& from, const Shape& to);

// The rounded mean count where these rows and columns cross.
WORD meanOf(const RawImage& image, const Stretch& rows, const Stretch& columns);

// The largest picture of a region with sides up to maxSide; pixels become squares where there is room.
Shape pictureShape(const Region& region, int maxSide);

// The region in the pixels of a picture: means where several pixels fall into one, repeated where one fills several.
RawImage fit(const RawImage& image, const Region& region, const Shape& picture);

}  // namespace qx::tool
