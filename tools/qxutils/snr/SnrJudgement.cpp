#include "snr/SnrJudgement.h"

#include "common/ToolError.h"

#include <QxUtils.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace qx::tool {
namespace {

void requireOk(int status, const Shape& shape) {
    if (status == StatusWrongParameter) {
        throw ToolError(toText(shape) + ": too small for an SNR series; both sides must be at least " +
                        std::to_string(snrSquareSides(shape).back()) + " pixels");
    }
    if (status != StatusOk) {
        throw ToolError("the SNR could not be measured (status " + std::to_string(status) + ": " +
                        getStatusMessage(status) + ")");
    }
}

// As the squares are without memory, too.
void requireZeroSeries(const WORD* pixels, const Shape& shape) {
    SnrSeries series(snrSquareSides(shape).size());
    requireOk(calcGlobalSNR(pixels, shape.width, shape.height, series), shape);
    if (std::ranges::any_of(series, [](float value) { return value != 0.0f; }))
        throw std::bad_alloc();
}

// The library's squares; without pixels and without a factory series what comes from them is 0.
std::vector<SNRSquare> squaresOf(const Shape& shape, const WORD* pixels, const SnrSeries& factory) {
    std::vector<SNRSquare> squares(1);
    int count = 0;
    const auto measure = [&](int capacity) {
        return measureSNRSquares(pixels, shape.width, shape.height, factory.empty() ? nullptr : factory.data(),
                                 static_cast<int>(factory.size()), squares.data(), capacity, &count);
    };
    // The number of squares first.
    measure(0);
    squares.resize(static_cast<std::size_t>(count));
    requireOk(measure(count), shape);
    const auto isZero = [](const SNRSquare& square) { return square.measured == 0.0f; };
    if (pixels != nullptr && std::ranges::all_of(squares, isZero))
        requireZeroSeries(pixels, shape);
    return squares;
}

// What measureGlobalSNR says of squares that were measured already: its words and its limit come without an image.
CheckMeasures belowExpectation(const std::vector<SNRSquare>& squares, const Shape& shape, const SnrSeries& factory) {
    CheckMeasures taken{};
    requireOk(
        measureGlobalSNR(nullptr, shape.width, shape.height, factory.data(), static_cast<int>(factory.size()), &taken),
        shape);
    CheckMeasure& below = taken.measures[0];
    below.value = static_cast<double>(std::ranges::count(squares, 1, &SNRSquare::belowExpected));
    below.met = below.value <= below.limit ? 1 : 0;
    return taken;
}

// The library passes and grades what it has no memory to measure.
void requireMeasured(bool agrees) {
    if (!agrees)
        throw std::bad_alloc();
}

int gradeOf(const std::vector<SNRSquare>& squares, const CheckMeasures& below) {
    if (std::ranges::none_of(squares, [](const SNRSquare& square) { return square.belowScaled != 0; }))
        return StatusCalibrationExcellent;
    return isPassed(below) ? StatusCalibrationGood : StatusCalibrationPoor;
}

int gradeMeasured(const std::vector<SNRSquare>& squares, const RawImage& image, const SnrSeries& factory) {
    SurfaceFitResult result{};
    evaluateSNRResult(image.pixels.data(), image.shape.width, image.shape.height, factory, result);
    requireMeasured(result.evaluation == gradeOf(squares, belowExpectation(squares, image.shape, factory)));
    return result.evaluation;
}

}  // namespace

std::vector<int> snrSquareSides(const Shape& shape) {
    std::vector<int> sides;
    for (const SNRSquare& square : squaresOf(shape, nullptr, {}))
        sides.push_back(square.side);
    return sides;
}

SnrSeries measureSnr(const RawImage& image) {
    SnrSeries series;
    for (const SNRSquare& square : squaresOf(image.shape, image.pixels.data(), {}))
        series.push_back(square.measured);
    return series;
}

SnrJudgement judgeSnr(const RawImage& image, const SnrSeries& factory) {
    const auto [width, height] = image.shape;
    SnrJudgement judgement;
    const std::vector<SNRSquare> squares = squaresOf(image.shape, image.pixels.data(), factory);
    for (const SNRSquare& square : squares) {
        judgement.measured.push_back(square.measured);
        judgement.scaled.push_back(square.scaled);
        judgement.expected.push_back(square.expected);
        judgement.areBelow.push_back(square.belowExpected != 0);
    }
    judgement.verdict = checkGlobalSNR(image.pixels.data(), width, height, factory);
    if (judgement.verdict != StatusSnrLow)
        requireOk(judgement.verdict, image.shape);
    judgement.below = belowExpectation(squares, image.shape, factory);
    requireMeasured(isPassed(judgement.below) == judgement.passed());
    judgement.grade = gradeMeasured(squares, image, factory);
    return judgement;
}

int gradeSnr(const RawImage& image, const SnrSeries& factory) {
    return gradeMeasured(squaresOf(image.shape, image.pixels.data(), factory), image, factory);
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
