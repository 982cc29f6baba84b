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

namespace {

constexpr int kFitRows = 40;
constexpr int kMaxStripeRows = 15;
constexpr int kMinTriggerLine = 5;

// The pixels that stand for a row. Kept: they lie left of the middle.
constexpr int kSegmentPixels = 301;
constexpr int kSegmentRank = 149;
constexpr int kSegmentOffset = -501;

// Least-squares weights of the values at the positions 1 to kFitRows: of the slope, and of the value at position 0.
struct LineWeights {
    std::array<double, kFitRows> slope;
    std::array<double, kFitRows> intercept;
};

LineWeights lineWeights() {
    constexpr double kMeanPosition = (kFitRows + 1) / 2.0;
    constexpr double kSquaredDistances = kFitRows * (kFitRows * kFitRows - 1) / 12.0;
    LineWeights weights{};
    for (int k = 0; k < kFitRows; ++k) {
        const double distance = k + 1 - kMeanPosition;
        weights.slope[k] = distance / kSquaredDistances;
        weights.intercept[k] = 1.0 / kFitRows - kMeanPosition * distance / kSquaredDistances;
    }
    return weights;
}

// Sums are kept in single precision.
void add(float& sum, double term) {
    sum = static_cast<float>(static_cast<double>(sum) + term);
}

struct Line {
    float slope = 0.0f;
    float intercept = 0.0f;

    float at(int position) const { return position * slope + intercept; }
};

class LineStripe {
public:
    LineStripe(const qx::ImageView<WORD>& image, int triggerLine) : image_(image), triggerLine_(triggerLine) {}

    static bool holdsSegment(int width) { return width / 2 + kSegmentOffset >= 0; }

    void correct() {
        const Line line = fitLine();
        qx::logInfo(kLogNoValue, "s = %f, i = %f", static_cast<double>(line.slope),
                    static_cast<double>(line.intercept));
        const int rows = std::min(triggerLine_, kMaxStripeRows);
        const int first = triggerLine_ - rows;
        // Kept: the line's position is one below that of the row whose level it is compared with.
        const int firstPosition = 1 - rows;
        shift(0, first, line.at(firstPosition) - levelOf(first));
        for (int j = 0; j < rows; ++j) {
            const int row = first + j;
            const int level = levelOf(row);
            const float offset = line.at(firstPosition + j) - level;
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
            const int level = levelOf(std::min(triggerLine_ + 1 + k, image_.height - 1));
            add(line.slope, weights.slope[k] * level);
            add(line.intercept, weights.intercept[k] * level);
        }
        return line;
    }

    int levelOf(int row) const {
        const WORD* const segment = image_.row(row) + image_.width / 2 + kSegmentOffset;
        return qx::rankKernels().pixelRank(segment, kSegmentPixels, kSegmentRank);
    }

    void shift(int firstRow, int rows, float offset) const {
        qx::pixelKernels().shift(image_.row(firstRow), rows * image_.width, offset);
    }

    qx::ImageView<WORD> image_;
    int triggerLine_;
};

}  // namespace

int correctAedStripe(WORD* image, int width, int height, int, int, int triggerLine) {
    // Kept: a null image is answered as missing memory is.
    if (image == nullptr)
        return StatusAllocationFailed;
    qx::logInfo(kLogNoValue, "New AED Stripe Correction Method");
    const qx::ImageView<WORD> view{image, width, height};
    if (!view.exists())
        return StatusWrongParameter;
    if (triggerLine < kMinTriggerLine || height - triggerLine < kFitRows) {
        qx::logInfo(kLogNoValue, "%s", qx::kBandOutsideWindow);
        return StatusOk;
    }
    if (!LineStripe::holdsSegment(width))
        return StatusWrongParameter;
    LineStripe(view, triggerLine).correct();
    return StatusOk;
}
