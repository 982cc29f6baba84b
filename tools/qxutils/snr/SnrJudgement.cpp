#include "snr/SnrJudgement.h"

#include "common/ToolError.h"
#include "snr/SnrRule.h"

#include <QxUtils.h>

namespace qx::tool {
namespace {

SnrSeries expectedSeries(const SnrSeries& factory, float measuredSmallest) {
    SnrSeries expected = scaleToMeasured(factory, measuredSmallest);
    for (std::size_t square = 0; square < expected.size(); ++square)
        expected[square] *= snrFactor(square);
    return expected;
}

void requireOk(int status, const Shape& shape) {
    if (status == StatusWrongParameter) {
        throw ToolError(toText(shape) + ": too small for an SNR series; both sides must be at least " +
                        std::to_string(kSmallestSide) + " pixels");
    }
    if (status != StatusOk) {
        throw ToolError("the SNR could not be measured (status " + std::to_string(status) + ": " +
                        getStatusMessage(status) + ")");
    }
}

}  // namespace

SnrSeries measureSnr(const RawImage& image) {
    SnrSeries series(snrSquareSides(image.shape).size());
    requireOk(calcGlobalSNR(image.pixels.data(), image.shape.width, image.shape.height, series), image.shape);
    return series;
}

SnrJudgement judgeSnr(const RawImage& image, const SnrSeries& factory) {
    SnrJudgement judgement;
    judgement.measured = measureSnr(image);
    const SnrSeries used(factory.begin(), factory.begin() + static_cast<std::ptrdiff_t>(judgement.measured.size()));
    judgement.expected = expectedSeries(used, judgement.measured.front());
    const auto [width, height] = image.shape;
    judgement.verdict = checkGlobalSNR(image.pixels.data(), width, height, used);
    if (judgement.verdict != StatusSnrLow)
        requireOk(judgement.verdict, image.shape);
    SurfaceFitResult result{};
    evaluateSNRResult(image.pixels.data(), width, height, used, result);
    judgement.grade = result.evaluation;
    return judgement;
}

SnrSeries scaleToMeasured(const SnrSeries& factory, float measuredSmallest) {
    SnrSeries scaled;
    for (const float value : factory)
        scaled.push_back(measuredSmallest / factory.front() * value);
    return scaled;
}

std::string gradeName(int grade) {
    switch (grade) {
    case StatusCalibrationExcellent:
        return "excellent";
    case StatusCalibrationGood:
        return "good";
    default:
        return "poor";
    }
}

}  // namespace qx::tool
