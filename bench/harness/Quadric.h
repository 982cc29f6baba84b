#pragma once

// Fits are compared by the surface they describe: coefficients that hardly matter there may differ a lot.

#include "harness/Images.h"

#include <span>
#include <utility>
#include <vector>

namespace qx::bench {

// The surface c0 + c1 X + c2 Y + c3 XY + c4 X^2 + c5 Y^2 of an image in its middle and at its four corners, with X =
// column
// - width / 2 and Y = row - height / 2.
inline std::vector<float> heightsOfQuadric(std::span<const float, 6> c, const FloatImage& image) {
    const int left = -(image.width / 2);
    const int top = -(image.height / 2);
    const int right = left + image.width - 1;
    const int bottom = top + image.height - 1;
    std::vector<float> heights = {c[0]};
    for (const int x : {left, right}) {
        for (const int y : {top, bottom}) {
            const auto [fx, fy] = std::pair{static_cast<float>(x), static_cast<float>(y)};
            heights.push_back(c[0] + c[1] * fx + c[2] * fy + c[3] * fx * fy + c[4] * fx * fx + c[5] * fy * fy);
        }
    }
    return heights;
}

}  // namespace qx::bench
