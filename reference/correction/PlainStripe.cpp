#include "reference/correction/PlainStripe.h"

#include "reference/numerics/PlainStatistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace qx::plain {

namespace {

constexpr int kRows = 35;
constexpr int kReferenceRow = 24;
constexpr int kTriggerRow = 25;

std::size_t at(int row, int column, int width) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
}

// The low 16 bits of the truncated value.
WORD truncateToWord(double value) {
    return static_cast<WORD>(truncateToInt(value));
}

}  // namespace

std::vector<double> normalisedBand(const WORD* band, int width) {
    std::vector<double> normalised;
    for (int r = 0; r < kRows; ++r) {
        for (int c = 0; c < width; ++c) {
            const auto signal = [&](int row) {
                return std::fabs(static_cast<float>(band[at(row, c, width)]) - 208.0f);
            };
            const float reference = std::max(signal(kReferenceRow), 5e-05f);
            normalised.push_back(static_cast<double>(r == kReferenceRow ? reference : signal(r)) /
                                 static_cast<double>(reference));
        }
    }
    return normalised;
}

namespace {

// Every step-th column, as few as 500 or less.
std::vector<double> sampledBand(const std::vector<double>& normalised, int width) {
    const int step = static_cast<int>(std::ceil(static_cast<float>(width) / 500.0f));
    std::vector<double> sampled;
    for (int r = 0; r < kRows; ++r) {
        for (int c = 0; c < width; c += step)
            sampled.push_back(normalised[at(r, c, width)]);
    }
    return sampled;
}

// Logarithms of the scalar products of all pairs of columns: count x count values.
std::vector<double> columnSimilarities(const double* sampled, int count) {
    std::vector<double> similarities;
    for (int i = 0; i < count; ++i) {
        for (int j = 0; j < count; ++j) {
            double sum = 0.0;
            for (int r = 0; r < kRows; ++r)
                sum += sampled[at(r, i, count)] * sampled[at(r, j, count)];
            similarities.push_back(std::log10(sum));
        }
    }
    return similarities;
}

struct SimilarityBin {
    double low;
    double high;
};

// Of their histogram.
SimilarityBin fullestBin(const std::vector<double>& similarities) {
    double low = similarities[0];
    double high = similarities[0];
    for (const double value : similarities) {
        if (value > high)
            high = value;
        else if (value < low)
            low = value;
    }
    const int bins = static_cast<int>(std::floor((high - low) / 0.004)) + 1;
    const double binWidth = (high - low) / bins;
    int best = 0;
    int largest = 0;
    for (int b = 0; b < bins; ++b) {
        const double left = low + b * binWidth;
        const double right = low + b * binWidth + binWidth;
        int count = 0;
        for (const double value : similarities)
            count += left <= value && value <= right ? 1 : 0;
        if (count > largest) {
            largest = count;
            best = b;
        }
    }
    const double left = low + best * binWidth;
    return {left, left + binWidth};
}

}  // namespace

std::vector<int> findHomogeneousColumns(const double* sampled, int count) {
    std::vector<bool> valid;
    for (int k = 0; k < count; ++k) {
        int darkest = 0;
        for (int r = 1; r < kRows; ++r) {
            if (sampled[at(r, k, count)] < sampled[at(darkest, k, count)])
                darkest = r;
        }
        valid.push_back(darkest == kReferenceRow);
    }
    const std::vector<double> similarities = columnSimilarities(sampled, count);
    const SimilarityBin bin = fullestBin(similarities);
    const auto resembling = [&](int i) {
        std::vector<int> columns;
        for (int j = 0; j < count; ++j) {
            const double value = similarities[at(i, j, count)];
            if (bin.low < value && value <= bin.high && valid[static_cast<std::size_t>(j)])
                columns.push_back(j);
        }
        return columns;
    };
    std::vector<int> homogeneous = resembling(0);
    for (int i = 1; i < count; ++i) {
        const std::vector<int> columns = resembling(i);
        if (columns.size() > homogeneous.size())
            homogeneous = columns;
    }
    return homogeneous;
}

namespace {

int countRowsToCompensate(const double* ratio) {
    constexpr int kCandidates = 23;
    double sum = 0.0;
    for (int r = 26; r <= 34; ++r)
        sum += ratio[r];
    const double ref = (sum / 9.0 - ratio[kTriggerRow]) / 5.0;
    double cost[kCandidates];
    int firstFailing = kCandidates;
    for (int j = 0; j < kCandidates; ++j) {
        const int k = 23 - j;
        const int d = j + 2;
        const double slope = (ratio[kTriggerRow] - ratio[k]) / d;
        const double step = ratio[k] - ratio[k - 1];
        cost[j] = std::fabs(slope - step) + std::fabs(ref - slope);
        for (int m = 1; m <= d - 1; ++m) {
            if (ratio[k + m] > ((d - m) * ratio[k] + m * ratio[kTriggerRow]) / d) {
                cost[j] = 1e10;
                firstFailing = std::min(firstFailing, j);
                break;
            }
        }
    }
    if (firstFailing == 0)
        return 0;
    return 1 + static_cast<int>(std::min_element(cost, cost + firstFailing) - cost);
}

// Those whose pixels all lie between the limits.
std::vector<int> usableColumns(const WORD* band, int width, int lowest, std::uint32_t maxGrayValue) {
    const WORD ceiling = truncateToWord(static_cast<float>(maxGrayValue) * 0.8f);
    std::vector<int> columns;
    for (int c = 0; c < width; ++c) {
        bool isUsable = true;
        for (int r = 0; r < kRows; ++r) {
            const WORD pixel = band[at(r, c, width)];
            isUsable = isUsable && pixel >= lowest && pixel <= ceiling;
        }
        if (isUsable)
            columns.push_back(c);
    }
    return columns;
}

void meanOfColumns(double* ratio, const std::vector<double>& values, int width, const std::vector<int>& columns) {
    for (int r = 0; r < kRows; ++r) {
        double sum = 0.0;
        for (const int c : columns)
            sum += values[at(r, c, width)];
        ratio[r] = sum / static_cast<double>(columns.size());
    }
}

// The number of rows that fall towards row 24 in the smoothed ratio, or -1.
int stripeWidth(const double* unsmoothed) {
    std::vector<double> ratio(unsmoothed, unsmoothed + kRows);
    for (std::size_t i = 1; i <= 23; ++i)
        ratio[i] = (unsmoothed[i - 1] + unsmoothed[i] + unsmoothed[i + 1]) / 3.0;
    double differences[kRows - 1];
    for (std::size_t i = 0; i <= 33; ++i)
        differences[i] = ratio[i + 1] - ratio[i];
    double base = 0.0;
    for (int i = 25; i <= 33; ++i)
        base += differences[i];
    base /= 9.0;
    for (double& difference : differences)
        difference -= base;
    const double t1 = differences[24] / -40.0;
    if (differences[22] >= t1 || differences[23] >= t1)
        return -1;
    const double t2 = differences[24] / -100.0;
    int rows = 0;
    for (int i = 23; i >= 0 && differences[i] < t2; --i)
        ++rows;
    return rows == 0 ? 1 : rows;
}

}  // namespace

int calcStripeRatio(double* ratio, const WORD* band, int width, std::uint32_t maxGrayValue) {
    const std::vector<double> normalised = normalisedBand(band, width);
    const std::vector<double> sampled = sampledBand(normalised, width);
    const int count = static_cast<int>(sampled.size()) / kRows;
    const std::vector<int> homogeneous = findHomogeneousColumns(sampled.data(), count);
    int lowest = 500;
    int rows = -1;
    if (homogeneous.size() >= 20) {
        meanOfColumns(ratio, sampled, count, homogeneous);
        rows = stripeWidth(ratio);
        if (rows < 0 || ratio[kTriggerRow] > 1.1)
            return rows;
        lowest = 1000;
    }
    const std::vector<int> usable = usableColumns(band, width, lowest, maxGrayValue);
    if (usable.empty())
        return rows;
    meanOfColumns(ratio, normalised, width, usable);
    return countRowsToCompensate(ratio);
}

void removeGenericStripe(WORD* destination, const WORD* source, int width, const double* ratio, int rows,
                         std::uint32_t maxGrayValue) {
    rows = std::min(rows, 24);
    const int start = kTriggerRow - rows;
    std::vector<double> gain;
    for (int i = 0; i < rows; ++i) {
        const float t = static_cast<float>(i + 1) / static_cast<float>(rows + 1);
        gain.push_back(((1 - t) * ratio[start - 1] + t * ratio[kTriggerRow]) / ratio[start + i]);
    }
    for (int b = start; b <= 24; ++b) {
        for (int c = 0; c < width; ++c) {
            const int signal = source[at(b, c, width)] - 208;
            const double v = signal * gain[static_cast<std::size_t>(b - start)] + 208 + 0.5;
            WORD& pixel = destination[at(b, c, width)];
            if (v >= maxGrayValue)
                pixel = static_cast<WORD>(maxGrayValue);
            else if (v <= 0)
                pixel = 0;
            else
                pixel = truncateToWord(v);
        }
    }
}

int correctAedStripeClinic(WORD* image, const WORD* reference, int width, int referenceWidth, int height,
                           int triggerLine, std::uint32_t maxGrayValue) {
    if (triggerLine <= 25 || height - triggerLine < 10)
        return 0;
    const std::vector<WORD> copy(image, image + at(height, 0, width));
    double ratio[kRows];
    const int rows =
        calcStripeRatio(ratio, reference + at(triggerLine - 25, 0, referenceWidth), referenceWidth, maxGrayValue);
    if (rows < 0)
        return -1;
    const std::size_t band = at(triggerLine - 25, 0, width);
    removeGenericStripe(image + band, copy.data() + band, width, ratio, rows, maxGrayValue);
    return 0;
}

namespace {

// The smallest value that 150 of the 301 pixels of a row's segment do not exceed. The row has 1002 pixels or more.
int segmentMedian(const WORD* row, int width) {
    const int first = width / 2 - 500 - 1;
    std::vector<int> histogram(65536, 0);
    for (int c = first; c < first + 301; ++c)
        ++histogram[row[c]];
    int value = 0;
    for (int count = histogram[0]; count < 150; count += histogram[static_cast<std::size_t>(value)])
        ++value;
    return value;
}

struct StripeLine {
    float slope;
    float intercept;
};

// The line through the segment medians of the 40 rows below the trigger line, the last row of the image standing for
// what lies beyond it: slope and value at the trigger line.
StripeLine lineBelowTrigger(const WORD* image, int width, int height, int triggerLine) {
    StripeLine line{0.0f, 0.0f};
    for (int k = 0; k < 40; ++k) {
        const int row = std::min(triggerLine + 1 + k, height - 1);
        const int level = segmentMedian(image + at(row, 0, width), width);
        line.slope = static_cast<float>(line.slope + (k - 19.5) / 5330 * level);
        line.intercept = static_cast<float>(line.intercept + (0.025 - 20.5 * (k - 19.5) / 5330) * level);
    }
    return line;
}

void shiftRow(WORD* row, int width, float offset) {
    for (int c = 0; c < width; ++c) {
        const float v = static_cast<float>(row[c]) + offset;
        if (v < 0.0f)
            row[c] = 0;
        else if (v >= 65535.0f)
            row[c] = 65535;
        else
            row[c] = truncateToWord(v);
    }
}

}  // namespace

int correctAedStripe(WORD* image, int width, int height, int triggerLine) {
    if (triggerLine < 5 || height - triggerLine < 40)
        return 0;
    if (width < 1002)
        return 1020;
    const int n = std::min(triggerLine, 15);
    const auto line = lineBelowTrigger(image, width, height, triggerLine);
    const int top = triggerLine - n;
    // What a row is shifted by, whose place in the line is that of band row j.
    const auto offset = [&](int row, int j) {
        return static_cast<float>(1 - n + j) * line.slope + line.intercept -
               static_cast<float>(segmentMedian(image + at(row, 0, width), width));
    };
    const float topOffset = offset(top, 0);
    for (int row = 0; row < triggerLine; ++row)
        shiftRow(image + at(row, 0, width), width, row < top ? topOffset : offset(row, row - top));
    return 0;
}

}  // namespace qx::plain
