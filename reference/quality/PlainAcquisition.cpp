#include "reference/quality/PlainAcquisition.h"

#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace qx::plain {

namespace {

// Rows and columns are inclusive.
struct Area {
    int firstRow, lastRow, firstColumn, lastColumn;
};

// The areas of an image that the detector triggered by itself; they may reach beyond its rows.
struct TriggerAreas {
    int roiWidth, roiHeight;
    Area middle, outer;
};

// The top-left corner of a region that is searched for an exposure.
struct Corner {
    int column, row;
};

Area centred(int width, int height, int areaWidth, int areaHeight) {
    return {(height - areaHeight) / 2, (height + areaHeight) / 2, (width - areaWidth) / 2, (width + areaWidth) / 2};
}

TriggerAreas triggerAreas(int width, int height) {
    const int k = truncateToInt(static_cast<double>(height) / width * 256 * 0.015625 + 0.5);
    const int roiWidth = 256;
    const int roiHeight = 64 * k;
    const int m = width / 256 - 2;
    const int outerWidth = roiWidth * m;
    const int outerHeight = roiHeight * m;
    return {roiWidth, roiHeight, centred(width, height, outerWidth / 2, outerHeight / 2),
            centred(width, height, outerWidth, outerHeight)};
}

// Median of the part of an area that lies inside the image, truncated.
int areaMedian(const float* image, int width, int height, const Area& area) {
    return getROIMedian(image, std::max(area.firstRow, 0), std::min(area.lastRow, height - 1),
                        std::max(area.firstColumn, 0), std::min(area.lastColumn, width - 1), width);
}

std::vector<Corner> searchedCorners(const TriggerAreas& areas) {
    std::vector<Corner> corners;
    for (int x = areas.middle.firstColumn; x <= areas.middle.lastColumn - areas.roiWidth; x += 128) {
        for (int y = areas.middle.firstRow; y <= areas.middle.lastRow - areas.roiHeight; y += areas.roiHeight / 2)
            corners.push_back({x, y});
    }
    return corners;
}

}  // namespace

int falseTriggerVerdict(const float* image, int width, int height, int medianFloor) {
    const TriggerAreas areas = triggerAreas(width, height);
    for (const auto& [x, y] : searchedCorners(areas)) {
        if (areaMedian(image, width, height, {y, y + areas.roiHeight, x, x + areas.roiWidth}) > 400)
            return 0;
    }
    if (areaMedian(image, width, height, areas.middle) >= medianFloor)
        return 0;
    return areaMedian(image, width, height, areas.outer) > medianFloor / 2 ? 0 : 1094;
}

namespace {

constexpr std::size_t kTileBuffer = 4096;
constexpr int kLevels = 1000;

double entropy(double share) {
    return -share * std::log(share) - (1 - share) * std::log(1 - share);
}

}  // namespace

std::vector<WORD> offsetTile(const float* image, int width, int top, int left, int tileSide) {
    std::vector<WORD> tile(kTileBuffer, 0);
    for (int row = 0; row < tileSide; ++row) {
        for (int col = 0; col < tileSide; ++col) {
            const float value = image[std::ptrdiff_t{top + row} * width + left + col];
            tile[static_cast<std::size_t>(row * tileSide + col)] = static_cast<WORD>(truncateToInt(value));
        }
    }
    return tile;
}

int splittingLevel(const std::vector<WORD>& tile, int tileSide) {
    const int count = tileSide * tileSide;
    std::array<int, kLevels> histogram{};
    for (int i = 0; i < count; ++i) {
        const WORD value = tile[static_cast<std::size_t>(i)];
        if (value >= 1 && value < kLevels)
            ++histogram[value];
    }
    int level = 0;
    double best = 0;
    double share = 0;
    for (int value = 1; value < kLevels; ++value) {
        share += static_cast<double>(histogram[static_cast<std::size_t>(value)]) / count;
        // Not a number below the smallest value present and once every value is reached.
        if (entropy(share) > best) {
            best = entropy(share);
            level = value;
        }
    }
    return level;
}

bool holdsPatch(const std::vector<WORD>& tile, int tileSide, int level) {
    std::vector<WORD> marks(kTileBuffer, 0);
    for (std::size_t i = 0; i < static_cast<std::size_t>(tileSide * tileSide); ++i)
        marks[i] = tile[i] <= level ? 1 : 0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            int sum = 0;
            for (int row = 0; row < 16; ++row) {
                for (int col = 0; col < 16; ++col)
                    sum += marks[static_cast<std::size_t>((i * 16 + row) * tileSide + j * 16 + col)];
            }
            if (sum / 256.0 >= 0.9)
                return true;
        }
    }
    return false;
}

int offsetPatchVerdict(const float* image, int width, int height, int tileSide) {
    const int bands = (height - 192) / 64;
    const int columns = width / 64;
    for (int b = 0; b < bands; ++b) {
        for (int c = 0; c < columns; ++c) {
            const std::vector<WORD> tile = offsetTile(image, width, 128 + b * tileSide, c * tileSide, tileSide);
            if (holdsPatch(tile, tileSide, splittingLevel(tile, tileSide)))
                return 1;
        }
    }
    return 0;
}

}  // namespace qx::plain
