#include "qxutils_c.h"

#include "QxUtils/Correction.h"

int qx_correctRDwithoutRgain(float* image, int width, int height) {
    return correctRDwithoutRgain(image, width, height);
}

int qx_correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth) {
    return correctRDbyRgain(image, width, height, rgain, nAfe, afeWidth);
}

int qx_correctAbnormalPixelFromRD(float* image, int width, int height) {
    return correctAbnormalPixelFromRD(image, width, height);
}

int qx_calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth) {
    return calcNeighbourAFERatio(ratio, nAfe, image, width, height, afeWidth);
}

void qx_overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth) {
    overwriteBadLineAroundAFEEdge(image, width, height, afeWidth);
}

int qx_calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth) {
    return calcRgain(rgain, medianRatio, nAfe, width, afeWidth);
}

void qx_subtractImage(float* out, const uint16_t* a, const uint16_t* b, int pixelCount) {
    subtractImage(out, a, b, pixelCount);
}

int qx_cutBinningImage(float* out, const float* image, int width, int height, int border) {
    return cutBinningImage(out, image, width, height, border);
}

int qx_doBinningSample(float* out, const float* image, int width, int height) {
    return doBinningSample(out, image, width, height);
}

int qx_correctAedStripeClinic(uint16_t* image, const uint16_t* referenceImage, int width, int referenceWidth,
                              int height, int triggerLine) {
    return correctAedStripeClinic(image, referenceImage, width, referenceWidth, height, triggerLine);
}

int qx_correctAedStripe(uint16_t* image, int width, int height, int unused1, int unused2, int triggerLine) {
    return correctAedStripe(image, width, height, unused1, unused2, triggerLine);
}

void qx_recordAedTrainStepInfo(const uint16_t* image, int width, int height) {
    recordAedTrainStepInfo(image, width, height);
}

int qx_executeNDTCAL(const uint32_t* brightImage, const uint32_t* darkImage, int pixelCount) {
    return executeNDTCAL(brightImage, darkImage, pixelCount);
}

int qx_correctNDTImage(uint32_t* image, const uint32_t* darkImage, int pixelCount) {
    return correctNDTImage(image, darkImage, pixelCount);
}

void qx_operateSubImage(float* first, const float* second, int width, int height, int xPhase, int yPhase, int extract) {
    operateSubImage(first, second, width, height, xPhase, yPhase, extract);
}

int qx_jingtaiEnhance(void* image, const char* path, int width, int height, int option) {
    return jingtaiEnhance(image, path, width, height, option);
}

int qx_precisionEnhance(uint16_t* image, const char* path, int width, int height) {
    return precisionEnhance(image, path, width, height);
}
