#include "report/OverlayParts.h"
#include "results/RecordText.h"

#include <QxSysMgt.h>
#include <QxUtils.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

namespace qx::tool {
namespace {

// Of the search for patches: rows above the tiles, rows that have none, and the side of a large tile.
constexpr int kTopRows = 128;
constexpr int kMarginRows = 192;
constexpr int kLargeTile = 64;

// The measure of what is called so; none where an earlier one decided.
const Measure* measureNamed(const Record& record, std::string_view name) {
    const auto found =
        std::ranges::find_if(record.measures, [&](const Measure& measure) { return measure.name.starts_with(name); });
    return found == record.measures.end() ? nullptr : &*found;
}

// The centred area of a check of images that triggered themselves: it holds the row and the column behind its last
// ones.
Region centredArea(const Shape& shape, int width, int height) {
    const auto stretch = [](int size, int length) {
        const int first = std::clamp((size - length) / 2, 0, size - 1);
        return Stretch{first, std::clamp((size + length) / 2, 0, size - 1) + 1};
    };
    const Stretch rows = stretch(shape.height, height);
    const Stretch columns = stretch(shape.width, width);
    return {{columns.first, rows.first}, {columns.length(), rows.length()}};
}

// Where an image that triggered itself may be exposed.
struct TriggerPlaces {
    Shape region{};  // what is searched for holds one row and column more, as the areas do
    Region middle{};
    Region outer{};
};

std::optional<TriggerPlaces> triggerPlaces(const Shape& shape) {
    constexpr int kRegionWidth = 256;
    constexpr int kRegionUnit = 64;
    const double ratio = static_cast<double>(shape.height) / shape.width;
    const int height = kRegionUnit * static_cast<int>(ratio * kRegionWidth / kRegionUnit + 0.5);
    const int regions = shape.width / kRegionWidth - 2;
    if (regions < 1 || height < 1)
        return std::nullopt;
    return TriggerPlaces{{kRegionWidth, height},
                         centredArea(shape, kRegionWidth * regions / 2, height * regions / 2),
                         centredArea(shape, kRegionWidth * regions, height * regions)};
}

// The first region of the middle area that has this median, in the order in which they are searched.
std::optional<Region> regionOfMedian(const FloatImage& image, const TriggerPlaces& places, double median) {
    const auto [width, height] = places.region;
    for (int x = places.middle.corner.x; x < places.middle.columns().end - width; x += width / 2) {
        for (int y = places.middle.corner.y; y < places.middle.rows().end - height; y += height / 2) {
            if (getROIMedian(image.pixels.data(), y, y + height, x, x + width, image.shape.width) == median)
                return Region{{x, y}, {width + 1, height + 1}};
        }
    }
    return std::nullopt;
}

// The tiles that are searched for patches: their bands and columns are counted in the side of large ones.
struct PatchTiles {
    int side = 0;
    int bands = 0;
    int columns = 0;

    Region at(int band, int column) const { return squareAt(kTopRows + band * side, column * side, side); }
};

PatchTiles tilesOf(const Shape& shape) {
    constexpr int kLargeTileChannels = 44;
    const int side = getReadOutChannels() == kLargeTileChannels ? kLargeTile : kLargeTile / 2;
    return {side, (shape.height - kMarginRows) / kLargeTile, shape.width / kLargeTile};
}

// What the library measures of a tile: in an image of its own, `frame`, which has room for one.
float shareOf(const FloatImage& image, const Region& tile, FloatImage& frame) {
    for (int y = 0; y < tile.shape.height; ++y)
        std::copy_n(image.row(tile.corner.y + y) + tile.corner.x, tile.shape.width, frame.row(kTopRows + y));
    CheckMeasures taken{};
    measureOffsetImageQuality(frame.pixels.data(), frame.shape.width, frame.shape.height, &taken);
    return static_cast<float>(taken.measures[0].value);
}

// The first tile with this share of dark pixels in a cell.
std::optional<Region> tileOfShare(const FloatImage& image, const PatchTiles& tiles, double share) {
    FloatImage frame = filledImage({kLargeTile, kMarginRows + kLargeTile}, 0.0f);
    for (int band = 0; band < tiles.bands; ++band) {
        for (int column = 0; column < tiles.columns; ++column) {
            const Region tile = tiles.at(band, column);
            if (shareOf(image, tile, frame) == static_cast<float>(share))
                return tile;
        }
    }
    return std::nullopt;
}

}  // namespace

Overlay triggerAreas(const Record& record, const FloatImage& image) {
    Overlay overlay{"areas", {}};
    const std::optional<TriggerPlaces> places = triggerPlaces(image.shape);
    if (!places)
        return overlay;
    const auto mark = [&](const Region& place, const char* name, const Measure* measure) {
        overlay.marks.push_back({place, name, measure == nullptr ? MarkState::Examined : stateOf(*measure)});
    };
    mark(places->outer, "outer area", measureNamed(record, "outer area"));
    mark(places->middle, "middle area", measureNamed(record, "middle area"));
    if (const Measure* const brightest = measureNamed(record, "brightest region")) {
        if (const std::optional<Region> region = regionOfMedian(image, *places, brightest->value))
            mark(*region, "brightest region", brightest);
    }
    return overlay;
}

Overlay patchTiles(const Measure& measure, const FloatImage& image) {
    const PatchTiles tiles = tilesOf(image.shape);
    Overlay overlay{"tiles examined", {}};
    if (tiles.bands < 1 || tiles.columns < 1)
        return overlay;
    overlay.marks.push_back({{{0, kTopRows}, {tiles.columns * tiles.side, tiles.bands * tiles.side}},
                             "tiles of " + std::to_string(tiles.side) + " x " + std::to_string(tiles.side),
                             MarkState::Examined});
    if (const std::optional<Region> tile = tileOfShare(image, tiles, measure.value))
        overlay.marks.push_back({*tile, valueText(measure), stateOf(measure)});
    return overlay;
}

Overlay steppingRows(const Measure& measure, const FloatImage& image) {
    const auto limit = static_cast<double>(getConfigInfo()->rcnRowDiffLimit);
    Overlay overlay{"rows that step", {}};
    double before = 0.0;
    for (int y = 0; y < image.shape.height; ++y) {
        double mean = 0.0;
        for (int x = 0; x < image.shape.width; ++x)
            mean += static_cast<double>(image.at(y, x)) / image.shape.width;
        if (y > 0 && std::fabs(mean - before) >= limit) {
            std::vector<MarkedPlace>& marks = overlay.marks;
            if (!marks.empty() && marks.back().place.rows().end == y)
                ++marks.back().place.shape.height;
            else
                marks.push_back({{{0, y}, {image.shape.width, 1}}, "", stateOf(measure)});
        }
        before = mean;
    }
    return overlay;
}

}  // namespace qx::tool
