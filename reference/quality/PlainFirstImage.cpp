#include "reference/quality/PlainFirstImage.h"

#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainFits.h"
#include "reference/numerics/PlainStatistics.h"
#include "reference/quality/PlainUniformity.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <map>

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

MeasuredBlock firstBelow(float floor, const WORD* image, int width, int blockRows, int blockColumns) {
    for (int i = 0; i < blockRows * blockColumns; ++i) {
        const float median = blockMedian(image, width, i / blockColumns * kBlock, i % blockColumns * kBlock);
        if (median < floor)
            return {i, median};
    }
    return {-1, 0};
}

// Starts 0, 32, 64 ... below side - 32.
int innerBlocks(int side) {
    int count = 0;
    for (int start = 0; start < side - kBlock; start += kBlock)
        ++count;
    return count;
}

}  // namespace

std::vector<WORD> darkSubtracted(const WORD* image, const WORD* dark, int width, int height) {
    std::vector<WORD> difference;
    for (std::size_t i = 0; i < at(height, 0, width); ++i)
        difference.push_back(static_cast<WORD>(image[i] > dark[i] ? image[i] - dark[i] : 0));
    return difference;
}

MeasuredBlock firstBlockBelow(float floor, const WORD* image, int width, int height) {
    return firstBelow(floor, image, width, height / kBlock, width / kBlock);
}

MeasuredBlock firstInnerBlockBelow(float floor, const WORD* image, int width, int height) {
    return firstBelow(floor, image, width, innerBlocks(height), innerBlocks(width));
}

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

namespace {

// Labels that turned out to name one region point to a smaller one of it.
class Equivalences {
public:
    int newLabel() {
        parents_.push_back(static_cast<int>(parents_.size()));
        return parents_.back();
    }
    int rootOf(int label) const {
        while (parents_[static_cast<std::size_t>(label)] != label)
            label = parents_[static_cast<std::size_t>(label)];
        return label;
    }
    void merge(int a, int b) {
        const int low = std::min(rootOf(a), rootOf(b));
        const int high = std::max(rootOf(a), rootOf(b));
        parents_[static_cast<std::size_t>(high)] = low;
    }

private:
    std::vector<int> parents_{0, 1};  // labels start at 2
};

}  // namespace

int largestRegion(const std::uint8_t* marked, int width, int height) {
    std::vector<int> labels(at(height, 0, width), 0);
    Equivalences equivalences;
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col) {
            if (marked[at(row, col, width)] == 0)
                continue;
            int& label = labels[at(row, col, width)];
            const int neighbours[4][2] = {{row, col - 1}, {row - 1, col - 1}, {row - 1, col}, {row - 1, col + 1}};
            for (const auto& [r, c] : neighbours) {
                if (r < 0 || c < 0 || c >= width || labels[at(r, c, width)] == 0)
                    continue;
                if (label == 0)
                    label = labels[at(r, c, width)];
                equivalences.merge(label, labels[at(r, c, width)]);
            }
            if (label == 0)
                label = equivalences.newLabel();
        }
    }
    std::map<int, int> sizes;
    int largest = 0;
    for (const int label : labels) {
        if (label != 0)
            largest = std::max(largest, ++sizes[equivalences.rootOf(label)]);
    }
    return largest;
}

int darkRegionVerdict(const float* blocks, int width, int height, float fraction, int allowedSize) {
    const std::vector<std::uint8_t> marked = darkMarks(blocks, width, height, fraction);
    return largestRegion(marked.data(), width, height) > allowedSize ? 1062 : 0;
}

int collimatorVerdict(const WORD* image, int width, int height) {
    const std::vector<float> floats = floatsOf(image, width, height);
    const int blockColumns = width / kBlock;
    const int blockRows = height / kBlock;
    std::vector<float> blocks(at(blockRows, 0, blockColumns));
    doBinningSample(blocks.data(), floats.data(), width, height);
    return darkRegionVerdict(boxMean(blocks, blockColumns, blockRows).data(), blockColumns, blockRows, 0.25f, 4);
}

namespace {

int cornerLevel(const float* blocks, int width, int top, int left) {
    int sum = 0;
    for (int row = top; row < top + kCorner; ++row) {
        for (int col = left; col < left + kCorner; ++col)
            sum = truncateToInt(static_cast<float>(sum) + blocks[at(row, col, width)]);
    }
    return sum / (kCorner * kCorner);
}

float asymmetry(int p, int q) {
    return static_cast<float>(std::abs(static_cast<double>(p) - q) * 2 / (static_cast<double>(p) + q));
}

}  // namespace

Symmetry symmetry(const float* blocks, int width, int height) {
    Symmetry s{};
    s.leftTop = cornerLevel(blocks, width, 0, 0);
    s.leftBottom = cornerLevel(blocks, width, height - kCorner, 0);
    s.rightTop = cornerLevel(blocks, width, 0, width - kCorner);
    s.rightBottom = cornerLevel(blocks, width, height - kCorner, width - kCorner);
    s.horizontal = std::max(asymmetry(s.leftTop, s.rightTop), asymmetry(s.leftBottom, s.rightBottom));
    s.vertical = std::max(asymmetry(s.leftTop, s.leftBottom), asymmetry(s.rightTop, s.rightBottom));
    s.degree = std::max(s.horizontal, s.vertical);
    s.verdict = s.degree > 0.3f ? 1069 : 0;
    return s;
}

Illumination illumination(const WORD* image, int width, int height, int afeWidth) {
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
    return {columns, rows, cut};
}

TubePeak tubePeak(const Illumination& inner) {
    const auto& [columns, rows, blocks] = inner;
    TubePeak peak{};
    float c[9], quality, chiSquare;
    doSurfaceFitUsingGeneralFormula(peak.model, 0, quality, blocks.data(), columns, rows, c, &chiSquare);
    float highest = 0.0f;
    for (int column = 0; column < columns; ++column) {
        for (int row = 0; row < rows; ++row) {
            const auto x = static_cast<float>(column - columns / 2);
            const auto y = static_cast<float>(row - rows / 2);
            const float value = c[0] + c[1] * y + c[2] * (y * y) + x * (c[3] + c[4] * y + c[5] * (y * y)) +
                                x * x * (c[6] + c[7] * y + c[8] * (y * y));
            if (value > highest) {
                highest = value;
                peak.blockX = (column + kBorder) * kBlock;
                peak.blockY = (row + kBorder) * kBlock;
            }
        }
    }
    peak.x0 = truncateToInt((columns / 2 + peak.model[4] + 4.0) * 32.0);
    peak.y0 = truncateToInt((rows / 2 + peak.model[5] + 4.0) * 32.0);
    return peak;
}

int firstImageVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, int afeWidth) {
    const std::vector<WORD> difference = darkSubtracted(image, dark, width, height);
    if (firstBlockBelow(static_cast<float>(blockFloor), difference.data(), width, height).index >= 0)
        return 1068;
    if (collimatorVerdict(difference.data(), width, height) != 0)
        return 1062;
    const Illumination inner = illumination(difference.data(), width, height, afeWidth);
    return symmetry(inner.blocks.data(), inner.columns, inner.rows).verdict;
}

int previewVerdict(const WORD* image, const WORD* dark, int width, int height, int blockFloor, float cvLimit) {
    const std::vector<WORD> difference = darkSubtracted(image, dark, width, height);
    if (firstInnerBlockBelow(static_cast<float>(blockFloor), difference.data(), width, height).index >= 0)
        return 1068;
    return getUniform(difference.data(), width, height, cvLimit) != 0 ? 1062 : 0;
}

}  // namespace qx::plain
