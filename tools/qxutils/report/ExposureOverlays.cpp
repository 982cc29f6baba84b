#include "report/OverlayParts.h"
#include "results/RecordText.h"

#include <QxUtils.h>

#include <algorithm>
#include <optional>

namespace qx::tool {
namespace {

constexpr int kBlockSide = 32;

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

}  // namespace

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

}  // namespace qx::tool
