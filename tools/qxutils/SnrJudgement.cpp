#include "SnrJudgement.h"

#include "Command.h"

#include <QxUtils.h>

#include <algorithm>

namespace qx::tool {
namespace {

constexpr int kUnusedBorder = 12;
constexpr int kSideStep = 256;
constexpr int kMinSide = 128;

// The share of the scaled factory value that a square must reach.
float expectedShare(std::size_t square) {
    return square == 0 ? 0.9F : static_cast<float>(86 - 2 * (static_cast<int>(square) - 1)) / 100.0F;
}

SnrSeries expectedSeries(const SnrSeries& factory, float measuredSmallest) {
    SnrSeries expected = scaleToMeasured(factory, measuredSmallest);
    for (std::size_t square = 0; square < expected.size(); ++square)
        expected[square] *= expectedShare(square);
    return expected;
}

void requireOk(int status, const Shape& shape) {
    if (status == StatusWrongParameter) {
        throw ToolError(toText(shape) + ": too small for an SNR series; both sides must be at least " +
                        std::to_string(kMinSide) + " pixels");
    }
    if (status != StatusOk) {
        throw ToolError("the SNR could not be measured (status " + std::to_string(status) + ": " +
                        getStatusMessage(status) + ")");
    }
}

}  // namespace

std::vector<int> snrSquareSides(const Shape& shape) {
    const int usableSide = std::min(shape.width, shape.height) - kUnusedBorder;
    std::vector<int> sides = {kSideStep / 4, kSideStep / 2};
    for (int side = kSideStep; side <= usableSide; side += kSideStep)
        sides.push_back(side);
    return sides;
}

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
