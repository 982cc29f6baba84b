#include "correction/stripe/StripeSuppression.h"

#include "QxUtils/Correction.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/stripe/StripeRatio.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"

#include <QxSysMgt.h>

#include <array>
#include <cmath>

namespace qx {
namespace {

constexpr int kMaxRows = kReferenceRow;
constexpr char kSource[] = "StripeSuppression";

// Where the band lies in the code, as the error lines tell it.
constexpr int kRatioErrorLine = 602;
constexpr int kRemovalErrorLine = 618;

void logError(const char* text, int value) noexcept {
    WriteLogFile(LogModuleUtils, LogError, text, value);
}

WORD rescaled(WORD pixel, double gain) noexcept {
    const double value = (pixel - kPedestal) * gain + kPedestal + 0.5;
    if (value >= maxGrayValue)
        return static_cast<WORD>(maxGrayValue);
    return value <= 0.0 ? WORD{0} : static_cast<WORD>(truncateToInt(value));
}

void rescaleRow(WORD* destination, std::span<const WORD> source, double gain) noexcept {
    constexpr std::uint32_t kLargestPixel = 65535;
    if (maxGrayValue > kLargestPixel || !std::isfinite(gain)) {
        for (const WORD pixel : source)
            *destination++ = rescaled(pixel, gain);
        return;
    }
    // The same without branches.
    const double largest = maxGrayValue;
    for (const WORD pixel : source) {
        const double value = (pixel - kPedestal) * gain + kPedestal + 0.5;
        const double limited = value < largest ? value : largest;
        *destination++ = static_cast<WORD>(static_cast<int>(limited > 0.0 ? limited : 0.0));
    }
}

template <class Pixel>
ImageView<Pixel> bandOf(const ImageView<Pixel>& image, int triggerLine) noexcept {
    return {image.row(triggerLine - kTriggerRow), image.width, kBandRows};
}

int suppressStripe(const ImageView<WORD>& image, const ImageView<const WORD>& reference, int triggerLine) {
    // Kept: the log tells the name of the other correction.
    LoggedOperation operation("correctAedStripe");
    if (triggerLine <= kTriggerRow || image.height - triggerLine <= kRowsBelow) {
        logInfo(kLogNoValue, "%s", kBandOutsideWindow);
        return StatusOk;
    }
    maxGrayValue = getConfigInfo()->maxGrayValue;
    std::array<double, kBandRows> ratio{};
    const int rows = calcStripeRatio(bandOf(reference, triggerLine), ratio);
    // Kept: nothing tells of the end from here on.
    if (rows == kNoStripeMemory) {
        logError("Allocate buff failed.", kLogNoValue);
        return operation.endUntold(StatusAllocationFailed);
    }
    if (rows < 0) {
        logError("<calcStripeRatio> terminates. Fail to find a band", kLogNoValue);
        WriteErrorLine(LogModuleUtils, kRatioErrorLine, kSource);
        return operation.endUntold(kNoStripeRatio);
    }
    // Every pixel is read before it is written, so the band needs no copy.
    const ImageView<WORD> band = bandOf(image, triggerLine);
    const int result = removeGenericStripe(band, band, ratio, rows);
    if (result != StatusOk) {
        logError("<removeGenericStripe> terminates with a return value ", result);
        WriteErrorLine(LogModuleUtils, kRemovalErrorLine, kSource);
    }
    return operation.endUntold(result);
}

}  // namespace

std::uint32_t maxGrayValue = 0;

int removeGenericStripe(const ImageView<WORD>& destination, const ImageView<const WORD>& source,
                        std::span<const double, kBandRows> ratio, int rows) noexcept {
    const LoggedOperation operation("removeGenericStripe");
    if (rows > kMaxRows) {
        logInfo(kLogNoValue, "Warning: reduce the number of rows to correct from %d to %d to pass the range check",
                rows, kMaxRows);
        rows = kMaxRows;
    }
    const int lastClean = kReferenceRow - rows;
    for (int i = 0; i < rows; ++i) {
        const int row = lastClean + 1 + i;
        // How far the row lies on the way from the last clean row to the trigger line.
        const float way = (i + 1) / (rows + 1.0f);
        const double shareBelow = way;
        const double shareAbove = 1.0f - way;
        const double gain = (shareAbove * ratio[lastClean] + shareBelow * ratio[kTriggerRow]) / ratio[row];
        logInfo(kLogNoValue, "gain[%d] = %f", i, gain);
        rescaleRow(destination.row(row), source.rowSpan(row), gain);
    }
    return StatusOk;
}

}  // namespace qx

int correctAedStripeClinic(WORD* image, const WORD* referenceImage, int width, int referenceWidth, int height,
                           int triggerLine) {
    if (image == nullptr || referenceImage == nullptr)
        return StatusNullArgument;
    const qx::ImageView<WORD> view{image, width, height};
    const qx::ImageView<const WORD> reference{referenceImage, referenceWidth, height};
    if (!view.exists() || !reference.exists())
        return StatusWrongParameter;
    return qx::suppressStripe(view, reference, triggerLine);
}
