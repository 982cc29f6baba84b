#include "QxUtils/Correction.h"

#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/stripe/StripeSuppression.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"
#include "kernels/PixelKernels.h"
#include "kernels/RankKernels.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr int kFitRows = 40;
constexpr int kMaxStripeRows = 15;
constexpr int kMinTriggerLine = 5;

// The pixels that stand for a row.
constexpr int kSegmentPixels = 301;
constexpr int kSegmentRank = 149;
constexpr int kSegmentOffset = -501;

// Least-squares weights of the values at the positions 1 to kFitRows: of the slope, and of the value at position 0.
struct LineWeights {
    std::array<double, kFitRows> slope;
    std::array<double, kFitRows> intercept;
};

LineWeights lineWeights() {
    constexpr double kMeanPosition = 20.5;
    constexpr double kSquares = 5330.0;
    LineWeights weights{};
    for (int k = 0; k < kFitRows; ++k) {
        const auto i = static_cast<std::size_t>(k);
        weights.slope[i] = (k - 19.5) / kSquares;
        weights.intercept[i] = 0.025 - kMeanPosition * (k - 19.5) / kSquares;
    }
    return weights;
}

struct Line {
    float slope = 0.0f;
    float intercept = 0.0f;

    float at(int position) const { return static_cast<float>(position) * slope + intercept; }
};

class LineStripe {
public:
    LineStripe(WORD* image, int width, int height, int triggerLine)
        : image_{image, width, height}, triggerLine_(triggerLine) {}

    static bool holdsSegment(int width) { return width / 2 + kSegmentOffset >= 0; }

    void correct() {
        const Line line = fitLine();
        qx::logInfo(kLogNoValue, "s = %f, i = %f", static_cast<double>(line.slope),
                    static_cast<double>(line.intercept));
        const int rows = std::min(triggerLine_, kMaxStripeRows);
        const int first = triggerLine_ - rows;
        // Kept: the line's position is one below that of the row whose level it is compared with.
        const float common = line.at(1 - rows) - static_cast<float>(levelOf(first));
        shift(0, first, common);
        for (int j = 0; j < rows; ++j) {
            const int row = first + j;
            const int level = levelOf(row);
            const float offset = line.at(1 - rows + j) - static_cast<float>(level);
            shift(row, 1, offset);
            // Kept: the row is told 6 further down.
            qx::logInfo(kLogNoValue, "Correcting AED stripe,current row = %d, median = %d, delt = %f", row + 6, level,
                        static_cast<double>(offset));
        }
    }

private:
    Line fitLine() const {
        const LineWeights weights = lineWeights();
        Line line;
        for (int k = 0; k < kFitRows; ++k) {
            const auto i = static_cast<std::size_t>(k);
            const double level = levelOf(std::min(triggerLine_ + 1 + k, image_.height - 1));
            line.slope = static_cast<float>(static_cast<double>(line.slope) + weights.slope[i] * level);
            line.intercept = static_cast<float>(static_cast<double>(line.intercept) + weights.intercept[i] * level);
        }
        return line;
    }

    // Kept: the segment lies left of the middle.
    int levelOf(int row) const {
        const WORD* const segment = image_.row(row) + image_.width / 2 + kSegmentOffset;
        return qx::rankKernels().pixelRank(segment, kSegmentPixels, kSegmentRank);
    }

    void shift(int firstRow, int rows, float offset) const {
        const auto pixels = static_cast<std::size_t>(rows) * static_cast<std::size_t>(image_.width);
        qx::pixelKernels().shift(image_.row(firstRow), pixels, offset);
    }

    qx::ImageView<WORD> image_;
    int triggerLine_;
};

}  // namespace

int correctAedStripe(WORD* image, int width, int height, int, int, int triggerLine) {
    if (image == nullptr)
        return StatusAllocationFailed;
    qx::logInfo(kLogNoValue, "New AED Stripe Correction Method");
    if (!qx::isImageSize(width, height))
        return StatusWrongParameter;
    if (triggerLine < kMinTriggerLine || static_cast<long long>(height) - triggerLine < kFitRows) {
        qx::logInfo(kLogNoValue, "%s", qx::kBandOutsideWindow);
        return StatusOk;
    }
    if (!LineStripe::holdsSegment(width))
        return StatusWrongParameter;
    LineStripe(image, width, height, triggerLine).correct();
    return StatusOk;
}
