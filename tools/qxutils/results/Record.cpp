#include "results/Record.h"

#include "text/ComparedNumbers.h"

#include <cstdlib>

namespace qx::tool {

const char* toText(Verdict verdict) {
    switch (verdict) {
    case Verdict::Passed:
        return "passed";
    case Verdict::NotPassed:
        return "not passed";
    case Verdict::Measured:
        return "measured";
    default:
        return "failed";
    }
}

std::vector<Measure> allMeasures(const Record& record) {
    std::vector<Measure> measures = record.measures;
    for (const SnrSquare& square : record.squares) {
        const std::string side = std::to_string(square.side);
        Measure measure{"SNR of " + side + " x " + side, square.measured, "", 1};
        if (square.expected)
            measure.limit = {MeasureAtLeast, *square.expected, 0, !square.isBelow};
        measures.push_back(measure);
    }
    return measures;
}

const char* symbolOf(MeasureComparison comparison) {
    switch (comparison) {
    case MeasureBelow:
        return "<";
    case MeasureAtMost:
        return "<=";
    case MeasureAbove:
        return ">";
    default:
        return ">=";
    }
}

double plainNumber(double value) {
    return std::strtod(shortText(value).c_str(), nullptr);
}

}  // namespace qx::tool
