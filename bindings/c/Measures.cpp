#include "qxutils_c.h"

#include "QxUtils/Measures.h"

#include <cstddef>

namespace {

static_assert(sizeof(qx_check_measures) == sizeof(CheckMeasures));
static_assert(offsetof(qx_check_measures, count) == offsetof(CheckMeasures, count));
static_assert(offsetof(qx_check_measure, unit) == offsetof(CheckMeasure, unit));
static_assert(offsetof(qx_check_measure, name) == offsetof(CheckMeasure, name));
static_assert(sizeof(qx_snr_square) == sizeof(SNRSquare));
static_assert(offsetof(qx_snr_square, belowExpected) == offsetof(SNRSquare, belowExpected));

CheckMeasures* sameRecord(qx_check_measures* measures) noexcept {
    return reinterpret_cast<CheckMeasures*>(measures);
}

}  // namespace

int qx_measureUniform(const uint16_t* image, int width, int height, qx_check_measures* measures) {
    return measureUniform(image, width, height, sameRecord(measures));
}

int qx_measureGlobalUniform(const uint16_t* image, int width, int height, float limit, qx_check_measures* measures) {
    return measureGlobalUniform(image, width, height, limit, sameRecord(measures));
}

int qx_measureStrip(const uint16_t* image, int width, int height, qx_check_measures* measures) {
    return measureStrip(image, width, height, sameRecord(measures));
}

int qx_measureDarkGray(const uint16_t* image, int width, int height, qx_check_measures* measures) {
    return measureDarkGray(image, width, height, sameRecord(measures));
}

int qx_measureRcn(int width, int height, qx_check_measures* measures) {
    return measureRcn(width, height, sameRecord(measures));
}

int qx_measureFirstImg(const uint16_t* image, const uint16_t* dark, int width, int height,
                       qx_check_measures* measures) {
    return measureFirstImg(image, dark, width, height, sameRecord(measures));
}

int qx_measurePreImg(const uint16_t* image, const uint16_t* dark, int width, int height, qx_check_measures* measures) {
    return measurePreImg(image, dark, width, height, sameRecord(measures));
}

int qx_measureGlobalSNR(const uint16_t* image, int width, int height, const float* factorySNR, int factoryCount,
                        qx_check_measures* measures) {
    return measureGlobalSNR(image, width, height, factorySNR, factoryCount, sameRecord(measures));
}

int qx_measureSNRResult(const uint16_t* image, int width, int height, const float* factorySNR, int factoryCount,
                        qx_check_measures* measures) {
    return measureSNRResult(image, width, height, factorySNR, factoryCount, sameRecord(measures));
}

int qx_measureGainImgGroup(const char* const* paths, int count, qx_check_measures* measures) {
    return measureGainImgGroup(paths, count, sameRecord(measures));
}

int qx_measureDarkTimeRepeat(const char* list, int time, qx_check_measures* measures) {
    return measureDarkTimeRepeat(list, time, sameRecord(measures));
}

int qx_measureFalseTriggAEDImage(const float* image, int width, int height, qx_check_measures* measures) {
    return measureFalseTriggAEDImage(image, width, height, sameRecord(measures));
}

int qx_measureOffsetImageQuality(const float* image, int width, int height, qx_check_measures* measures) {
    return measureOffsetImageQuality(image, width, height, sameRecord(measures));
}

int qx_measureSNRSquares(const uint16_t* image, int width, int height, const float* factorySNR, int factoryCount,
                         qx_snr_square* squares, int capacity, int* count) {
    return measureSNRSquares(image, width, height, factorySNR, factoryCount, reinterpret_cast<SNRSquare*>(squares),
                             capacity, count);
}

int qx_locateShadow(const uint16_t* image, const uint16_t* dark, int width, int height, unsigned char* blocks,
                    int capacity) {
    return locateShadow(image, dark, width, height, blocks, capacity);
}
