#pragma once

#include "demo/DemoScene.h"

#include <iosfwd>
#include <vector>

// How the demo's exposures of the field are judged.

namespace qx::tool {

// Lets the panel acquire every exposure of the field, and judges them against the factory's series. Says what it does,
// as it takes a while.
std::vector<JudgedExposure> judgeField(std::ostream& out, const DemoScene& scene, const SnrSeries& factory);

// Prints the SNR of every square, the verdicts and what they mean.
void printField(std::ostream& out, const std::vector<JudgedExposure>& exposures, const SnrSeries& factory);

}  // namespace qx::tool
