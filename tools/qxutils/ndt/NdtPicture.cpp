#include "ndt/NdtPicture.h"

#include "common/TextTable.h"
#include "picture/Tiles.h"

#include <cstddef>

namespace qx::tool {
namespace {

// Share of the open field from grey to white in the map of errors.
constexpr double kErrorContrast = 0.04;

// Half of the pictures' range is the open field.
RawImage scaled(const LongImage& image, double openField) {
    RawImage words{image.shape, {}};
    for (const std::uint32_t value : image.pixels)
        words.pixels.push_back(truncatedCount(32768.0 * value / openField));
    return words;
}

RawImage errorMap(const NdtDemo& demo) {
    RawImage words{demo.corrected.shape, {}};
    for (std::size_t i = 0; i < demo.corrected.pixels.size(); ++i) {
        const double value = demo.corrected.pixels[i];
        const double error = value - demo.truth.pixels[i];
        words.pixels.push_back(truncatedCount(32768.0 * (1.0 + error / demo.openField / kErrorContrast)));
    }
    return words;
}

}  // namespace

Canvas drawNdt(const NdtDemo& demo, int side) {
    const GreyWindow window{0.0, 1.15 * 32768.0};
    const NdtError before = ndtError(demo.raw, demo);
    const NdtError after = ndtError(demo.corrected, demo);
    const auto inPercent = [&demo](const NdtError& error) {
        return "rms error " + formatNumber(100.0 * error.rootMeanSquare / demo.openField, 2) + " %";
    };
    return drawTiles({{makePreview(scaled(demo.raw, demo.openField), window, side), "as it was read", inPercent(before),
                       kTileNotPassed},
                      {makePreview(scaled(demo.corrected, demo.openField), window, side), "corrected", inPercent(after),
                       kTilePassed},
                      {makePreview(errorMap(demo), GreyWindow{}, side), "error after correction",
                       "black -" + formatNumber(100.0 * kErrorContrast, 0) + " %, white +" +
                           formatNumber(100.0 * kErrorContrast, 0) + " %",
                       kTileText}},
                     3);
}

}  // namespace qx::tool
