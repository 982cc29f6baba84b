#include "reference/numerics/PlainFilters.h"

#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace qx::plain {

void medianFilter(float* data, int n, int r) {
    const std::vector<float> unfiltered(data, data + n);
    for (int i = r; i < n - r; ++i)
        data[i] = descendingMedian(unfiltered.data() + (i - r), 2 * r + 1);
}

int filterImg(WORD* image, int width, int height) {
    std::vector<WORD> column(static_cast<std::size_t>(height));
    for (int c = 0; c < width; ++c) {
        for (int y = 0; y < height; ++y)
            column[y] = image[y * width + c];
        for (int y = 2; y <= height - 3; ++y)
            image[y * width + c] = descendingMedian(column.data() + (y - 2), 5);
    }
    return 0;
}

void hisEqualization(WORD* pixels, int n) {
    std::vector<int> counts(65536, 0);
    for (int i = 0; i < n; ++i)
        ++counts[pixels[i]];
    std::vector<WORD> lut(65536, 0);
    double sum = 0;
    for (int v = 0; v < 65536; ++v) {
        if (counts[v] == 0)
            continue;
        sum += counts[v];
        lut[v] = static_cast<WORD>(truncateToInt(std::max(0.0, sum / static_cast<double>(n) * 65535.0)));
    }
    for (int i = 0; i < n; ++i)
        pixels[i] = lut[pixels[i]];
}

int getMedianImage(float* out, const WORD* image, int width, int height) {
    for (int y = 5; y <= height - 6; ++y) {
        for (int x = 5; x <= width - 6; ++x) {
            WORD rowMedians[11];
            for (int r = 0; r < 11; ++r)
                rowMedians[r] = descendingMedian(image + (y - 5 + r) * width + (x - 5), 11);
            const WORD median = descendingMedian(rowMedians, 11);
            out[y * width + x] = static_cast<float>(median) / static_cast<float>(image[y * width + x]);
        }
    }
    return 0;
}

namespace {

// Writes window x window weights, row i those of the value at position i. Returns 1 when there is no such table.
int loadSGolayTable(float* table, int order, int window) {
    constexpr int kWindows[] = {5, 7, 15, 23, 31, 51};
    if (order != 2 || std::find(std::begin(kWindows), std::end(kWindows), window) == std::end(kWindows))
        return 1;
    const std::int64_t half = (window - 1) / 2;
    const std::int64_t s2 = half * (half + 1) * (2 * half + 1) / 3;
    const std::int64_t s4 = s2 * (3 * half * half + 3 * half - 1) / 5;
    // X^T X = {{window, 0, s2}, {0, s2, 0}, {s2, 0, s4}}; s2 and s4 are the sums of t^2 and t^4. Numbers below 2^53 up
    // to the division, and no quotient is so close to the middle of two floats that rounding twice matters.
    const std::int64_t determinant = window * s4 - s2 * s2;
    for (std::int64_t a = -half; a <= half; ++a) {
        for (std::int64_t b = -half; b <= half; ++b) {
            const std::int64_t even = s4 - s2 * (a * a + b * b) + window * a * a * b * b;
            const std::int64_t numerator = even * s2 + a * b * determinant;
            *table++ = static_cast<float>(static_cast<double>(numerator) / static_cast<double>(determinant * s2));
        }
    }
    return 0;
}

}  // namespace

int filterUsingSGolay(float* out, const float* in, int n, int order, int window) {
    std::vector<float> table(static_cast<std::size_t>(std::max(window, 0)) * std::max(window, 0));
    if (n < window || loadSGolayTable(table.data(), order, window) != 0)
        return 1;
    for (int i = 0; i < n; ++i) {
        // Samples near an end take the row of their place in the first or last window.
        const int start = std::clamp(i - window / 2, 0, n - window);
        out[i] = 0.0f;
        for (int k = 0; k < window; ++k)
            out[i] += table[(i - start) * window + k] * in[start + k];
    }
    return 0;
}

}  // namespace qx::plain
