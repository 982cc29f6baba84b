#include "ndt/NdtPicture.h"

#include "picture/Tiles.h"
#include "text/TextTable.h"

#include <cstddef>

namespace qx::tool {
namespace {

// Share of the open field from grey to white in the map of errors.
constexpr double kErrorContrast = 0.04;

constexpr double kWhiteShare = 1.15;
constexpr double kOpenCounts = 32768.0;
// Pixels for each side of a block that becomes one logical pixel of the drawing.
constexpr int kBlock = 2;

// Half of the pictures' range is the open field.
RawImage scaled(const LongImage& image, double openField) {
    RawImage words{image.shape, {}};
    for (const std::uint32_t value : image.pixels)
        words.pixels.push_back(truncatedCount(kOpenCounts * value / openField));
    return words;
}

RawImage errorMap(const NdtDemo& demo) {
    RawImage words{demo.corrected.shape, {}};
    for (std::size_t i = 0; i < demo.corrected.pixels.size(); ++i) {
        const double value = demo.corrected.pixels[i];
        const double error = value - demo.truth.pixels[i];
        words.pixels.push_back(truncatedCount(kOpenCounts * (1.0 + error / demo.openField / kErrorContrast)));
    }
    return words;
}

std::string errorText(const NdtError& error, const NdtDemo& demo) {
    return "rms error " + formatNumber(100.0 * error.rootMeanSquare / demo.openField, 2) + " % of the open field";
}

std::vector<Stroke> ringsAround(const NdtDemo& demo) {
    Drawing rings(0.0, 0.0, kPaper);
    const int width = demo.corrected.shape.width;
    for (int pixel = 0; pixel < demo.corrected.pixelCount(); ++pixel) {
        const Place centre{(pixel % width + 0.5) / kBlock, (pixel / width + 0.5) / kBlock};
        if (deviates(demo.corrected, demo, static_cast<std::size_t>(pixel)))
            rings.drawRing(centre, 5.0, {kMarked, 1.25});
    }
    std::vector<Stroke> strokes;
    for (const Mark& mark : rings.marks())
        strokes.push_back(std::get<Stroke>(mark));
    return strokes;
}

}  // namespace

Drawing drawNdt(const NdtDemo& demo) {
    const GreyWindow window{0.0, kWhiteShare * kOpenCounts};
    const GreyScale counts = scaleOf({0.0, kWhiteShare * demo.openField});
    const int side = demo.raw.shape.width / kBlock;
    const NdtError after = ndtError(demo.corrected, demo);
    const std::string ends = formatNumber(100.0 * kErrorContrast, 0);
    return drawTiles({{makePreview(scaled(demo.raw, demo.openField), window, side),
                       1.0,
                       counts,
                       "as it was read",
                       {{errorText(ndtError(demo.raw, demo), demo), kNotPassed},
                        {"Steps: amplifiers of different gain."},
                        {"Specks and lines: defective pixels, rows, columns."}}},
                      {makePreview(scaled(demo.corrected, demo.openField), window, side),
                       1.0,
                       counts,
                       "offset, gain and defects corrected",
                       {{errorText(after, demo), kPassed}}},
                      {makePreview(errorMap(demo), GreyWindow{}, side),
                       1.0,
                       {"-" + ends, "+" + ends, "% of the open field"},
                       "error that is left",
                       {{"Ringed: the " + std::to_string(after.deviatingPixels) + " pixels beyond 5 sigma of noise,"},
                        {"defects at the object's edges, which are"},
                        {"filled from both sides of the edge."}},
                       ringsAround(demo)}},
                     3, "A test object in four summed frames");
}

}  // namespace qx::tool
