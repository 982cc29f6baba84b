#include "reference/correction/PlainAfe.h"

#include "reference/numerics/PlainFits.h"
#include "reference/numerics/PlainStatistics.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace qx::plain {

namespace {

std::size_t at(int row, int column, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
}

// The middle one of the whole blocks, the left one of two.
int referenceBlock(int width, int afeWidth) {
    const int blocks = width / afeWidth;
    return blocks % 2 != 0 ? blocks / 2 : blocks / 2 - 1;
}

}  // namespace

void calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth) {
    const int reference = referenceBlock(width, afeWidth);
    for (int row = 0; row < height; ++row) {
        for (int k = 0; k < nAfe; ++k) {
            const float left = image[at(row, k * afeWidth + afeWidth - 1, width)];
            const float right = image[at(row, (k + 1) * afeWidth, width)];
            ratio[at(row, k, nAfe)] = k < reference ? left / right : right / left;
        }
    }
}

namespace {

void calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth) {
    const int reference = referenceBlock(width, afeWidth);
    for (int k = 0; k < nAfe; ++k) {
        const int first = k < reference ? k : reference;
        const int last = k < reference ? reference - 1 : k;
        float product = 1.0f;
        for (int j = first; j <= last; ++j)
            product *= medianRatio[j];
        rgain[k] = 1.0f / product;
    }
}

}  // namespace

void correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth) {
    const int reference = referenceBlock(width, afeWidth);
    for (int column = 0; column < width; ++column) {
        const int block = column / afeWidth;
        if (block == reference)
            continue;
        const int index = block < reference ? block : block - 1;
        if (index >= nAfe)
            continue;
        for (int row = 0; row < height; ++row) {
            float& pixel = image[at(row, column, width)];
            if (pixel < 65535.0f)
                pixel *= rgain[index];
        }
    }
}

namespace {

std::vector<float> columnMeans(const float* image, int width, int height) {
    std::vector<float> means;
    for (int column = 0; column < width; ++column) {
        float sum = 0.0f;
        for (int row = 0; row < height; ++row)
            sum += image[at(row, column, width)];
        means.push_back(sum / static_cast<float>(height));
    }
    return means;
}

// Which column, counted from an edge inwards, replaces the edge; 0: none. The steps go from the edge inwards.
int replacingColumn(bool first, bool second, bool third) {
    if (!first && second && !third)
        return 2;
    return first && second == third ? 1 : 0;
}

void copyColumn(float* image, int width, int height, int from, int to) {
    for (int row = 0; row < height && from != to; ++row)
        image[at(row, to, width)] = image[at(row, from, width)];
}

}  // namespace

void overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth) {
    const std::vector<float> means = columnMeans(image, width, height);
    for (int start = 0; start + afeWidth <= width; start += afeWidth) {
        const float* const block = means.data() + start;
        const float median = ascendingMedian(block, afeWidth);
        const auto isStep = [&](int i) { return std::fabs((block[i + 1] - block[i]) / median) > 0.0025f; };
        int left = replacingColumn(isStep(0), isStep(1), isStep(2));
        // Three steps replace the left edge only when it lies far from the median of its nine columns.
        const float edgeMedian = ascendingMedian(block, 9);
        const bool isFar = std::fabs(block[0] - edgeMedian) / edgeMedian > 0.25f;
        if (isStep(0) && isStep(1) && isStep(2) && !isFar)
            left = 0;
        copyColumn(image, width, height, start + left, start);
        const int end = afeWidth - 1;
        const int right = replacingColumn(isStep(end - 1), isStep(end - 2), isStep(end - 3));
        copyColumn(image, width, height, start + end - right, start + end);
    }
}

void correctRDwithoutRgain(float* image, int width, int height, int afeWidth) {
    const std::size_t pixels = at(height, 0, width);
    for (std::size_t i = 0; i < pixels; ++i) {
        if (image[i] <= 0.0f)
            image[i] = 0.1f;
    }
    std::vector<float> copy(image, image + pixels);
    overwriteBadLineAroundAFEEdge(copy.data(), width, height, afeWidth);
    const int nAfe = width / afeWidth - 1;
    std::vector<float> ratio(at(height, 0, nAfe));
    calcNeighbourAFERatio(ratio.data(), nAfe, copy.data(), width, height, afeWidth);
    std::vector<float> medianRow(static_cast<std::size_t>(nAfe));
    calcMedianPerColumn(medianRow.data(), ratio.data(), nAfe, height);
    std::vector<float> rgain(static_cast<std::size_t>(nAfe));
    calcRgain(rgain.data(), medianRow.data(), nAfe, width, afeWidth);
    correctRDbyRgain(image, width, height, rgain.data(), nAfe, afeWidth);
}

void cutBinningImage(float* out, const float* image, int width, int height, int border) {
    const int columns = width - 2 * border;
    for (int row = 0; row < height - 2 * border; ++row) {
        for (int column = 0; column < columns; ++column)
            out[at(row, column, columns)] = image[at(row + border, column + border, width)];
    }
}

void doBinningSample(float* out, const float* image, int width, int height) {
    blockMedians(out, image, width, height, 32);
}

void blockMedians(float* out, const float* image, int width, int height, int side) {
    std::vector<float> block(at(side, 0, side));
    for (int blockRow = 0; blockRow < height / side; ++blockRow) {
        for (int blockColumn = 0; blockColumn < width / side; ++blockColumn) {
            for (int row = 0; row < side; ++row) {
                for (int column = 0; column < side; ++column)
                    block[at(row, column, side)] = image[at(blockRow * side + row, blockColumn * side + column, width)];
            }
            *out++ = getFloatMedianByQuickMethod(block.data(), side * side);
        }
    }
}

}  // namespace qx::plain
