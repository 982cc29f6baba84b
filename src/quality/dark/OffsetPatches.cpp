#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "quality/Measure.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

using View = qx::ImageView<const float>;

constexpr int kPatchFound = 1;

// Rows at the top and bottom that are not looked at.
constexpr int kTopRows = 128;
constexpr int kMarginRows = 192;

// Kept: bands and columns are counted in tiles of this side, whatever side the tiles have.
constexpr int kLargeTile = 64;
constexpr int kSmallTile = 32;
constexpr int kLargeTileChannels = 44;

constexpr int kCells = 4;
constexpr int kCellSide = 16;
constexpr float kCellPixels = kCellSide * kCellSide;
constexpr float kPatchShare = 0.9f;

constexpr int kLevels = 1000;

// The pixels of a tile, row by row.
struct Tile {
    int side;
    std::array<WORD, kLargeTile * kLargeTile> pixels;

    int count() const { return side * side; }
};

void copyTile(const View& image, int top, int left, Tile& tile) {
    WORD* next = tile.pixels.data();
    for (int y = top; y < top + tile.side; ++y) {
        const float* const row = &image.at(y, left);
        next = std::transform(row, row + tile.side, next, [](float value) { return qx::truncateToInt(value); });
    }
}

float logarithm(float value) {
    return static_cast<float>(std::log(static_cast<double>(value)));
}

// Entropy of the split of a tile into the share p of its values and the rest.
float splitEntropy(float p) {
    return -p * logarithm(p) - (1.0f - p) * logarithm(1.0f - p);
}

// The level at or below which the split of the values 1 .. 999 has the largest entropy, the lowest such level. A tile
// of one value has none: 0.
int splitLevel(const Tile& tile) {
    std::array<int, kLevels> counts{};
    for (int i = 0; i < tile.count(); ++i)
        if (tile.pixels[i] > 0 && tile.pixels[i] < kLevels)
            ++counts[tile.pixels[i]];
    int level = 0;
    float largest = 0.0f;
    float share = 0.0f;
    const float pixels = tile.count();
    for (int value = 1; value < kLevels; ++value) {
        share += counts[value] / pixels;
        if (share == 0.0f)
            continue;
        const float entropy = splitEntropy(share);
        if (entropy > largest) {
            largest = entropy;
            level = value;
        }
    }
    return level;
}

// The share of a cell at or below the level. Kept: the cells of a small tile go on beyond its rows, over values that
// are not marked.
float markedShare(const Tile& tile, int cell, int level) {
    const auto isMarked = [&](int i) { return i < tile.count() && tile.pixels[i] <= level; };
    const int first = cell / kCells * kCellSide * tile.side + cell % kCells * kCellSide;
    int marks = 0;
    for (int y = 0; y < kCellSide; ++y)
        for (int x = 0; x < kCellSide; ++x)
            marks += isMarked(first + y * tile.side + x);
    return marks / kCellPixels;
}

qx::Measure measureOf(float share) {
    return {share, MeasureBelow, kPatchShare};
}

// Follows the cells of a tile, until one is a patch; share becomes that of the fullest.
void followCells(const Tile& tile, float& share) {
    const int level = splitLevel(tile);
    for (int cell = 0; cell < kCells * kCells && measureOf(share).met(); ++cell)
        share = std::fmax(share, markedShare(tile, cell, level));
}

// The share of the fullest cell up to the first patch.
qx::Measure measurePatch(const View& image) {
    Tile tile;
    tile.side = getReadOutChannels() == kLargeTileChannels ? kLargeTile : kSmallTile;
    const int bands = (image.height - kMarginRows) / kLargeTile;
    const int columns = image.width / kLargeTile;
    float share = qx::kNothingMeasured;
    for (int band = 0; band < bands; ++band) {
        for (int column = 0; column < columns && measureOf(share).met(); ++column) {
            copyTile(image, kTopRows + band * tile.side, column * tile.side, tile);
            followCells(tile, share);
        }
    }
    return measureOf(share);
}

// Whether the four classes of even and odd rows and columns are examined one by one.
bool isSplit() {
    constexpr int kSplitMode = 16;
    const int type = get_dtt_type();
    ModeInfo mode{};
    getModeInfo(&mode);
    switch (type) {
    case 7:
    case 12:
        return mode.mode == kSplitMode;
    case 5:
    case 13:
    case 25:
        return true;
    default:
        return false;
    }
}

int refusalOf(const View& image) {
    if (image.data == nullptr)
        return StatusNullArgument;
    return image.exists() ? StatusOk : StatusWrongParameter;
}

}  // namespace

int checkOffsetImageQuality(const float* image, int width, int height) {
    constexpr int kParityClasses = 4;
    const View view{image, width, height};
    int result = refusalOf(view);
    if (result != StatusOk)
        return result;
    // Kept: a split image is examined as a whole for each of its classes.
    const int runs = isSplit() ? kParityClasses : 1;
    for (int run = 0; run < runs && result == StatusOk; ++run)
        result = qx::verdictOn(measurePatch(view), result, kPatchFound);
    return result;
}

int measureOffsetImageQuality(const float* image, int width, int height, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        const View view{image, width, height};
        const int status = refusalOf(view);
        if (status == StatusOk)
            records.add(measurePatch(view), "", "dark share of a cell");
        return status;
    });
}
