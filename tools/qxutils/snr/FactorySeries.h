#pragma once

#include "snr/SnrJudgement.h"

#include <QxUtils/Records.h>

#include <optional>
#include <string>

namespace qx::tool {

// The factory's series for images of this shape, read once from one of
//     a factory SNR file (-SNR.raw): a series for each integration time;
//     results that qxutils snr or watch wrote (.json): the first series in them;
//     a list: TOML (.toml) or JSON (.json) with the list "snr", or plain numbers separated by blanks or line ends;
//     a raw reference image of this shape (.raw, or under any other name of its length): the series measured in it.
class FactorySeries {
public:
    // Throws a ToolError for anything else.
    FactorySeries(const std::string& path, const Shape& shape);

    // That of the nearest integration time, the first one without a time. Throws a ToolError unless it holds a positive
    // number for each square.
    const SnrSeries& nearest(std::optional<float> integrationTimeMs) const;

private:
    std::string path_;
    std::size_t squares_;
    FactoryDiffIntSNRList list_;
};

// Writes a TOML file that a FactorySeries reads back.
void saveFactorySeries(const std::string& path, const SnrSeries& series);

}  // namespace qx::tool
