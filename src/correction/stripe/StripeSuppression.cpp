#include "correction/stripe/StripeSuppression.h"

#include "QxUtils/Correction.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/ImageView.h"
#include "foundation/Log.h"

#include <QxSysMgt.h>

#include <array>
#include <cmath>
#include <cstddef>

namespace qx {
namespace {

constexpr int kMaxRows = kTriggerRow - 1;
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

void rescaleRow(WORD* destination, const WORD* source, int width, double gain) noexcept {
    constexpr std::uint32_t kLargestPixel = 65535;
    if (maxGrayValue > kLargestPixel || !std::isfinite(gain)) {
        for (int c = 0; c < width; ++c)
            destination[c] = rescaled(source[c], gain);
        return;
    }
    // The same without branches.
    const double largest = maxGrayValue;
    for (int c = 0; c < width; ++c) {
        const double value = (source[c] - kPedestal) * gain + kPedestal + 0.5;
        const double limited = value < largest ? value : largest;
        destination[c] = static_cast<WORD>(static_cast<int>(limited > 0.0 ? limited : 0.0));
    }
}

const WORD* bandOf(const WORD* image, int width, int triggerLine) noexcept {
    return image + static_cast<std::ptrdiff_t>(triggerLine - kTriggerRow) * width;
}

int suppressStripe(WORD* image, const WORD* reference, int width, int referenceWidth, int height, int triggerLine) {
    logBegin("correctAedStripe");
    if (triggerLine <= kTriggerRow || static_cast<long long>(height) - triggerLine < kBandRows - kTriggerRow) {
        logInfo(kLogNoValue, "%s", kBandOutsideWindow);
        logEnd("correctAedStripe", " terminates", kLogNoValue);
        return StatusOk;
    }
    maxGrayValue = getConfigInfo()->maxGrayValue;
    std::array<double, kBandRows> ratio{};
    const int rows = calcStripeRatio(ratio.data(), bandOf(reference, referenceWidth, triggerLine), referenceWidth);
    if (rows == kNoStripeMemory) {
        logError("Allocate buff failed.", kLogNoValue);
        return StatusAllocationFailed;
    }
    if (rows < 0) {
        logError("<calcStripeRatio> terminates. Fail to find a band", kLogNoValue);
        WriteErrorLine(LogModuleUtils, kRatioErrorLine, kSource);
        return kNoStripeRatio;
    }
    // Every pixel is read before it is written, so the band needs no copy.
    WORD* const band = image + static_cast<std::ptrdiff_t>(triggerLine - kTriggerRow) * width;
    const int result = removeGenericStripe(band, band, width, ratio.data(), rows);
    if (result != StatusOk) {
        logError("<removeGenericStripe> terminates with a return value ", result);
        WriteErrorLine(LogModuleUtils, kRemovalErrorLine, kSource);
    }
    // Kept: nothing tells of the end here.
    return result;
}

}  // namespace

int removeGenericStripe(WORD* destination, const WORD* source, int width, const double* ratio, int rows) noexcept {
    logBegin("removeGenericStripe");
    if (rows > kMaxRows) {
        logInfo(kLogNoValue, "Warning: reduce the number of rows to correct from %d to %d to pass the range check",
                rows, kMaxRows);
        rows = kMaxRows;
    }
    const int start = kTriggerRow - rows;
    std::array<double, kMaxRows> gains{};
    for (int i = 0; i < rows; ++i) {
        const float t = static_cast<float>(i + 1) / static_cast<float>(rows + 1);
        const double line =
            static_cast<double>(1.0f - t) * ratio[start - 1] + static_cast<double>(t) * ratio[kTriggerRow];
        gains[static_cast<std::size_t>(i)] = line / ratio[start + i];
        logInfo(kLogNoValue, "gain[%d] = %f", i, gains[static_cast<std::size_t>(i)]);
    }
    for (int i = 0; i < rows; ++i) {
        const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(start + i) * width;
        rescaleRow(destination + row, source + row, width, gains[static_cast<std::size_t>(i)]);
    }
    logEnd("removeGenericStripe", " terminates", kLogNoValue);
    return StatusOk;
}

}  // namespace qx

int correctAedStripeClinic(WORD* image, const WORD* referenceImage, int width, int referenceWidth, int height,
                           int triggerLine) {
    if (image == nullptr || referenceImage == nullptr)
        return StatusNullArgument;
    if (!qx::isImageSize(width, height) || !qx::isImageSize(referenceWidth, height))
        return StatusWrongParameter;
    return qx::suppressStripe(image, referenceImage, width, referenceWidth, height, triggerLine);
}
