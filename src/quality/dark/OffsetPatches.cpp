#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

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
constexpr float kCellShare = 0.9f;

constexpr std::size_t kTileCapacity = static_cast<std::size_t>(kLargeTile) * kLargeTile;
constexpr std::size_t kLevels = 1000;

using Tile = std::array<WORD, kTileCapacity>;

void copyTile(const View& image, int top, int left, int side, Tile& tile) {
    WORD* next = tile.data();
    for (int y = top; y < top + side; ++y)
        next = std::transform(image.row(y) + left, image.row(y) + left + side, next,
                              [](float value) { return static_cast<WORD>(qx::truncateToInt(value)); });
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
int splitLevel(const Tile& tile, int side) {
    const auto size = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    std::array<int, kLevels> counts{};
    for (std::size_t i = 0; i < size; ++i)
        if (tile[i] > 0 && tile[i] < kLevels)
            ++counts[tile[i]];
    int level = 0;
    float largest = 0.0f;
    float share = 0.0f;
    for (std::size_t value = 1; value < kLevels; ++value) {
        share += static_cast<float>(counts[value]) / static_cast<float>(size);
        if (share == 0.0f)
            continue;
        const float entropy = splitEntropy(share);
        if (entropy > largest) {
            largest = entropy;
            level = static_cast<int>(value);
        }
    }
    return level;
}

// Kept: the cells of a small tile go on beyond its rows, over values that are not marked.
bool hasFullCell(const Tile& tile, int side, int level) {
    const auto size = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    const auto isMarked = [&](std::size_t i) { return i < size && tile[i] <= level; };
    for (int cell = 0; cell < kCells * kCells; ++cell) {
        const int first = cell / kCells * kCellSide * side + cell % kCells * kCellSide;
        int marks = 0;
        for (int y = 0; y < kCellSide; ++y)
            for (int x = 0; x < kCellSide; ++x)
                marks += isMarked(static_cast<std::size_t>(first + y * side + x));
        if (static_cast<float>(marks) / (kCellSide * kCellSide) >= kCellShare)
            return true;
    }
    return false;
}

int findPatch(const View& image) {
    const int side = getReadOutChannels() == kLargeTileChannels ? kLargeTile : kSmallTile;
    const int bands = (image.height - kMarginRows) / kLargeTile;
    const int columns = image.width / kLargeTile;
    Tile tile;
    for (int band = 0; band < bands; ++band) {
        for (int column = 0; column < columns; ++column) {
            copyTile(image, kTopRows + band * side, column * side, side, tile);
            if (hasFullCell(tile, side, splitLevel(tile, side)))
                return kPatchFound;
        }
    }
    return StatusOk;
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

}  // namespace

int checkOffsetImageQuality(const float* image, int width, int height) {
    constexpr int kParityClasses = 4;
    if (image == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    const View view{image, width, height};
    // Kept: a split image is examined as a whole for each of its classes.
    const int runs = isSplit() ? kParityClasses : 1;
    int result = StatusOk;
    for (int run = 0; run < runs && result == StatusOk; ++run)
        result = findPatch(view);
    return result;
}
