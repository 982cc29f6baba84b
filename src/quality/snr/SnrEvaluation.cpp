#include "QxUtils/Quality.h"

#include "QxUtils/StatusCode.h"
#include "foundation/Log.h"
#include "platform/Console.h"
#include "quality/snr/SnrSeries.h"

#include <cstdio>
#include <new>
#include <string>

namespace {

using Series = std::vector<float>;

// So many squares may fall below the expectation.
constexpr int kToleratedShortfalls = 2;

// Whether a series of this image can be compared with a factory series. Without an image nothing is measured.
bool isComparable(const WORD* image, int width, int height, std::size_t factoryCount) {
    const int count = qx::snrCount(width, height);
    return count >= 1 && factoryCount >= static_cast<std::size_t>(count) &&
           (image == nullptr || qx::snrMeasurable(width, height));
}

// The image's series. Kept: it stays zero without an image or where memory is short, and zeros pass.
Series measure(const WORD* image, int width, int height) {
    Series measured(static_cast<std::size_t>(qx::snrCount(width, height)), 0.0f);
    if (image != nullptr)
        qx::measureSnrSeries({image, width, height}, measured);
    return measured;
}

// The squares that fall below the factory series: scaled to the smallest square, and its expected share.
struct Shortfalls {
    int belowScaled = 0;
    int belowExpected = 0;
};

Shortfalls countShortfalls(const Series& measured, const Series& factory) {
    Shortfalls shortfalls;
    for (std::size_t k = 0; k < measured.size(); ++k) {
        const float scaled = measured[0] / factory[0] * factory[k];
        const float expected = scaled * qx::snrFactor(static_cast<int>(k));
        shortfalls.belowScaled += measured[k] - scaled < 0;
        shortfalls.belowExpected += measured[k] - expected < 0;
    }
    return shortfalls;
}

int checkSeries(const WORD* image, int width, int height, const Series& factory) {
    qx::logBegin("SNRcheck");
    const Series measured = measure(image, width, height);
    if (countShortfalls(measured, factory).belowExpected <= kToleratedShortfalls) {
        qx::logEnd("SNRcheck", " terminates", StatusOk);
        return StatusOk;
    }
    // Kept: the advice is printed whatever the debug flag, and the closing line has no value.
    qx::printConsole("%s", "--Warning:The image SNR of 1key calibration is low! __Please check: \n"
                           "1.if something on the detector; \n"
                           "2.The shutter shadow; \n"
                           "3.The uniformity of exposure. \n");
    qx::logEnd("SNRcheck", " terminates", kLogNoValue);
    return StatusSnrLow;
}

std::string seriesText(const char* title, const Series& series) {
    std::string text = title;
    for (const float value : series) {
        char number[64];
        std::snprintf(number, sizeof number, "%.1f\t", static_cast<double>(value));
        text += number;
    }
    return text;
}

// A line that memory is too short for never disturbs the verdict.
void logSeries(const char* title, const Series& series) noexcept {
    try {
        WriteLogFile(LogModuleUtils, LogInfo, seriesText(title, series).c_str(), kLogNoValue);
    } catch (const std::bad_alloc&) {
        return;
    }
}

int gradeSeries(const WORD* image, int width, int height, const Series& factory) {
    const Series measured = measure(image, width, height);
    logSeries("default SNR:", factory);
    logSeries("calc SNR:", measured);
    const Shortfalls shortfalls = countShortfalls(measured, factory);
    if (shortfalls.belowScaled == 0)
        return StatusCalibrationExcellent;
    return shortfalls.belowExpected <= kToleratedShortfalls ? StatusCalibrationGood : StatusCalibrationPoor;
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
    if (image == nullptr)
        return StatusNullImage;
    if (!isComparable(image, width, height, snr.size()))
        return StatusWrongParameter;
    return qx::measureSnrSeries({image, width, height}, snr);
}

// The kit's callers pass the series by value. NOLINTBEGIN(performance-unnecessary-value-param)
int checkGlobalSNR(const WORD* image, int width, int height, std::vector<float> factorySNR) {
    qx::logBegin("checkGlobalSNR", LogModuleCalib);
    int result = StatusWrongParameter;
    try {
        if (isComparable(image, width, height, factorySNR.size()))
            result = checkSeries(image, width, height, factorySNR);
    } catch (const std::bad_alloc&) {
        result = StatusAllocationFailed;
    }
    qx::logEnd("checkGlobalSNR", " terminates ", result, LogModuleCalib);
    return result;
}

int evaluateSNRResult(const WORD* image, int width, int height, std::vector<float> factorySNR,
                      SurfaceFitResult& result) {
    qx::logBegin("evaluateSNRResult");
    int grade = StatusCalibrationPoor;
    try {
        if (isComparable(image, width, height, factorySNR.size()))
            grade = gradeSeries(image, width, height, factorySNR);
    } catch (const std::bad_alloc&) {
        grade = StatusCalibrationPoor;
    }
    result.evaluation = grade;
    qx::logInfo(kLogNoValue, "%s", gradeText(grade));
    qx::logEnd("evaluateSNRResult", " terminates with return value ", StatusOk);
    return StatusOk;
}
// NOLINTEND(performance-unnecessary-value-param)
