#include "demo/DemoPictures.h"

#include "picture/Preview.h"
#include "picture/Tiles.h"
#include "snr/SnrJudgement.h"
#include "snr/SnrPlot.h"

#include <cstddef>
#include <iterator>

namespace qx::tool {
namespace {

constexpr int kTileWidth = 384;
constexpr int kTileColumns = 3;

constexpr Colour kLineColours[] = {{40, 130, 70}, {60, 120, 200}, {150, 90, 190}, {230, 140, 30}, {205, 60, 50}};
constexpr Colour kFactoryColour{40, 40, 40};
constexpr Colour kExpectedColour{160, 160, 160};

// Corrected tiles share one contrast, so that a good one looks even.
constexpr double kTileContrast = 0.02;

Tile makeTile(const JudgedExposure& judged) {
    const SnrJudgement& judgement = judged.judgement;
    const std::string verdict = judgement.passed() ? "passed" : "status " + std::to_string(judgement.verdict);
    return {makePreview(judged.image, windowAroundMedian(judged.image, kTileContrast), kTileWidth),
            judged.exposure.caption, verdict + ", " + gradeName(judgement.grade),
            judgement.passed() ? kTilePassed : kTileNotPassed};
}

std::vector<float> sharesOf(const SnrSeries& series, const SnrSeries& scaled) {
    std::vector<float> shares;
    for (std::size_t square = 0; square < series.size(); ++square)
        shares.push_back(series[square] / scaled[square]);
    return shares;
}

}  // namespace

Canvas drawSquares(const RawImage& image) {
    const GreyPicture preview = makePreview(image, PercentileWindow{}, kPreviewWidth);
    const int scale = previewScale(image.shape, kPreviewWidth);
    Canvas canvas(preview.shape, kTilePaper);
    canvas.drawPicture({0, 0}, preview);
    for (const int side : snrSquareSides(image.shape)) {
        const Point corner{(image.shape.width - side) / 2 / scale, (image.shape.height - side) / 2 / scale};
        canvas.outlineRectangle(corner, {side / scale, side / scale}, 2, kTileMark);
        const std::string label = std::to_string(side);
        const int labelHeight = (kTextHeight + 2) * kTileTextScale;
        if (textWidth(label, kTileTextScale) + 6 < side / scale) {
            canvas.fillRectangle(corner, {textWidth(label, kTileTextScale) + 8, labelHeight}, kTileMark);
            canvas.drawText({corner.x + 4, corner.y + 4}, label, kTileTextScale, kTilePaper);
        }
    }
    return canvas;
}

Canvas drawOverview(const RawImage& rawFlat, const std::vector<JudgedExposure>& exposures) {
    std::vector<Tile> tiles = {
        {makePreview(rawFlat, PercentileWindow{}, kTileWidth), "raw flat field", "before correction", kTileText}};
    for (const JudgedExposure& judged : exposures)
        tiles.push_back(makeTile(judged));
    return drawTiles(tiles, kTileColumns);
}

Canvas drawSeriesPlot(const std::vector<JudgedExposure>& exposures, const SnrSeries& factory) {
    const SnrJudgement& first = exposures.front().judgement;
    std::vector<PlotLine> lines = {
        {"factory", kFactoryColour, std::vector<float>(factory.size(), 1.0f)},
        {"expected at least", kExpectedColour, sharesOf(first.expected, first.scaled)},
    };
    for (std::size_t index = 0; index < exposures.size(); ++index) {
        lines.push_back({exposures[index].exposure.caption, kLineColours[index % std::size(kLineColours)],
                         sharesOf(exposures[index].judgement.measured, exposures[index].judgement.scaled)});
    }
    return drawSnrPlot(snrSquareSides(exposures.front().image.shape), lines);
}

}  // namespace qx::tool
