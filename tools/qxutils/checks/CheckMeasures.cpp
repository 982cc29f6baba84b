#include "checks/CheckMeasures.h"

#include "common/FileAccess.h"

#include <QxUtils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <utility>

namespace qx::tool {
namespace {

constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

constexpr int kBlockSide = 32;
constexpr int kStripColumns = 32;

std::size_t at(const Shape& shape, int row, int column) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(shape.width) + static_cast<std::size_t>(column);
}

FloatImage cutBorder(const FloatImage& blocks, int border) {
    FloatImage inner{{blocks.shape.width - 2 * border, blocks.shape.height - 2 * border}, {}};
    inner.pixels.resize(static_cast<std::size_t>(inner.shape.pixelCount()));
    cutBinningImage(inner.pixels.data(), blocks.pixels.data(), blocks.shape.width, blocks.shape.height, border);
    return inner;
}

// The mean of the 7 x 7 neighbourhood, as far as it lies inside.
FloatImage smooth(const FloatImage& blocks) {
    constexpr int kReach = 3;
    const auto [width, height] = blocks.shape;
    FloatImage smoothed{blocks.shape, {}};
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            float sum = 0.0f;
            int count = 0;
            for (int y = std::max(row - kReach, 0); y <= std::min(row + kReach, height - 1); ++y) {
                for (int x = std::max(column - kReach, 0); x <= std::min(column + kReach, width - 1); ++x, ++count)
                    sum += blocks.pixels[at(blocks.shape, y, x)];
            }
            smoothed.pixels.push_back(sum / static_cast<float>(count));
        }
    }
    return smoothed;
}

// What falls below a quarter of the brightest value, less the further away from it.
std::vector<std::uint8_t> markShadow(const FloatImage& smoothed) {
    constexpr double kFraction = 0.25;
    constexpr double kFullToleranceBlocks = 36.0;
    const auto [width, height] = smoothed.shape;
    const int brightest = getMaxIndex(smoothed.pixels.data(), static_cast<int>(smoothed.pixels.size()));
    const double darkLevel = kFraction * static_cast<double>(smoothed.pixels[static_cast<std::size_t>(brightest)]);
    std::vector<std::uint8_t> marked;
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            const double distance = std::hypot(column - brightest % width, row - brightest / width);
            const double level = darkLevel / std::max(1.0, distance / kFullToleranceBlocks);
            marked.push_back(level >= static_cast<double>(smoothed.pixels[at(smoothed.shape, row, column)]));
        }
    }
    return marked;
}

// The 8-connected region around one marked block; its marks are taken away.
std::vector<std::size_t> takeRegion(std::vector<std::uint8_t>& marked, const Shape& shape, std::size_t first) {
    std::vector<std::size_t> region = {first};
    marked[first] = 0;
    for (std::size_t next = 0; next < region.size(); ++next) {
        const int row = static_cast<int>(region[next]) / shape.width;
        const int column = static_cast<int>(region[next]) % shape.width;
        for (int y = std::max(row - 1, 0); y <= std::min(row + 1, shape.height - 1); ++y) {
            for (int x = std::max(column - 1, 0); x <= std::min(column + 1, shape.width - 1); ++x) {
                if (std::exchange(marked[at(shape, y, x)], std::uint8_t{0}) != 0)
                    region.push_back(at(shape, y, x));
            }
        }
    }
    return region;
}

// Mean of a corner of 8 x 8 blocks; its running sum loses the fraction at every addition.
int cornerLevel(const FloatImage& blocks, int firstRow, int firstColumn) {
    constexpr int kSide = 8;
    int sum = 0;
    for (int row = firstRow; row < firstRow + kSide; ++row) {
        for (int column = firstColumn; column < firstColumn + kSide; ++column)
            sum = static_cast<int>(static_cast<float>(sum) + blocks.pixels[at(blocks.shape, row, column)]);
    }
    return sum / (kSide * kSide);
}

double asymmetry(int first, int second) {
    return std::abs(first - second) * 2.0 / (first + second);
}

// Single-precision means of the strips that the library examines.
std::vector<float> stripMeans(const RawImage& image) {
    std::vector<float> means;
    for (int first = 0; first < image.shape.width - kStripColumns; first += kStripColumns) {
        float sum = 0.0f;
        for (int row = 0; row < image.shape.height; ++row) {
            const WORD* line = image.pixels.data() + at(image.shape, row, first);
            for (int column = 0; column < kStripColumns; ++column)
                sum += static_cast<float>(line[column]);
        }
        means.push_back(sum / static_cast<float>(kStripColumns * image.shape.height));
    }
    return means;
}

// The leftmost strip unless another one lies below the level where the search begins.
int darkestStrip(const std::vector<float>& means) {
    int lowest = 10000;
    int strip = 0;
    for (std::size_t index = 0; index < means.size(); ++index) {
        if (means[index] < static_cast<float>(lowest)) {
            lowest = static_cast<int>(means[index]);
            strip = static_cast<int>(index);
        }
    }
    return strip;
}

WORD toWord(float value) {
    constexpr float kBound = 2147483648.0f;
    return value > -kBound && value < kBound ? static_cast<WORD>(static_cast<int>(value)) : WORD{0};
}

// The level that splits the values 1..999 of a tile with most information; 0 when there is none.
int splittingLevel(const std::vector<WORD>& tile) {
    constexpr std::size_t kLevels = 1000;
    std::array<int, kLevels> counts{};
    for (const WORD value : tile)
        counts[value < kLevels ? value : 0]++;
    double best = 0.0;
    int level = 0;
    int below = 0;
    for (std::size_t value = 1; value < kLevels; ++value) {
        below += counts[value];
        const double share = static_cast<double>(below) / static_cast<double>(tile.size());
        const double information = -share * std::log(share) - (1.0 - share) * std::log(1.0 - share);
        if (information > best) {
            best = information;
            level = static_cast<int>(value);
        }
    }
    return level;
}

// Cells are laid out for tiles of 64 x 64: in a smaller tile every second one begins a row further down.
double darkestCellOfTile(const FloatImage& image, int firstRow, int firstColumn, int side) {
    constexpr std::size_t kCellSide = 16;
    constexpr std::size_t kCells = 4;
    std::vector<WORD> tile;
    for (int row = firstRow; row < firstRow + side; ++row) {
        for (int column = firstColumn; column < firstColumn + side; ++column)
            tile.push_back(toWord(image.pixels[at(image.shape, row, column)]));
    }
    const int level = splittingLevel(tile);
    std::vector<std::uint8_t> marks(kCells * kCells * kCellSide * kCellSide);
    std::transform(tile.begin(), tile.end(), marks.begin(), [level](WORD value) { return value <= level; });
    const auto stride = static_cast<std::size_t>(side);
    int most = 0;
    for (std::size_t cell = 0; cell < kCells * kCells; ++cell) {
        const std::size_t first = (cell / kCells * stride + cell % kCells) * kCellSide;
        int marked = 0;
        for (std::size_t row = 0; row < kCellSide; ++row)
            marked = std::accumulate(&marks[first + row * stride], &marks[first + row * stride] + kCellSide, marked);
        most = std::max(most, marked);
    }
    return static_cast<double>(most) / (kCellSide * kCellSide);
}

// Rows and columns, both ends included.
struct Region {
    int firstRow;
    int lastRow;
    int firstColumn;
    int lastColumn;
};

Region centredRegion(const Shape& shape, int width, int height) {
    return {(shape.height - height) / 2, (shape.height + height) / 2, (shape.width - width) / 2,
            (shape.width + width) / 2};
}

double regionMedian(const FloatImage& image, const Region& region) {
    return getROIMedian(image.pixels.data(), std::max(region.firstRow, 0),
                        std::min(region.lastRow, image.shape.height - 1), std::max(region.firstColumn, 0),
                        std::min(region.lastColumn, image.shape.width - 1), image.shape.width);
}

}  // namespace

FloatImage subtractDark(const RawImage& image, const RawImage& dark) {
    FloatImage difference{image.shape, std::vector<float>(image.pixels.size())};
    subtractImage(difference.pixels.data(), image.pixels.data(), dark.pixels.data(),
                  static_cast<int>(image.pixels.size()));
    for (float& value : difference.pixels)
        value = std::max(value, 0.0f);
    return difference;
}

FloatImage blockMedians(const FloatImage& image) {
    FloatImage blocks{{image.shape.width / kBlockSide, image.shape.height / kBlockSide}, {}};
    blocks.pixels.resize(static_cast<std::size_t>(blocks.shape.pixelCount()));
    doBinningSample(blocks.pixels.data(), image.pixels.data(), image.shape.width, image.shape.height);
    return blocks;
}

ShadowRegion findShadow(const FloatImage& blocks) {
    std::vector<std::uint8_t> marked = markShadow(smooth(blocks));
    std::vector<std::size_t> largest;
    for (std::size_t block = 0; block < marked.size(); ++block) {
        if (marked[block] == 0)
            continue;
        std::vector<std::size_t> region = takeRegion(marked, blocks.shape, block);
        if (region.size() > largest.size())
            largest = std::move(region);
    }
    ShadowRegion shadow{std::vector<std::uint8_t>(marked.size()), static_cast<int>(largest.size())};
    for (const std::size_t block : largest)
        shadow.isInside[block] = 1;
    return shadow;
}

double darkestBlock(const FloatImage& blocks, const Shape& examined) {
    double darkest = kNotANumber;
    for (int row = 0; row < examined.height; ++row) {
        for (int column = 0; column < examined.width; ++column)
            darkest = std::fmin(darkest, static_cast<double>(blocks.pixels[at(blocks.shape, row, column)]));
    }
    return darkest;
}

double cornerAsymmetry(const FloatImage& exposed) {
    constexpr int kBorderBlocks = 4;
    constexpr int kCornerBlocks = 8;
    FloatImage balanced = exposed;
    correctRDwithoutRgain(balanced.pixels.data(), balanced.shape.width, balanced.shape.height);
    const FloatImage inner = cutBorder(blockMedians(balanced), kBorderBlocks);
    const int lastRow = inner.shape.height - kCornerBlocks;
    const int lastColumn = inner.shape.width - kCornerBlocks;
    const int leftTop = cornerLevel(inner, 0, 0);
    const int leftBottom = cornerLevel(inner, lastRow, 0);
    const int rightTop = cornerLevel(inner, 0, lastColumn);
    const int rightBottom = cornerLevel(inner, lastRow, lastColumn);
    return std::max({asymmetry(leftTop, rightTop), asymmetry(leftBottom, rightBottom), asymmetry(leftTop, leftBottom),
                     asymmetry(rightTop, rightBottom)});
}

double variationOfSquares(const RawImage& image) {
    constexpr int kSide = 64;
    constexpr float kMarginShare = 0.333f;
    const auto [width, height] = image.shape;
    const float dx = static_cast<float>(width) * kMarginShare * 0.5f;
    const float dy = static_cast<float>(height) * kMarginShare * 0.5f;
    const int left = static_cast<int>(dx);
    const int top = static_cast<int>(dy);
    const int right = static_cast<int>(static_cast<float>(width - kSide) - dx);
    const int bottom = static_cast<int>(static_cast<float>(height - kSide) - dy);
    const auto levelAt = [&image](int row, int column) {
        const WORD* pixels = image.pixels.data();
        return static_cast<WORD>(
            getROIMean(pixels, row, row + kSide - 1, column, column + kSide - 1, image.shape.width));
    };
    const std::array levels = {levelAt((height - kSide) / 2, (width - kSide) / 2), levelAt(top, left),
                               levelAt(top, right), levelAt(bottom, left), levelAt(bottom, right)};
    const int count = static_cast<int>(levels.size());
    const int mean = static_cast<int>(getMean(levels.data(), count));
    return mean == 0 ? kNotANumber : static_cast<double>(getStdev(levels.data(), count, 1)) / mean;
}

double fourthBlockDeviation(const RawImage& image) {
    constexpr int kSide = 64;
    constexpr int kBorderBlocks = 2;
    constexpr std::size_t kTolerated = 3;
    FloatImage blocks{{image.shape.width / kSide, image.shape.height / kSide}, {}};
    for (int row = 0; row < blocks.shape.height; ++row) {
        for (int column = 0; column < blocks.shape.width; ++column) {
            std::vector<float> block;
            for (int line = row * kSide; line < (row + 1) * kSide; ++line) {
                const WORD* first = image.pixels.data() + at(image.shape, line, column * kSide);
                block.insert(block.end(), first, first + kSide);
            }
            blocks.pixels.push_back(getFloatMedianByQuickMethod(block.data(), static_cast<int>(block.size())));
        }
    }
    std::vector<float> inner = cutBorder(blocks, kBorderBlocks).pixels;
    const double mean = std::accumulate(inner.begin(), inner.end(), 0.0) / static_cast<double>(inner.size());
    for (float& value : inner)
        value = static_cast<float>(std::abs(static_cast<double>(value) - mean) / mean);
    std::sort(inner.begin(), inner.end(), std::greater<>());
    return inner.size() > kTolerated ? static_cast<double>(inner[kTolerated]) : kNotANumber;
}

double largestStripStep(const RawImage& image) {
    const std::vector<float> means = stripMeans(image);
    double largest = kNotANumber;
    for (std::size_t strip = 1; strip < means.size(); ++strip)
        largest = std::fmax(largest, static_cast<double>(std::abs(means[strip] - means[strip - 1])));
    return largest;
}

int countRowSteps(const FloatImage& image, float stepLimit) {
    const auto width = static_cast<std::size_t>(image.shape.width);
    int steps = 0;
    float above = 0.0f;
    for (int row = 0; row < image.shape.height; ++row) {
        const auto line = image.pixels.begin() + static_cast<std::ptrdiff_t>(at(image.shape, row, 0));
        const float mean =
            std::accumulate(line, line + static_cast<std::ptrdiff_t>(width), 0.0f) / static_cast<float>(width);
        steps += row > 0 && std::abs(mean - above) >= stepLimit;
        above = mean;
    }
    return steps;
}

double darkStripLevel(const RawImage& image) {
    const int first = kStripColumns * darkestStrip(stripMeans(image));
    std::vector<WORD> strip;
    for (int row = 0; row < image.shape.height; ++row) {
        const WORD* line = image.pixels.data() + at(image.shape, row, first);
        strip.insert(strip.end(), line, line + kStripColumns);
    }
    const double mean = std::trunc(getMean(strip.data(), static_cast<int>(strip.size())));
    return mean - 3.0 * static_cast<double>(getStdev(strip.data(), kStripColumns, image.shape.height));
}

double darkestCellShare(const FloatImage& image) {
    constexpr int kFirstRow = 128;
    constexpr int kLastRows = 64;
    constexpr int kTileStep = 64;
    constexpr int kFullChannels = 44;
    const int side = getReadOutChannels() == kFullChannels ? kTileStep : kTileStep / 2;
    const int bands = (image.shape.height - kFirstRow - kLastRows) / kTileStep;
    double darkest = kNotANumber;
    for (int band = 0; band < bands; ++band) {
        for (int tile = 0; tile < image.shape.width / kTileStep; ++tile)
            darkest = std::fmax(darkest, darkestCellOfTile(image, kFirstRow + band * side, tile * side, side));
    }
    return darkest;
}

double gainGroupVariation(const std::vector<std::string>& files) {
    const auto words = static_cast<std::size_t>(fileBytes(files.front(), kRawImageWanted)) / sizeof(WORD);
    double sum = 0.0;
    std::vector<WORD> pixels;
    for (const std::string& file : files) {
        pixels = loadWords(file, words);
        sum += std::trunc(getMean(pixels.data(), static_cast<int>(words)));
    }
    const double deviation = static_cast<double>(getStdev(pixels.data(), static_cast<int>(words), 1));
    return deviation / (sum / static_cast<double>(files.size()));
}

TriggerMedians measureTrigger(const FloatImage& image) {
    constexpr int kRegionColumns = 256;
    const auto [width, height] = image.shape;
    const int regionRows = 64 * static_cast<int>(static_cast<double>(height) / width * 4.0 + 0.5);
    const int regions = width / kRegionColumns - 2;
    const int outerWidth = kRegionColumns * regions;
    const int outerHeight = regionRows * regions;
    const Region middle = centredRegion(image.shape, outerWidth / 2, outerHeight / 2);
    TriggerMedians medians{kNotANumber, regionMedian(image, middle),
                           regionMedian(image, centredRegion(image.shape, outerWidth, outerHeight))};
    for (int x = middle.firstColumn; x <= middle.lastColumn - kRegionColumns; x += kRegionColumns / 2) {
        for (int y = middle.firstRow; y <= middle.lastRow - regionRows; y += regionRows / 2) {
            medians.brightestRegion =
                std::fmax(medians.brightestRegion, regionMedian(image, {y, y + regionRows, x, x + kRegionColumns}));
        }
    }
    return medians;
}

}  // namespace qx::tool
