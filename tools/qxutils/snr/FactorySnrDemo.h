#pragma once

#include "snr/SnrJudgement.h"

#include <QxUtils/Records.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace qx::tool {

// Images of several exposure times and doses as the factory leaves them, and one that is graded by them later.
struct FactorySnrDemo {
    std::string file;  // with the series
    FactoryDiffIntSNRList list;
    int integrationTimeMs = 0;  // of the graded image
    float meanGray = 0.0f;      // counts
    SnrSeries measured;
    FactorySNRRecord match;  // same time, nearest mean
    int grade = 0;
};

// The folder receives the images and the file with their series. The library prints every series.
FactorySnrDemo runFactorySnrDemo(std::uint64_t seed, const std::string& folder);

void printFactorySnrDemo(std::ostream& out, const FactorySnrDemo& demo);

}  // namespace qx::tool
