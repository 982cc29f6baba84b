#include "report/Overlays.h"

#include "results/RecordText.h"

#include <QxSysMgt.h>
#include <QxUtils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace qx::tool {
namespace {

constexpr int kBlockSide = 32;
constexpr int kStripColumns = 32;

MarkState stateOf(const Measure& measure) {
    return !measure.limit ? MarkState::Examined : measure.limit->met ? MarkState::Met : MarkState::NotMet;
}

// The measure of what is called so; none where an earlier one decided.
const Measure* measureNamed(const Record& record, std::string_view name) {
    const auto found =
        std::ranges::find_if(record.measures, [&](const Measure& measure) { return measure.name.starts_with(name); });
    return found == record.measures.end() ? nullptr : &*found;
}

Region squareAt(int row, int column, int side) {
    return {{column, row}, {side, side}};
}

Overlay snrSquares(const Record& record, const Shape& shape) {
    Overlay overlay{"SNR squares", {}};
    for (const SnrSquare& square : record.squares) {
        const MarkState state = !square.expected ? MarkState::Examined
                                : square.isBelow ? MarkState::NotMet
                                                 : MarkState::Met;
        overlay.marks.push_back(
            {squareAt((shape.height - square.side) / 2, (shape.width - square.side) / 2, square.side),
             std::to_string(square.side), state});
    }
    return overlay;
}

bool holds(const Shape& image, const Region& place) {
    return place.corner.x >= 0 && place.corner.y >= 0 && place.columns().end <= image.width &&
           place.rows().end <= image.height;
}

// The difference of an exposure and its dark image, 0 where the dark image is brighter; the image without one.
WORD differenceAt(const RawImage& image, const RawImage* dark, int row, int column) {
    const WORD black = dark == nullptr ? WORD{0} : dark->at(row, column);
    const WORD bright = image.at(row, column);
    return static_cast<WORD>(bright > black ? bright - black : 0);
}

// The five squares of getUniform: as there, the distance from the border is 0.333 of half a side, in single precision.
Overlay uniformSquares(const Measure& measure, const RawImage& image, const RawImage* dark) {
    constexpr int kSide = 64;
    const auto [width, height] = image.shape;
    const float dx = static_cast<float>(width) * 0.333f * 0.5f;
    const float dy = static_cast<float>(height) * 0.333f * 0.5f;
    const int left = static_cast<int>(dx);
    const int top = static_cast<int>(dy);
    const int right = static_cast<int>(static_cast<float>(width - kSide) - dx);
    const int bottom = static_cast<int>(static_cast<float>(height - kSide) - dy);
    const std::array<Point, 5> corners = {
        {{(width - kSide) / 2, (height - kSide) / 2}, {left, top}, {right, top}, {left, bottom}, {right, bottom}}};
    Overlay overlay{"five squares", {}};
    for (const Point& corner : corners) {
        const Region place = squareAt(corner.y, corner.x, kSide);
        // Results of earlier runs may be about another image of this name.
        if (!holds(image.shape, place))
            return {};
        std::vector<WORD> pixels;
        for (int y = place.rows().first; y < place.rows().end; ++y)
            for (int x = place.columns().first; x < place.columns().end; ++x)
                pixels.push_back(differenceAt(image, dark, y, x));
        const auto mean = static_cast<float>(getMean(pixels.data(), static_cast<int>(pixels.size())));
        overlay.marks.push_back({place, std::to_string(static_cast<int>(mean)), stateOf(measure)});
    }
    return overlay;
}

// A block of the grid and how far its median lies from the mean of all, relative to it; in single precision as what is
// judged.
struct GridBlock {
    Region place;
    float median = 0.0f;
    float deviation = 0.0f;
};

constexpr int kGridSide = 64;
using GridPixels = std::array<WORD, std::size_t{kGridSide} * kGridSide>;

// The upper middle, bit by bit from the highest: to count what lies below a value takes a few steps for all pixels.
WORD medianOf(const GridPixels& pixels) {
    int median = 0;
    for (int bit = 1 << 15; bit > 0; bit /= 2) {
        const WORD value = static_cast<WORD>(median + bit);
        WORD below = 0;
        for (const WORD pixel : pixels)
            below = static_cast<WORD>(below + (pixel < value ? 1 : 0));
        median += below <= pixels.size() / 2 ? bit : 0;
    }
    return static_cast<WORD>(median);
}

WORD medianOf(const RawImage& image, const Region& place) {
    GridPixels pixels;
    for (int y = 0; y < kGridSide; ++y)
        std::copy_n(image.row(place.corner.y + y) + place.corner.x, kGridSide, pixels.begin() + y * kGridSide);
    return medianOf(pixels);
}

// Of checkGlobalUniform: without two blocks at every side, the largest deviation first.
std::vector<GridBlock> gridBlocks(const RawImage& image) {
    constexpr int kBorder = 2;
    std::vector<GridBlock> blocks;
    double sum = 0.0;
    for (int row = kBorder; row < image.shape.height / kGridSide - kBorder; ++row) {
        for (int column = kBorder; column < image.shape.width / kGridSide - kBorder; ++column) {
            const Region place = squareAt(row * kGridSide, column * kGridSide, kGridSide);
            blocks.push_back({place, static_cast<float>(medianOf(image, place))});
            sum += static_cast<double>(blocks.back().median);
        }
    }
    const auto mean = static_cast<float>(sum / static_cast<double>(blocks.size()));
    for (GridBlock& block : blocks)
        block.deviation = std::fabs(block.median - mean) / mean;
    std::ranges::stable_sort(blocks, std::greater<>(), &GridBlock::deviation);
    return blocks;
}

// The blocks up to the one whose deviation is judged, and those beyond the limit.
Overlay deviatingBlocks(const Measure& measure, const RawImage& image) {
    constexpr std::size_t kJudged = 4;
    Overlay overlay{"blocks that deviate most", {}};
    for (const GridBlock& block : gridBlocks(image)) {
        Measure deviation = measure;
        deviation.value = static_cast<double>(block.deviation);
        const bool isBeyond = measure.limit && deviation.value > measure.limit->value;
        if (overlay.marks.size() >= kJudged && !isBeyond)
            break;
        // Many are told by their colour.
        const std::string label = overlay.marks.size() < kJudged ? valueText(deviation) : "";
        overlay.marks.push_back({block.place, label, isBeyond ? MarkState::NotMet : MarkState::Examined});
    }
    return overlay;
}

// Means of the strips of 32 columns that are examined: while columns are left beyond them. In single precision, as they
// are judged: over so many pixels that decides between strips that are nearly equal.
std::vector<float> stripMeans(const RawImage& image) {
    std::vector<float> means(static_cast<std::size_t>(std::max(0, (image.shape.width - 1) / kStripColumns)));
    for (int y = 0; y < image.shape.height; ++y) {
        for (int x = 0; x < kStripColumns; ++x) {
            const WORD* const first = image.row(y) + x;
            for (std::size_t strip = 0; strip < means.size(); ++strip)
                means[strip] += static_cast<float>(first[strip * kStripColumns]);
        }
    }
    for (float& mean : means)
        mean /= static_cast<float>(std::int64_t{kStripColumns} * image.shape.height);
    return means;
}

Region stripPlace(std::size_t strip, const Shape& shape) {
    return {{static_cast<int>(strip) * kStripColumns, 0}, {kStripColumns, shape.height}};
}

Overlay stripPair(const Measure& measure, const RawImage& image) {
    const std::vector<float> means = stripMeans(image);
    Overlay overlay{"largest step between strips", {}};
    std::size_t pair = 0;
    float largest = -1.0f;
    for (std::size_t strip = 1; strip < means.size(); ++strip) {
        const float step = std::fabs(means[strip] - means[strip - 1]);
        if (step > largest) {
            largest = step;
            pair = strip;
        }
    }
    if (pair > 0) {
        overlay.marks.push_back({stripPlace(pair - 1, image.shape), "", stateOf(measure)});
        overlay.marks.push_back({stripPlace(pair, image.shape), "step " + valueText(measure), stateOf(measure)});
    }
    return overlay;
}

// The leftmost of the darkest strips; the first one when none lies below 10000.
Overlay darkestStrip(const Measure& measure, const RawImage& image) {
    float level = 10000.0f;
    std::size_t darkest = 0;
    const std::vector<float> means = stripMeans(image);
    for (std::size_t strip = 0; strip < means.size(); ++strip) {
        if (means[strip] < level) {
            level = std::trunc(means[strip]);
            darkest = strip;
        }
    }
    return {"darkest strip", {{stripPlace(darkest, image.shape), valueText(measure), stateOf(measure)}}};
}

FloatImage blockMedians(const RawImage& image, const RawImage& dark) {
    FloatImage blocks = filledImage({image.shape.width / kBlockSide, image.shape.height / kBlockSide}, 0.0f);
    FloatImage difference = filledImage({image.shape.width, kBlockSide}, 0.0f);
    for (int row = 0; row < blocks.shape.height; ++row) {
        const int top = row * kBlockSide;
        std::transform(
            image.row(top), image.row(top + kBlockSide), dark.row(top), difference.row(0),
            [](WORD bright, WORD black) { return bright > black ? static_cast<float>(bright - black) : 0.0f; });
        doBinningSample(blocks.row(row), difference.row(0), image.shape.width, kBlockSide);
    }
    return blocks;
}

// The first block that is not met, row by row, or the darkest one. A preview's blocks that end at the border are not
// examined.
Overlay darkestBlock(const Measure& measure, const RawImage& image, const RawImage& dark, bool isPreview) {
    const FloatImage blocks = blockMedians(image, dark);
    const int rows = isPreview ? (image.shape.height - 1) / kBlockSide : blocks.shape.height;
    const int columns = isPreview ? (image.shape.width - 1) / kBlockSide : blocks.shape.width;
    std::optional<Point> darkest;
    const auto isFound = [&] {
        return darkest && static_cast<double>(blocks.at(darkest->y, darkest->x)) <= measure.value;
    };
    for (int y = 0; y < rows && !isFound(); ++y) {
        for (int x = 0; x < columns && !isFound(); ++x) {
            if (!darkest || blocks.at(y, x) < blocks.at(darkest->y, darkest->x))
                darkest = Point{x, y};
        }
    }
    Overlay overlay{"darkest block", {}};
    if (darkest)
        overlay.marks.push_back({squareAt(darkest->y * kBlockSide, darkest->x * kBlockSide, kBlockSide),
                                 valueText(measure), stateOf(measure)});
    return overlay;
}

// Blocks that belong to a region.
struct BlockMask {
    Shape shape;
    std::vector<unsigned char> inside;

    bool has(int row, int column) const {
        return row >= 0 && row < shape.height && column >= 0 && column < shape.width &&
               inside[static_cast<std::size_t>(row * shape.width + column)] != 0;
    }
};

// The edges of blocks at which the region ends, and what it lies in.
MarkedPlace outlined(const BlockMask& mask) {
    MarkedPlace mark{{{0, 0}, {0, 0}}, "", MarkState::Examined};
    Point first{mask.shape.width, mask.shape.height};
    Point end{0, 0};
    for (int row = 0; row <= mask.shape.height; ++row) {
        for (int column = 0; column <= mask.shape.width; ++column) {
            const Point corner{column * kBlockSide, row * kBlockSide};
            if (mask.has(row, column) != mask.has(row - 1, column))
                mark.outline.push_back({corner, {corner.x + kBlockSide, corner.y}});
            if (mask.has(row, column) != mask.has(row, column - 1))
                mark.outline.push_back({corner, {corner.x, corner.y + kBlockSide}});
            if (!mask.has(row, column))
                continue;
            first = {std::min(first.x, column), std::min(first.y, row)};
            end = {std::max(end.x, column + 1), std::max(end.y, row + 1)};
        }
    }
    if (!mark.outline.empty())
        mark.place = {{first.x * kBlockSide, first.y * kBlockSide},
                      {(end.x - first.x) * kBlockSide, (end.y - first.y) * kBlockSide}};
    return mark;
}

Overlay shadowRegion(const Measure& measure, const RawImage& image, const RawImage& dark) {
    BlockMask mask{{image.shape.width / kBlockSide, image.shape.height / kBlockSide}, {}};
    mask.inside.resize(static_cast<std::size_t>(mask.shape.pixelCount()));
    locateShadow(image.pixels.data(), dark.pixels.data(), image.shape.width, image.shape.height, mask.inside.data(),
                 static_cast<int>(mask.inside.size()));
    Overlay overlay{"shadow", {}};
    MarkedPlace mark = outlined(mask);
    if (mark.outline.empty())
        return overlay;
    mark.label = valueText(measure) + " blocks";
    mark.state = stateOf(measure);
    overlay.marks.push_back(mark);
    return overlay;
}

Overlay cornerAreas(const Measure& measure, const Shape& shape) {
    constexpr int kSide = 8 * kBlockSide;
    const int right = shape.width / kBlockSide * kBlockSide - kSide;
    const int bottom = shape.height / kBlockSide * kBlockSide - kSide;
    Overlay overlay{"corners", {}};
    for (const Point& corner : {Point{0, 0}, Point{right, 0}, Point{0, bottom}, Point{right, bottom}})
        overlay.marks.push_back({squareAt(corner.y, corner.x, kSide), "", stateOf(measure)});
    overlay.marks.front().label = "asymmetry " + valueText(measure);
    return overlay;
}

std::vector<Overlay> exposureOverlays(const Record& record, const RawImage& image, const RawImage* dark) {
    if (dark == nullptr || dark->shape != image.shape || record.measures.empty())
        return {};
    const std::vector<Measure>& measures = record.measures;
    const bool isPreview = record.check == "checkPreImg";
    std::vector<Overlay> overlays = {darkestBlock(measures[0], image, *dark, isPreview)};
    if (measures.size() > 1)
        overlays.push_back(isPreview ? uniformSquares(measures[1], image, dark)
                                     : shadowRegion(measures[1], image, *dark));
    if (measures.size() > 2)
        overlays.push_back(cornerAreas(measures[2], image.shape));
    return overlays;
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

// What was asked of them, one after the other until one is met: a region, unless the middle area is too small for one,
// that area, the outer one.
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

// The tiles that are searched for patches: kept within their bands, which are counted in the side of large tiles.
Overlay patchTiles(const Measure& measure, const Shape& shape) {
    constexpr int kTopRows = 128;
    constexpr int kMarginRows = 192;
    constexpr int kLargeTile = 64;
    constexpr int kLargeTileChannels = 44;
    const int side = getReadOutChannels() == kLargeTileChannels ? kLargeTile : kLargeTile / 2;
    const int rows = (shape.height - kMarginRows) / kLargeTile * side;
    const int columns = shape.width / kLargeTile * side;
    Overlay overlay{"tiles examined", {}};
    if (rows > 0 && columns > 0)
        overlay.marks.push_back({{{0, kTopRows}, {columns, rows}},
                                 "tiles of " + std::to_string(side) + " x " + std::to_string(side),
                                 stateOf(measure)});
    return overlay;
}

// The rows that step, neighbours as one mark.
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

// Those that mark something.
std::vector<Overlay> finished(std::vector<Overlay> overlays, const Record& record) {
    std::erase_if(overlays, [](const Overlay& overlay) { return overlay.marks.empty(); });
    for (Overlay& overlay : overlays)
        overlay.check = record.check;
    return overlays;
}

std::vector<Overlay> allOverlays(const Record& record, const RawImage& image, const RawImage* dark) {
    if (!record.squares.empty())
        return {snrSquares(record, image.shape)};
    if (record.check == "checkFirstImg" || record.check == "checkPreImg")
        return exposureOverlays(record, image, dark);
    if (record.measures.empty())
        return {};
    const Measure& measure = record.measures.front();
    if (record.check == "getUniform")
        return {uniformSquares(measure, image, nullptr)};
    if (record.check == "checkGlobalUniform")
        return {deviatingBlocks(measure, image)};
    if (record.check == "analysisStrip")
        return {stripPair(measure, image)};
    if (record.check == "darkImgGrayAnalysis")
        return {darkestStrip(measure, image)};
    return {};
}

std::vector<Overlay> allOverlays(const Record& record, const FloatImage& image) {
    if (record.measures.empty())
        return {};
    if (record.check == "checkFalseTriggAEDImage")
        return {triggerAreas(record, image)};
    if (record.check == "checkOffsetImageQuality")
        return {patchTiles(record.measures.front(), image.shape)};
    if (record.check == "analysisRcn")
        return {steppingRows(record.measures.front(), image)};
    return {};
}

}  // namespace

std::vector<Overlay> overlaysOf(const Record& record, const RawImage& image, const RawImage* dark) {
    return finished(allOverlays(record, image, dark), record);
}

std::vector<Overlay> overlaysOf(const Record& record, const FloatImage& image) {
    return finished(allOverlays(record, image), record);
}

}  // namespace qx::tool
