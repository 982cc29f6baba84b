#include "reference/quality/PlainUniformity.h"

#include "reference/correction/PlainAfe.h"
#include "reference/numerics/PlainStatistics.h"

#include <cmath>
#include <cstddef>

namespace qx::plain {

namespace {

constexpr int kStrip = 32;
constexpr int kSquare = 64;

std::size_t at(int row, int column, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
}

float meanAsFloat(const WORD* data, int n) {
    return static_cast<float>(getMean(data, n));
}

struct Origin {
    int row, column;
};

std::vector<Origin> squareOrigins(int width, int height) {
    const float dx = static_cast<float>(width) * 0.333f * 0.5f;
    const float dy = static_cast<float>(height) * 0.333f * 0.5f;
    const int top = truncateToInt(dy);
    const int left = truncateToInt(dx);
    const int bottom = truncateToInt(static_cast<float>(height - kSquare) - dy);
    const int right = truncateToInt(static_cast<float>(width - kSquare) - dx);
    return {
        {(height - kSquare) / 2, (width - kSquare) / 2}, {top, left}, {top, right}, {bottom, left}, {bottom, right}};
}

WORD truncatedSquareMean(const WORD* image, int width, const Origin& origin) {
    std::vector<WORD> square;
    for (int row = origin.row; row < origin.row + kSquare; ++row) {
        for (int column = origin.column; column < origin.column + kSquare; ++column)
            square.push_back(image[at(row, column, width)]);
    }
    return static_cast<WORD>(truncateToInt(meanAsFloat(square.data(), kSquare * kSquare)));
}

}  // namespace

SquareSpread squareSpread(const WORD* image, int width, int height) {
    std::vector<WORD> means;
    for (const Origin& origin : squareOrigins(width, height))
        means.push_back(truncatedSquareMean(image, width, origin));
    const int mean = truncateToInt(meanAsFloat(means.data(), 5));
    return {mean, getStdev(means.data(), 5, 1) / static_cast<float>(mean)};
}

int getUniform(const WORD* image, int width, int height, float limit) {
    const SquareSpread measured = squareSpread(image, width, height);
    return measured.mean != 0 && limit <= measured.spread ? 1062 : 0;
}

std::vector<float> stripMeans(const WORD* image, int width, int height) {
    std::vector<float> means;
    for (int start = 0; start < width - kStrip; start += kStrip) {
        float sum = 0.0f;
        for (int row = 0; row < height; ++row) {
            for (int column = start; column < start + kStrip; ++column)
                sum += static_cast<float>(image[at(row, column, width)]);
        }
        means.push_back(sum / static_cast<float>(kStrip * height));
    }
    return means;
}

int analysisStrip(const WORD* image, int width, int height, int limit) {
    const std::vector<float> means = stripMeans(image, width, height);
    for (std::size_t i = 1; i < means.size(); ++i) {
        if (std::fabs(means[i - 1] - means[i]) >= static_cast<float>(limit))
            return 1063;
    }
    return 0;
}

int darkestStripStart(const WORD* image, int width, int height) {
    const std::vector<float> means = stripMeans(image, width, height);
    int minimum = 10000;
    int start = 0;
    for (std::size_t i = 0; i < means.size(); ++i) {
        if (means[i] < static_cast<float>(minimum)) {
            minimum = truncateToInt(means[i]);
            start = static_cast<int>(i) * kStrip;
        }
    }
    return start;
}

float darkLevel(const WORD* image, int width, int height) {
    const int start = darkestStripStart(image, width, height);
    std::vector<WORD> strip;
    for (int row = 0; row < height; ++row) {
        for (int column = start; column < start + kStrip; ++column)
            strip.push_back(image[at(row, column, width)]);
    }
    const int mean = truncateToInt(meanAsFloat(strip.data(), kStrip * height));
    return static_cast<float>(mean) - 3.0f * getStdev(strip.data(), kStrip, height);
}

int darkImgGrayAnalysis(const WORD* image, int width, int height, int floor) {
    return static_cast<float>(floor) >= darkLevel(image, width, height) ? 1066 : 0;
}

std::vector<float> rowMeans(const float* image, int width, int height) {
    std::vector<float> means;
    for (int row = 0; row < height; ++row) {
        float sum = 0.0f;
        for (int column = 0; column < width; ++column)
            sum += image[at(row, column, width)];
        means.push_back(sum / static_cast<float>(width));
    }
    return means;
}

int countRowSteps(const float* image, int width, int height, float limit) {
    const std::vector<float> means = rowMeans(image, width, height);
    int steps = 0;
    for (std::size_t row = 1; row < means.size(); ++row) {
        if (std::fabs(means[row] - means[row - 1]) >= limit)
            ++steps;
    }
    return steps;
}

int analysisRcn(const float* image, int width, int height, float limit) {
    return countRowSteps(image, width, height, limit) >= 500 ? 1064 : 0;
}

std::vector<float> blockDeviations(const WORD* image, int width, int height) {
    const int columns = width / kSquare;
    const int rows = height / kSquare;
    const std::vector<float> floats(image, image + at(height, 0, width));
    std::vector<float> medians(at(rows, 0, columns));
    blockMedians(medians.data(), floats.data(), width, height, kSquare);
    std::vector<float> inner(at(rows - 4, 0, columns - 4));
    cutBinningImage(inner.data(), medians.data(), columns, rows, 2);
    double sum = 0;
    for (const float value : inner)
        sum += value;
    const auto reference = static_cast<float>(sum / static_cast<double>(inner.size()));
    for (float& value : inner)
        value = std::fabs(value - reference) / reference;
    return inner;
}

float loggedDeviation(const std::vector<float>& deviations) {
    const int index = getMaxandMinIndex(deviations.data(), static_cast<int>(deviations.size()), false);
    return deviations[static_cast<std::size_t>(index)];
}

int checkGlobalUniform(const WORD* image, int width, int height, float limit) {
    int beyond = 0;
    for (const float deviation : blockDeviations(image, width, height)) {
        if (deviation > limit)
            ++beyond;
    }
    return beyond < 4 ? 0 : 1062;
}

}  // namespace qx::plain
