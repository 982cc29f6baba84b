#include "demo/DemoPictures.h"

#include "image/Region.h"
#include "picture/Preview.h"
#include "picture/Tiles.h"
#include "snr/SnrJudgement.h"
#include "snr/SnrPlot.h"
#include "text/TextTable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace qx::tool {
namespace {

constexpr int kTileWidth = 304;
constexpr int kTileColumns = 3;
constexpr int kInsetPixels = 28;
constexpr double kInsetSide = 4.0;

constexpr Colour kLineColours[] = {kPassed, kTrue, kViolet, kMarked, kOlive};

// Corrected tiles share one contrast, so that a good one looks even.
constexpr double kTileContrast = 0.02;

// The middle of the image, in which the noise of single pixels shows.
Inset insetOf(const RawImage& image, const GreyWindow& window) {
    const Point corner{(image.shape.width - kInsetPixels) / 2, (image.shape.height - kInsetPixels) / 2};
    const RawImage part = fit(image, {corner, {kInsetPixels, kInsetPixels}}, {kInsetPixels, kInsetPixels});
    const double scale = previewScale(image.shape, kTileWidth);
    return {makePreview(part, window, kInsetPixels),
            kInsetSide,
            {corner.x / scale, corner.y / scale, kInsetPixels / scale, kInsetPixels / scale}};
}

std::vector<TileLine> measuresOf(const SnrJudgement& judgement, int smallestSide) {
    const auto below = std::count(judgement.areBelow.begin(), judgement.areBelow.end(), true);
    const Colour colour = judgement.passed() ? kPassed : kNotPassed;
    return {{(judgement.passed() ? "passed" : "status " + std::to_string(judgement.verdict)) + ", " +
                 gradeName(judgement.grade),
             colour},
            {std::to_string(below) + " of " + std::to_string(judgement.areBelow.size()) + " squares below expectation",
             below == 0 ? kInk : colour},
            {"SNR of the square of " + std::to_string(smallestSide) +
             " pixels: " + formatNumber(judgement.measured.front(), 0)}};
}

Tile makeTile(const JudgedExposure& judged, int smallestSide) {
    const GreyWindow window = windowAroundMedian(judged.image, kTileContrast);
    return {makePreview(judged.image, window, kTileWidth),
            1.0,
            scaleOf(window),
            judged.exposure.caption,
            measuresOf(judged.judgement, smallestSide),
            {},
            insetOf(judged.image, window)};
}

SnrSeries sharesOf(const SnrSeries& series, const SnrSeries& scaled) {
    SnrSeries shares;
    for (std::size_t square = 0; square < series.size(); ++square)
        shares.push_back(series[square] / scaled[square]);
    return shares;
}

}  // namespace

Drawing drawSquares(const RawImage& image) {
    constexpr double kSide = 0.5;
    const GreyWindow window = windowOf(image, PercentileWindow{});
    Tile tile{makePreview(image, window, kPreviewWidth),
              kSide,
              scaleOf(window),
              "The squares of the SNR series of " + toText(image.shape) + " pixels",
              {}};
    const double scale = kSide / previewScale(image.shape, kPreviewWidth);
    std::string smaller;
    std::string larger;
    for (const int side : snrSquareSides(image.shape)) {
        const double left = (image.shape.width - side) / 2 * scale;
        const double top = (image.shape.height - side) / 2 * scale;
        const double right = left + side * scale;
        const double bottom = top + side * scale;
        tile.marks.push_back(
            {{{left, top}, {right, top}, {right, bottom}, {left, bottom}, {left, top}}, {kMarked, 1.5}});
        std::string& sides = 2 * side < image.shape.width ? smaller : larger;
        sides += (sides.empty() ? "" : ", ") + std::to_string(side);
    }
    tile.lines = {{"Sides, pixels: " + smaller + ","}, {larger}};
    return drawTiles({tile}, 1);
}

Drawing drawOverview(const RawImage& rawFlat, const std::vector<JudgedExposure>& exposures) {
    const GreyWindow window = windowOf(rawFlat, PercentileWindow{});
    std::vector<Tile> tiles = {
        {makePreview(rawFlat, window, kTileWidth),
         1.0,
         scaleOf(window),
         "raw flat field",
         {{"before correction:"}, {"amplifiers of different gain,"}, {"defective pixels, rows and columns"}}}};
    const int smallestSide = snrSquareSides(rawFlat.shape).front();
    for (const JudgedExposure& judged : exposures)
        tiles.push_back(makeTile(judged, smallestSide));
    return drawTiles(tiles, kTileColumns,
                     "One-shot calibrations judged; enlarged: " + std::to_string(kInsetPixels) + " x " +
                         std::to_string(kInsetPixels) + " pixels in the middle");
}

Drawing drawSeriesPlot(const std::vector<JudgedExposure>& exposures) {
    const SnrJudgement& first = exposures.front().judgement;
    std::vector<SnrLine> lines;
    for (std::size_t index = 0; index < exposures.size(); ++index) {
        const SnrJudgement& judgement = exposures[index].judgement;
        lines.push_back({exposures[index].exposure.caption, kLineColours[index % std::size(kLineColours)],
                         sharesOf(judgement.measured, judgement.scaled), judgement.areBelow});
    }
    return drawSnrPlot(snrSquareSides(exposures.front().image.shape), lines, sharesOf(first.expected, first.scaled));
}

}  // namespace qx::tool
