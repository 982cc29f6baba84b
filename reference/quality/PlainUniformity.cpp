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

}  // namespace

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

namespace {

// First column of the darkest strip.
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

}  // namespace

float darkLevel(const WORD* image, int width, int height) {
    const int start = darkestStripStart(image, width, height);
    std::vector<WORD> strip;
    for (int row = 0; row < height; ++row) {
        for (int column = start; column < start + kStrip; ++column)
            strip.push_back(image[at(row, column, width)]);
    }
    const int mean = truncateToInt(static_cast<float>(getMean(strip.data(), kStrip * height)));
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

int checkGlobalUniform(const WORD* image, int width, int height, float limit) {
    int beyond = 0;
    for (const float deviation : blockDeviations(image, width, height)) {
        if (deviation > limit)
            ++beyond;
    }
    return beyond < 4 ? 0 : 1062;
}

}  // namespace qx::plain
