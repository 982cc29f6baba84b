#include "reference/correction/PlainAfe.h"

#include "reference/numerics/PlainFits.h"
#include "reference/numerics/PlainStatistics.h"

#include <cmath>
#include <cstddef>

namespace qx::plain {

namespace {

std::size_t at(int row, int column, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
}

}  // namespace

int referenceBlock(int width, int afeWidth) {
    const int blocks = width / afeWidth;
    return blocks % 2 != 0 ? blocks / 2 : blocks / 2 - 1;
}

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

void correctAbnormalPixelFromRD(float* image, int width, int height) {
    for (int row = 0; row < height; ++row) {
        for (int column = 0; column < width; ++column) {
            float& pixel = image[at(row, column, width)];
            if (pixel <= 0.0f)
                pixel = 0.1f;
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

// A block's column means and the steps between them.
struct BlockProfile {
    const float* means;
    std::vector<bool> jump;
};

BlockProfile blockProfile(const float* means, int afeWidth) {
    const float median = ascendingMedian(means, afeWidth);
    BlockProfile profile{means, {}};
    for (int i = 0; i < afeWidth - 1; ++i)
        profile.jump.push_back(std::fabs((means[i + 1] - means[i]) / median) > 0.0025f);
    return profile;
}

enum class Pattern { Other, Second, First, All };

// The steps from the edge inwards.
Pattern patternOf(bool first, bool second, bool third) {
    if (!first && second && !third)
        return Pattern::Second;
    if (first && !second && !third)
        return Pattern::First;
    if (first && second && third)
        return Pattern::All;
    return Pattern::Other;
}

void findLeft(std::vector<EdgeRepair>& found, const BlockProfile& block, int start) {
    switch (patternOf(block.jump[0], block.jump[1], block.jump[2])) {
    case Pattern::Second:
        found.push_back({EdgeRepair::Kind::Replaced, start, start + 2});
        break;
    case Pattern::First:
        found.push_back({EdgeRepair::Kind::Replaced, start, start + 1});
        break;
    case Pattern::All: {
        const float median = ascendingMedian(block.means, 9);
        const bool beyond = std::fabs(block.means[0] - median) / median > 0.25f;
        found.push_back(
            {beyond ? EdgeRepair::Kind::ReplacedBeyondMedian : EdgeRepair::Kind::OnlyLogged, start, start + 1});
        break;
    }
    case Pattern::Other:
        break;
    }
}

void findRight(std::vector<EdgeRepair>& found, const BlockProfile& block, int end, int afeWidth) {
    switch (patternOf(block.jump[afeWidth - 2], block.jump[afeWidth - 3], block.jump[afeWidth - 4])) {
    case Pattern::Second:
        found.push_back({EdgeRepair::Kind::Replaced, end, end - 2});
        break;
    case Pattern::First:
    case Pattern::All:
        found.push_back({EdgeRepair::Kind::Replaced, end, end - 1});
        break;
    case Pattern::Other:
        break;
    }
}

}  // namespace

std::vector<EdgeRepair> overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth) {
    const std::vector<float> means = columnMeans(image, width, height);
    std::vector<EdgeRepair> found;
    for (int start = 0; start + afeWidth <= width; start += afeWidth) {
        const BlockProfile block = blockProfile(means.data() + start, afeWidth);
        findLeft(found, block, start);
        findRight(found, block, start + afeWidth - 1, afeWidth);
    }
    for (const EdgeRepair& repair : found) {
        for (int row = 0; row < height && repair.kind != EdgeRepair::Kind::OnlyLogged; ++row)
            image[at(row, repair.column, width)] = image[at(row, repair.source, width)];
    }
    return found;
}

std::vector<EdgeRepair> correctRDwithoutRgain(float* image, int width, int height, int afeWidth) {
    const int nAfe = width / afeWidth - 1;
    std::vector<float> ratio(at(height, 0, nAfe));
    correctAbnormalPixelFromRD(image, width, height);
    std::vector<float> copy(image, image + at(height, 0, width));
    std::vector<EdgeRepair> found = overwriteBadLineAroundAFEEdge(copy.data(), width, height, afeWidth);
    calcNeighbourAFERatio(ratio.data(), nAfe, copy.data(), width, height, afeWidth);
    std::vector<float> medianRow(static_cast<std::size_t>(nAfe));
    calcMedianPerColumn(medianRow.data(), ratio.data(), nAfe, height);
    std::vector<float> rgain(static_cast<std::size_t>(nAfe));
    calcRgain(rgain.data(), medianRow.data(), nAfe, width, afeWidth);
    correctRDbyRgain(image, width, height, rgain.data(), nAfe, afeWidth);
    return found;
}

void subtractImage(float* out, const WORD* a, const WORD* b, int pixelCount) {
    for (int i = 0; i < pixelCount; ++i)
        out[i] = static_cast<float>(a[i]) - static_cast<float>(b[i]);
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
