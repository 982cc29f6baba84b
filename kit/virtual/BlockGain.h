#pragma once

// The response that a panel's AFEs and its split readout give to a whole block of pixels.

#include "VirtualPanel.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace qxkit {

inline double blockGain(const PanelParameters& panel, const std::vector<double>& afeGains, int row, int column) {
    const auto afe = static_cast<std::size_t>(panel.afeWidth > 0 ? column / panel.afeWidth : 0);
    const double half = row < panel.height / 2 ? 1.0 : 1.0 + panel.splitStep;
    return half * afeGains[std::min(afe, afeGains.size() - 1)];
}

}  // namespace qxkit
