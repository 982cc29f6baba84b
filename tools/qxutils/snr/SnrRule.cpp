#include "snr/SnrRule.h"

#include <algorithm>

namespace qx::tool {
namespace {

constexpr int kImageMargin = 12;
constexpr int kSideStep = 256;

}  // namespace

std::vector<int> snrSquareSides(const Shape& shape) {
    std::vector<int> sides = {64, 128};
    for (int side = kSideStep; side <= std::min(shape.width, shape.height) - kImageMargin; side += kSideStep)
        sides.push_back(side);
    return sides;
}

float snrFactor(std::size_t k) {
    return k == 0 ? 0.9f : static_cast<float>(86 - 2 * (static_cast<int>(k) - 1)) / 100.0f;
}

}  // namespace qx::tool
