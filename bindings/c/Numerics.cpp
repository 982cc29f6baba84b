#include "qxutils_c.h"

#include "Guard.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"

#include <cstdlib>

int qx_getMedian_i32(const int* data, int n) {
    return getMedian(data, n);
}

float qx_getMedian_f32(const float* data, int n) {
    return getMedian(data, n);
}

uint16_t qx_getMedian_u16(const uint16_t* data, int n) {
    return getMedian(data, n);
}

uint16_t qx_getWordMedian(const uint16_t* data, int n) {
    return getWordMedian(data, n);
}

double qx_getfloatMedian(const double* data, int n) {
    return getfloatMedian(data, n);
}

float qx_getFloatMedian(const float* data, int n) {
    return getFloatMedian(data, n);
}

float qx_getFloatMedian_inplace(float* data, int n) {
    return getFloatMedian(data, n);
}

float qx_getFloatMedianByQuickMethod(float* data, int n) {
    return getFloatMedianByQuickMethod(data, n);
}

uint16_t qx_getHisMedian(const uint16_t* data, int n, int* hist, int bins) {
    return getHisMedian(data, n, hist, bins);
}

float qx_getFloatHisMedian(const float* data, int n, int* hist, int bins) {
    return getFloatHisMedian(data, n, hist, bins);
}

float qx_getStdev_u16(const uint16_t* image, int width, int height) {
    return getStdev(image, width, height);
}

float qx_getStdev_i32(const int* image, int width, int height) {
    return getStdev(image, width, height);
}

float qx_getStdev_f32(const float* image, int width, int height) {
    return getStdev(image, width, height);
}

void qx_getStdevAndMean(const int* image, int width, int height, float* mean, float* stdev) {
    if (mean != nullptr && stdev != nullptr)
        getStdevAndMean(image, width, height, *mean, *stdev);
}

double qx_getMean_u16(const uint16_t* data, int n) {
    return getMean(data, n);
}

int qx_getMaxandMinIndex_f64(const double* data, int n, int wantMin) {
    return getMaxandMinIndex(data, n, wantMin != 0);
}

int qx_getMaxandMinIndex_f32(const float* data, int n, int wantMin) {
    return getMaxandMinIndex(data, n, wantMin != 0);
}

int qx_getMinIndex_u16(const uint16_t* data, int n) {
    return getMinIndex(data, n);
}

int qx_getMinIndex_i32(const int* data, int n) {
    return getMinIndex(data, n);
}

int qx_getMinIndex_f32(const float* data, int n) {
    return getMinIndex(data, n);
}

int qx_getMaxIndex_i32(const int* data, int n) {
    return getMaxIndex(data, n);
}

int qx_getMaxIndex_f32(const float* data, int n) {
    return getMaxIndex(data, n);
}

int qx_findidxbigger(const float* data, int n, float threshold) {
    return findidxbigger(data, n, threshold);
}

int qx_findidxsmaller(const float* data, int n, float threshold) {
    return findidxsmaller(data, n, threshold);
}

int qx_getROIMedian_u16(const uint16_t* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    return getROIMedian(image, rowStart, rowEnd, colStart, colEnd, width);
}

int qx_getROIMedian_f32(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    return getROIMedian(image, rowStart, rowEnd, colStart, colEnd, width);
}

int qx_getROIMean(const uint16_t* image, int rowStart, int rowEnd, int colStart, int colEnd, int width) {
    return getROIMean(image, rowStart, rowEnd, colStart, colEnd, width);
}

int qx_getHistogramByBins(int* counts, int* centers, int bins, const uint16_t* data, int n) {
    return getHistogramByBins(counts, centers, bins, data, n);
}

double qx_getGaussValue(double sigma, double mean) {
    return getGaussValue(sigma, mean);
}

void qx_seed(unsigned seed) {
    std::srand(seed);
}

float qx_GetCovOfTwoImages(const uint16_t* image, int width, int height) {
    return GetCovOfTwoImages(image, width, height);
}

int qx_polyFit(float* coefficients, const float* const* points, int pointCount, int order) {
    return qx::c::guarded([&] {
        polyFit(coefficients, points, pointCount, order);
        return StatusOk;
    });
}

int qx_calcMedianPerColumn(float* medians, const float* image, int width, int height) {
    return calcMedianPerColumn(medians, image, width, height);
}

int qx_doSurfaceFit(float* model, int n, float* quality, const float* image, int width, int height, float* coefficients,
                    float* residuals) {
    return quality != nullptr ? doSurfaceFit(model, n, *quality, image, width, height, coefficients, residuals)
                              : int{StatusOk};
}

int qx_doSurfaceFitUsingGeneralFormula(float* model, int n, float* quality, const float* image, int width, int height,
                                       float* coefficients, float* chiSquare) {
    return quality != nullptr
               ? doSurfaceFitUsingGeneralFormula(model, n, *quality, image, width, height, coefficients, chiSquare)
               : int{StatusOk};
}

int qx_doSurfaceFitUsingCubFormula(float* model, int n, float* quality, const float* image, int width, int height,
                                   float* coefficients, float* chiSquare) {
    return quality != nullptr
               ? doSurfaceFitUsingCubFormula(model, n, *quality, image, width, height, coefficients, chiSquare)
               : int{StatusOk};
}

void qx_FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float* a, float* dt, int n, int m,
                               int p, int q) {
    FitSurfaceLeastSquares(x, y, z, reinterpret_cast<float(*)[3]>(a), dt, n, m, p, q);
}

void qx_medianFilter(float* data, int n, int r) {
    medianFilter(data, n, r);
}

int qx_filterImg(uint16_t* image, int width, int height) {
    return filterImg(image, width, height);
}

void qx_hisEqualization(uint16_t* pixels, int n) {
    hisEqualization(pixels, n);
}

int qx_getMedianImage(float* out, const uint16_t* image, int width, int height) {
    return getMedianImage(out, image, width, height);
}

int qx_filterUsingSGolay(float* out, const float* in, int n, int order, int window) {
    return filterUsingSGolay(out, in, n, order, window);
}

void qx_interpImg2D(uint16_t* out, int outRows, int outColumns, const uint16_t* in, int inRows, int inColumns) {
    // The flat buffers that the export takes in the disguise of tables of rows.
    interpImg2D(reinterpret_cast<WORD**>(out), outRows, outColumns, reinterpret_cast<WORD**>(const_cast<uint16_t*>(in)),
                inRows, inColumns);
}

int qx_getIntepolationSize(int* firstSize, int* secondSize, int index, int type) {
    if (firstSize == nullptr || secondSize == nullptr)
        return StatusNullArgument;
    return getIntepolationSize(*firstSize, *secondSize, index, type);
}
