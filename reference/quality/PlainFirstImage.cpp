#include "reference/quality/PlainFirstImage.h"

#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <utility>

namespace qx::plain {

namespace {

constexpr int kBlock = 32;
constexpr int kBorder = 4;
constexpr int kCorner = 8;

std::size_t at(int row, int col, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(col);
}

std::vector<float> floatsOf(const WORD* image, int width, int height) {
    return {image, image + at(height, 0, width)};
}

float blockMedian(const WORD* image, int width, int top, int left) {
    std::vector<float> block;
    for (int row = top; row < top + kBlock; ++row) {
        for (int col = left; col < left + kBlock; ++col)
            block.push_back(static_cast<float>(image[at(row, col, width)]));
    }
    return getFloatMedianByQuickMethod(block.data(), kBlock * kBlock);
}

bool anyBlockBelow(float floor, const WORD* image, int width, int height) {
    for (int top = 0; top + kBlock <= height; top += kBlock) {
        for (int left = 0; left + kBlock <= width; left += kBlock) {
            if (blockMedian(image, width, top, left) < floor)
                return true;
        }
    }
    return false;
}

// 0 where the dark image is brighter.
std::vector<WORD> darkSubtracted(const WORD* image, const WORD* dark, int width, int height) {
    std::vector<WORD> difference;
    for (std::size_t i = 0; i < at(height, 0, width); ++i)
        difference.push_back(static_cast<WORD>(image[i] > dark[i] ? image[i] - dark[i] : 0));
    return difference;
}

// Mean over 7 x 7 values, as far as they lie inside.
std::vector<float> boxMean(const std::vector<float>& blocks, int width, int height) {
    std::vector<float> smoothed;
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col) {
            float sum = 0;
            int count = 0;
            for (int i = row - 3; i <= row + 3; ++i) {
                for (int j = col - 3; j <= col + 3; ++j) {
                    if (i < 0 || i >= height || j < 0 || j >= width)
                        continue;
                    sum += blocks[at(i, j, width)];
                    ++count;
                }
            }
            smoothed.push_back(sum / static_cast<float>(count));
        }
    }
    return smoothed;
}

// 1 where a value lies at or below the fraction of the maximum that is allowed at its distance, else 0.
std::vector<std::uint8_t> darkMarks(const float* blocks, int width, int height, float fraction) {
    const int brightest = getMaxIndex(blocks, width * height);
    const float threshold = fraction * blocks[brightest];
    std::vector<std::uint8_t> marked;
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col) {
            const int dx = col - brightest % width;
            const int dy = row - brightest / width;
            const float distance = std::max(std::sqrt(static_cast<float>(dx * dx + dy * dy)) / 36.0f, 1.0f);
            marked.push_back(threshold / distance >= blocks[at(row, col, width)] ? 1 : 0);
        }
    }
    return marked;
}

}  // namespace

int largestRegion(const std::uint8_t* marked, int width, int height) {
    std::vector<std::uint8_t> left(marked, marked + at(height, 0, width));
    std::size_t largest = 0;
    for (int start = 0; start < width * height; ++start) {
        std::vector<int> region;
        const auto take = [&](int row, int col) {
            const bool isInside = row >= 0 && row < height && col >= 0 && col < width;
            if (isInside && std::exchange(left[at(row, col, width)], std::uint8_t{0}) != 0)
                region.push_back(row * width + col);
        };
        take(start / width, start % width);
        for (std::size_t i = 0; i < region.size(); ++i) {
            for (int k = 0; k < 9; ++k)
                take(region[i] / width + k / 3 - 1, region[i] % width + k % 3 - 1);
        }
        largest = std::max(largest, region.size());
    }
    return static_cast<int>(largest);
}

namespace {

bool isShadowed(const WORD* image, int width, int height) {
    const std::vector<float> floats = floatsOf(image, width, height);
    const int columns = width / kBlock;
    const int rows = height / kBlock;
    std::vector<float> blocks(at(rows, 0, columns));
    doBinningSample(blocks.data(), floats.data(), width, height);
    const std::vector<std::uint8_t> marked = darkMarks(boxMean(blocks, columns, rows).data(), columns, rows, 0.25f);
    return largestRegion(marked.data(), columns, rows) > 4;
}

int cornerLevel(const float* blocks, int width, int top, int left) {
    int sum = 0;
    for (int row = top; row < top + kCorner; ++row) {
        for (int col = left; col < left + kCorner; ++col)
            sum = truncateToInt(static_cast<float>(sum) + blocks[at(row, col, width)]);
    }
    return sum / (kCorner * kCorner);
}

float difference(int p, int q) {
    return static_cast<float>(std::abs(static_cast<double>(p) - q) * 2 / (static_cast<double>(p) + q));
}

// The largest relative difference of two neighbouring corners.
float asymmetry(const float* blocks, int width, int height) {
    const int leftTop = cornerLevel(blocks, width, 0, 0);
    const int leftBottom = cornerLevel(blocks, width, height - kCorner, 0);
    const int rightTop = cornerLevel(blocks, width, 0, width - kCorner);
    const int rightBottom = cornerLevel(blocks, width, height - kCorner, width - kCorner);
    return std::max(std::max(difference(leftTop, rightTop), difference(leftBottom, rightBottom)),
                    std::max(difference(leftTop, leftBottom), difference(rightTop, rightBottom)));
}

// Of the block medians after the AFE balance, without a border of four blocks.
float illuminationAsymmetry(const WORD* image, int width, int height, int afeWidth) {
    std::vector<float> floats = floatsOf(image, width, height);
    correctRDwithoutRgain(floats.data(), width, height, afeWidth);
    const int blockColumns = width / kBlock;
    const int blockRows = height / kBlock;
    std::vector<float> blocks(at(blockRows, 0, blockColumns));
    doBinningSample(blocks.data(), floats.data(), width, height);
    const int columns = blockColumns - 2 * kBorder;
    const int rows = blockRows - 2 * kBorder;
    std::vector<float> cut(at(rows, 0, columns));
    cutBinningImage(cut.data(), blocks.data(), blockColumns, blockRows, kBorder);
    return asymmetry(cut.data(), columns, rows);
}

}  // namespace

int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth) {
    const std::vector<WORD> difference = darkSubtracted(image, dark, width, height);
    if (anyBlockBelow(static_cast<float>(blockFloor), difference.data(), width, height))
        return 1068;
    if (isShadowed(difference.data(), width, height))
        return 1062;
    return illuminationAsymmetry(difference.data(), width, height, afeWidth) > 0.3f ? 1069 : 0;
}

}  // namespace qx::plain
