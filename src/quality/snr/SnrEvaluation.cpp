#include "QxUtils/Quality.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"
#include "quality/Measure.h"
#include "quality/snr/SnrSeries.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <span>
#include <string>

namespace {

using Image = qx::ImageView<const WORD>;
using Series = std::span<const float>;

// So many squares may fall below the expectation.
constexpr int kToleratedShortfalls = 2;

// Whether a series of this image can be compared with a factory series. Without an image nothing is measured.
bool isComparable(const Image& image, std::int64_t factoryCount) {
    const int count = qx::snrCount(image.width, image.height);
    return count >= 1 && factoryCount >= count &&
           (image.data == nullptr || qx::snrMeasurable(image.width, image.height));
}

// The image's series; test before use. Kept: it stays zero without an image or where memory is short, and zeros pass.
class MeasuredSeries {
public:
    template <class Measure>
    MeasuredSeries(const Image& image, Measure measure) noexcept : values_(qx::snrCount(image.width, image.height)) {
        if (!values_)
            return;
        values_.clear();
        if (image.data != nullptr)
            measure(image, values_.span());
    }

    explicit operator bool() const noexcept { return static_cast<bool>(values_); }
    Series values() const noexcept { return values_.span(); }

private:
    qx::Scratch<float> values_;
};

// The squares that fall below the factory series: scaled to the smallest square, and its expected share.
struct Shortfalls {
    Shortfalls(Series measured, Series factory) {
        int scaled = 0;
        int expected = 0;
        for (int k = 0; k < std::ssize(measured); ++k) {
            const SNRSquare square = qx::snrSquare(k, measured, factory);
            scaled += square.belowScaled;
            expected += square.belowExpected;
        }
        belowScaled = {scaled, MeasureAtMost, 0};
        belowExpected = {expected, MeasureAtMost, kToleratedShortfalls};
    }

    int grade() const {
        if (belowScaled.met())
            return StatusCalibrationExcellent;
        return belowExpected.met() ? StatusCalibrationGood : StatusCalibrationPoor;
    }

    qx::Measure belowScaled;
    qx::Measure belowExpected;
};

int checkSeries(const Image& image, Series factory) {
    qx::LoggedOperation operation("SNRcheck");
    const MeasuredSeries measured(image, qx::calcSnrSeries);
    if (!measured)
        return operation.endUntold(StatusAllocationFailed);
    if (Shortfalls(measured.values(), factory).belowExpected.met())
        return operation.end(StatusOk);
    // Kept: the advice is printed whatever the debug flag, and the closing line has no value.
    qx::printConsole("%s", "--Warning:The image SNR of 1key calibration is low! __Please check: \n"
                           "1.if something on the detector; \n"
                           "2.The shutter shadow; \n"
                           "3.The uniformity of exposure. \n");
    return StatusSnrLow;
}

std::string seriesText(const char* title, Series series) {
    std::string text = title;
    for (const float value : series) {
        char number[64];
        std::snprintf(number, sizeof number, "%.1f\t", static_cast<double>(value));
        text += number;
    }
    return text;
}

// A line that memory is too short for never disturbs the verdict.
void logSeries(const char* title, Series series) noexcept {
    try {
        WriteLogFile(LogModuleUtils, LogInfo, seriesText(title, series).c_str(), kLogNoValue);
    } catch (const std::bad_alloc&) {
        return;
    }
}

int gradeSeries(const Image& image, Series factory) {
    if (!isComparable(image, std::ssize(factory)))
        return StatusCalibrationPoor;
    const MeasuredSeries measured(image, qx::calcSnrSeries);
    if (!measured)
        return StatusCalibrationPoor;
    logSeries("default SNR:", factory);
    logSeries("calc SNR:", measured.values());
    return Shortfalls(measured.values(), factory).grade();
}

// Hands the series of an image, which is compared with factoryCount values, to `use`.
template <class Use>
int withSeries(const Image& image, int factoryCount, Use use) {
    if (!isComparable(image, factoryCount))
        return StatusWrongParameter;
    const MeasuredSeries measured(image, qx::measureSnrSeries);
    if (!measured)
        return StatusAllocationFailed;
    use(measured.values());
    return StatusOk;
}

// Hands the shortfalls of an image to `use`.
template <class Use>
int recordShortfalls(const Image& image, const float* factorySNR, int factoryCount, CheckMeasures* measures, Use use) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        if (factorySNR == nullptr)
            return int{StatusNullArgument};
        return withSeries(image, factoryCount, [&](Series measured) {
            use(Shortfalls(measured, {factorySNR, measured.size()}), records);
        });
    });
}

const char* gradeText(int grade) {
    switch (grade) {
    case StatusCalibrationExcellent:
        return "The result of evaluation is Excellent.";
    case StatusCalibrationGood:
        return "The result of evaluation is Good.";
    default:
        return "The result of evaluation is Poor.";
    }
}

}  // namespace

int calcGlobalSNR(const WORD* image, int width, int height, std::vector<float>& snr) {
    const Image view{image, width, height};
    if (image == nullptr)
        return StatusNullImage;
    if (!isComparable(view, std::ssize(snr)))
        return StatusWrongParameter;
    return qx::calcSnrSeries(view, snr);
}

// The kit's callers pass the series by value. NOLINTBEGIN(performance-unnecessary-value-param)
int checkGlobalSNR(const WORD* image, int width, int height, std::vector<float> factorySNR) {
    qx::LoggedOperation operation("checkGlobalSNR", " terminates ", LogModuleCalib);
    const Image view{image, width, height};
    if (!isComparable(view, std::ssize(factorySNR)))
        return operation.end(StatusWrongParameter);
    return operation.end(checkSeries(view, factorySNR));
}

int evaluateSNRResult(const WORD* image, int width, int height, std::vector<float> factorySNR,
                      SurfaceFitResult& result) {
    qx::LoggedOperation operation("evaluateSNRResult", " terminates with return value ");
    result.evaluation = gradeSeries({image, width, height}, factorySNR);
    qx::logInfo(kLogNoValue, "%s", gradeText(result.evaluation));
    return operation.end(StatusOk);
}
// NOLINTEND(performance-unnecessary-value-param)

int measureGlobalSNR(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                     CheckMeasures* measures) {
    const auto add = [](const Shortfalls& shortfalls, qx::MeasureRecords& records) {
        records.add(shortfalls.belowExpected, "squares", "squares below the expectation");
    };
    return recordShortfalls({image, width, height}, factorySNR, factoryCount, measures, add);
}

int measureSNRResult(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                     CheckMeasures* measures) {
    const auto add = [](const Shortfalls& shortfalls, qx::MeasureRecords& records) {
        records.add(shortfalls.belowScaled, "squares", "squares below the scaled factory value");
        if (!shortfalls.belowScaled.met())
            records.addAlternative(shortfalls.belowExpected, "squares", "squares below the expectation");
    };
    return recordShortfalls({image, width, height}, factorySNR, factoryCount, measures, add);
}

int measureSNRSquares(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                      SNRSquare* squares, int capacity, int* count) {
    if (squares == nullptr || count == nullptr)
        return StatusNullArgument;
    const qx::Silence silence;
    *count = std::max(qx::snrCount(width, height), 0);
    if (capacity < *count)
        return StatusWrongParameter;
    const int compared = factorySNR != nullptr ? factoryCount : *count;
    return withSeries({image, width, height}, compared, [&](Series measured) {
        const Series factory(factorySNR, factorySNR != nullptr ? measured.size() : 0);
        for (int k = 0; k < *count; ++k)
            squares[k] = qx::snrSquare(k, measured, factory);
    });
}
