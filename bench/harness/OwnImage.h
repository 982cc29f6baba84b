#pragma once

// Methods that change their image. Every one has an image of its own and changes it again and again; the results of the
// first run are compared.

#include "harness/Images.h"
#include "harness/Row.h"

#include <memory>
#include <vector>

namespace qx::bench {

template <class AnyImage>
struct ChangedImage {
    std::shared_ptr<const AnyImage> image;
};

template <class AnyImage>
std::vector<double> toNumbers(const ChangedImage<AnyImage>& changed) {
    return {changed.image->pixels.begin(), changed.image->pixels.end()};
}

// change is called with the image.
template <class AnyImage, class Change>
Method onOwnImage(const AnyImage& image, Change change) {
    return [own = std::make_shared<AnyImage>(image), change] {
        change(*own);
        return ChangedImage<AnyImage>{own};
    };
}

// The same on a fresh copy every time, where a change makes the next one easier or harder. Copying is not measured.
template <class AnyImage, class Change>
Method onFreshImage(const std::shared_ptr<const AnyImage>& image, Change change) {
    const auto own = std::make_shared<AnyImage>(*image);
    return {[own, image] { own->pixels = image->pixels; },
            [own, change] {
                change(*own);
                return ChangedImage<AnyImage>{own};
            }};
}

}  // namespace qx::bench
