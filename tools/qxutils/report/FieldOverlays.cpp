#include "report/OverlayParts.h"
#include "results/RecordText.h"

#include <QxUtils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace qx::tool {
namespace {

constexpr int kStripColumns = 32;

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

}  // namespace

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

}  // namespace qx::tool
