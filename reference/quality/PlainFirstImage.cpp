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

// The medians of the blocks of 32 x 32 values.
std::vector<float> binned(const std::vector<float>& image, int width, int height) {
    std::vector<float> blocks(at(height / kBlock, 0, width / kBlock));
    doBinningSample(blocks.data(), image.data(), width, height);
    return blocks;
}

// 0 where the dark image is brighter.
std::vector<float> darkSubtracted(const WORD* image, const WORD* dark, int width, int height) {
    std::vector<float> difference;
    for (std::size_t i = 0; i < at(height, 0, width); ++i)
        difference.push_back(static_cast<float>(image[i] > dark[i] ? image[i] - dark[i] : 0));
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

bool isShadowed(const std::vector<float>& image, int width, int height) {
    const int columns = width / kBlock;
    const int rows = height / kBlock;
    const std::vector<float> smoothed = boxMean(binned(image, width, height), columns, rows);
    const std::vector<std::uint8_t> marked = darkMarks(smoothed.data(), columns, rows, 0.25f);
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
float illuminationAsymmetry(std::vector<float> image, int width, int height, int afeWidth) {
    correctRDwithoutRgain(image.data(), width, height, afeWidth);
    const int columns = width / kBlock - 2 * kBorder;
    const int rows = height / kBlock - 2 * kBorder;
    std::vector<float> cut(at(rows, 0, columns));
    cutBinningImage(cut.data(), binned(image, width, height).data(), width / kBlock, height / kBlock, kBorder);
    return asymmetry(cut.data(), columns, rows);
}

}  // namespace

int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth) {
    const std::vector<float> difference = darkSubtracted(image, dark, width, height);
    for (const float median : binned(difference, width, height)) {
        if (median < static_cast<float>(blockFloor))
            return 1068;
    }
    if (isShadowed(difference, width, height))
        return 1062;
    return illuminationAsymmetry(difference, width, height, afeWidth) > 0.3f ? 1069 : 0;
}

namespace {

// The integer part of the mean of 64 x 64 values.
WORD squareMean(const std::vector<float>& image, int width, int top, int left) {
    constexpr int kSquare = 64;
    std::vector<WORD> pixels;
    for (int row = top; row < top + kSquare; ++row) {
        for (int col = left; col < left + kSquare; ++col)
            pixels.push_back(static_cast<WORD>(image[at(row, col, width)]));
    }
    return static_cast<WORD>(getMean(pixels.data(), kSquare * kSquare));
}

// The coefficient of variation of a square in the middle and one near each corner.
float variationOfSquares(const std::vector<float>& image, int width, int height) {
    constexpr int kSquare = 64;
    const float left = static_cast<float>(width) * 0.333f * 0.5f;
    const float top = static_cast<float>(height) * 0.333f * 0.5f;
    const float right = static_cast<float>(width - kSquare) - left;
    const float bottom = static_cast<float>(height - kSquare) - top;
    std::vector<WORD> means = {squareMean(image, width, (height - kSquare) / 2, (width - kSquare) / 2)};
    for (const float y : {top, bottom}) {
        for (const float x : {left, right})
            means.push_back(squareMean(image, width, truncateToInt(y), truncateToInt(x)));
    }
    return getStdev(means.data(), 5, 1) / static_cast<float>(truncateToInt(getMean(means.data(), 5)));
}

}  // namespace

int previewVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, float limit) {
    const std::vector<float> difference = darkSubtracted(image, dark, width, height);
    const std::vector<float> blocks = binned(difference, width, height);
    for (int row = 0; row < (height - 1) / kBlock; ++row) {
        for (int col = 0; col < (width - 1) / kBlock; ++col) {
            if (blocks[at(row, col, width / kBlock)] < static_cast<float>(blockFloor))
                return 1068;
        }
    }
    return variationOfSquares(difference, width, height) < limit ? 0 : 1062;
}

}  // namespace qx::plain
