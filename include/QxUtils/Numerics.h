#pragma once

// Order statistics and moments of pixel arrays.
//
// Counts are elements. A function whose result is a number returns the status code 1057 in its own type for a null
// pointer: the caller cannot tell it from a result. A width times height that does not fit in 32 bits gives 1020 in the
// same way, a failed allocation 1035. An image is empty when a side is below 1, also when both are. No function keeps
// state, getGaussValue excepted.
//
// Medians select what the quadratic exchange sort selects, bit for bit, in linear time: comparisons with a NaN are
// false, so a NaN stays where it is while the other values are sorted around it, and zeros of either sign are equal.
// For an even count the descending members give the lower of the two middle values, the ascending ones the upper.
// Members that do not sort in place take a copy of the array, those for WORD at most 384 KiB.

#include "Export.h"
#include "Types.h"

// Element n/2 in descending order (the lower middle). n below 1 gives 1057.
QXUTILS_API int getMedian(const int* data, int n);
QXUTILS_API float getMedian(const float* data, int n);
QXUTILS_API WORD getMedian(const WORD* data, int n);
QXUTILS_API WORD getWordMedian(const WORD* data, int n);
QXUTILS_API double getfloatMedian(const double* data, int n);

// Element n/2 in ascending order (the upper middle). n below 1 gives 1057. Whether the array is const decides what
// happens to it: the const member leaves it alone, the other leaves it sorted in ascending order. That one takes
// n log n steps and a copy; without memory for it, it falls back to the quadratic sort.
QXUTILS_API float getFloatMedian(const float* data, int n);
QXUTILS_API float getFloatMedian(float* data, int n);

// The upper middle by selection, without extra memory: the array is left partially reordered. Linear on average.
// n below 1 gives 1057.
QXUTILS_API float getFloatMedianByQuickMethod(float* data, int n);

// Histogram median: the first value at which the running count reaches n/2. hist receives the counts of the values
// 0 .. bins-1; larger values are ignored there but count in n. Returns bins (as 16 bits) when n/2 is not reached. With
// 65536 bins, n from 65536 on takes 127 KiB of memory; without it, up to three times as long.
QXUTILS_API WORD getHisMedian(const WORD* data, int n, int* hist, int bins);

// Histogram median with bins of 0.0001 between the minimum (at most 65535) and the maximum (0 to 110). hist and bins
// are not used. When the values span no bin (all equal, or all above 110) the result is that minimum. A value equal to
// the maximum is not counted, nor one above 110, but both count in n/2, of which the running count may fall short: the
// result is the maximum's bin then. 1020 when the bins exceed 32 bits. Memory: 4 bytes a bin or, above a million bins,
// a value.
QXUTILS_API float getFloatHisMedian(const float* data, int n, int* hist, int bins);

// Population standard deviation of width x height values: the root of the mean squared deviation, summed in double.
// The integer members take the deviation from the mean truncated to an integer. The result for an empty image is not
// a number.
QXUTILS_API float getStdev(const WORD* image, int width, int height);
QXUTILS_API float getStdev(const int* image, int width, int height);
QXUTILS_API float getStdev(const float* image, int width, int height);

// Mean and population standard deviation about the untruncated mean. Null, or a size that does not fit, leaves both
// untouched; for an empty image neither is a number.
QXUTILS_API void getStdevAndMean(const int* image, int width, int height, float& mean, float& stdev);

// Mean, summed in double: sum / n, so not a number for n = 0. Only the instance for WORD is part of the library.
template <class T>
QXUTILS_API double getMean(const T* data, int n);
extern template QXUTILS_API double getMean<WORD>(const WORD* data, int n);

// Index of the minimum or maximum among the elements 16 .. n-17; the last one on ties. The minimum starts at 10000
// and the maximum at 0, so larger values are never the minimum and negative ones never the maximum; 0 when nothing
// qualifies.
QXUTILS_API int getMaxandMinIndex(const double* data, int n, bool wantMin);
QXUTILS_API int getMaxandMinIndex(const float* data, int n, bool wantMin);

// Index of the first smallest element; 0 for n below 1.
QXUTILS_API int getMinIndex(const WORD* data, int n);
QXUTILS_API int getMinIndex(const int* data, int n);
QXUTILS_API int getMinIndex(const float* data, int n);

// Index of the last largest element; 0 for n below 1.
QXUTILS_API int getMaxIndex(const int* data, int n);
QXUTILS_API int getMaxIndex(const float* data, int n);

// The first index whose element is >= threshold; -1 when there is none.
QXUTILS_API int findidxbigger(const float* data, int n, float threshold);

// The last index whose element is <= threshold; n when there is none.
QXUTILS_API int findidxsmaller(const float* data, int n, float threshold);

// Statistics of the rows rowStart..rowEnd and columns colStart..colEnd (both inclusive) of an image whose rows are
// width pixels apart. The region is not clipped to the image: the caller keeps it inside. A region that starts before
// the image, or has one range reversed, gives 1020. The medians are the lower middle (WORD) and the upper middle
// truncated to an integer (float); 1057 for a region without pixels, whose end lies just before its start; with both
// ranges reversed the pixels count as zeros; 1035, with a log line, when memory is short. The mean is truncated; it is
// 0 whenever rowStart is above rowEnd, and 1020 for rows without columns.
QXUTILS_API int getROIMedian(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
QXUTILS_API int getROIMedian(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
QXUTILS_API int getROIMean(const WORD* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);

// Counts and count-weighted mean values of bins that share the value range left when 5 % of the values are cut off at
// each end. An empty bin's centre is the middle of its range. Returns 0, also for bins below 1 (nothing is written),
// 1057 for a null array, 1035 when memory is short. Memory: 384 KiB.
QXUTILS_API int getHistogramByBins(int* counts, int* centers, int bins, const WORD* data, int n);

// A normal deviate by the polar method from the runtime's rand(), which the caller seeds; every second call returns
// the second deviate of a pair. Process-wide state.
QXUTILS_API double getGaussValue(double sigma, double mean);

// Always 1: the covariance of two images is not computed.
QXUTILS_API float GetCovOfTwoImages(const WORD* image, int width, int height);

// Fits a polynomial of order 0 .. 6 by least squares: coefficients receives order + 1 values, the constant first.
// points holds pointCount pointers to pairs x, y. Single precision through the normal equations, with partial pivoting;
// compare fitted curves rather than coefficients. A singular system is not reported: a zero pivot leaves its
// coefficient undivided, the highest one as the caller had it. Throws StatusPolynomialOrder (1086) for an order above
// 6, before anything else; null pointers, a negative order or count leave the coefficients as they were. Cost: one pass
// over the points; allocates nothing.
QXUTILS_API void polyFit(float* coefficients, const float* const* points, int pointCount, int order);

// The median of every column of a width x height image (element height/2 in descending order, the lower middle), bit
// for bit what the quadratic exchange sort selects. A height below 1 gives 1057 for each column. Returns 0; 1057 for
// a null pointer, 1020 for a width below 1 or a pixel count beyond 32 bits, 1035 when memory is short (with a console
// message while debugging): medians stay as they were then. Memory: 264 bytes a row.
QXUTILS_API int calcMedianPerColumn(float* medians, const float* image, int width, int height);

// Surface fits. All of them describe the peak of an image by the model
//   F(x, y) = A [1 - B (x - x0)^2 - C (y - y0)^2 - D x y]
// and write A, B, C, D, x0, y0 to model. quality receives the squared correlation of image and fitted surface, 1 for a
// perfect fit; a constant image leaves nothing to correlate: not a number by the first fit, and what the rounding of
// sums makes of it by the formulas, anything from 0 to 1 or not a number. They log their coefficients or their course,
// and always return 0: null pointers, sizes below 1 or beyond 32 bits and a lack of memory leave the outputs as they
// were. Nothing guards a division by zero: a surface without curvature along an axis gives values that are infinite or
// not a number.

// Fits a + b r + c r^2 by a + b c + c c^2 (tensor product of quadratics). x is the row, y the column: x0 and y0 are
// absolute, x0 the peak's row. coefficients receives 3 x 3 values, row-major, element [i][j] for (row - mean row)^i
// (column - mean column)^j. residuals receives three values: sum of squares, sum of magnitudes and largest magnitude of
// the residuals; the sums are those of three passes over the image, three times the residual sums. All sums, those of
// the quality too, run in double precision and are rounded once; residuals that are not a number are never the largest.
// n is not read. Prints coefficients, residuals and model on standard output, whatever the debug flag. Cost: two passes
// over the image. Memory: some 40 bytes for every row and column.
QXUTILS_API int doSurfaceFit(float* model, int n, float& quality, const float* image, int width, int height,
                             float* coefficients, float* residuals);

// Fits 1, X, Y, XY, X^2, Y^2 with X = column - width / 2 and Y = row - height / 2 (integer halves): x0 is the peak's
// column and y0 its row, as offsets from that middle pixel. With c1 .. c6 the terms' coefficients, A is the larger root
// of A^2 - c1 A + (c5 x0^2 + c6 y0^2), B = c2 / (2 A x0) and C = c3 / (2 A y0): not the peak value, and not a number
// where the peak lies on the middle column or row. coefficients receives 3 x 3 values, element [i][j] for X^i Y^j.
// chiSquare receives the sum of the squared residuals. n is not read. A decomposition that does not converge leaves
// every output as it was; the log tells, and so does standard output, whatever the debug flag. Products of X and Y are
// whole numbers that are rounded once. Images up to 2^24 pixels. Memory: 36 bytes a pixel.
QXUTILS_API int doSurfaceFitUsingGeneralFormula(float* model, int n, float& quality, const float* image, int width,
                                                int height, float* coefficients, float* chiSquare);

// As the general formula, with X^2 Y, X Y^2, X^3, Y^3 in addition, which the model ignores. coefficients receives the
// first n of the ten coefficients in that order (n outside 0 .. 10 counts as the nearer end). Memory: 52 bytes a pixel.
QXUTILS_API int doSurfaceFitUsingCubFormula(float* model, int n, float& quality, const float* image, int width,
                                            int height, float* coefficients, float* chiSquare);

// Fits z(x, y) by a sum of a[i][j] (x - mean x)^i (y - mean y)^j, i < p, j < q, by least squares over the grid of n x m
// samples z[i][j] at x[i], y[j]. a has p rows of three, of which q are written; q is limited to 3, and both to the
// number of samples and to 20. dt receives the sum of squares, sum of magnitudes and largest magnitude of the
// residuals, summed in single precision in the order of the samples. Coefficients beyond what the samples determine are
// 0. Null pointers, sizes below 1 or beyond 32 bits and a lack of memory leave the outputs as they were. Cost: two
// passes over the samples. Memory: 8 bytes for every x and power, and 40 for every y.
QXUTILS_API void FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float (*a)[3], float* dt,
                                        int n, int m, int p, int q);

// Filters. Images are width x height pixels, row-major; outputs do not overlap inputs unless the work is in place.
// Where there is a result it is 0; 1057 for a null pointer, which changes nothing; and, unless said otherwise, 0 with
// nothing changed for sizes for which a window does not fit.

// Running median of 2 r + 1 samples (element r of the window in descending order, which is the exchange sort's bit for
// bit), in place. The first and the last r samples stay; nothing changes when n <= 2 r, r is below 1 or memory is
// short. The windows hold what the samples were before. Time grows with n r, and with r^2 where that is more, up to an
// r of 44 to 128, the wider the vectors; beyond that a median costs much the same whatever the window. The exception is
// one beside a NaN, or a zero beside a negative one: it takes the time of its window. Memory: 16 KiB of automatic
// memory up to an r of 7, beyond that the size of at most 175 windows, or 150 KiB where that is more.
QXUTILS_API void medianFilter(float* data, int n, int r);

// Median of five pixels above each other, in place. The first two and the last two rows stay, and all of them when the
// height is below 5. The windows hold what the pixels were before. Automatic memory: 24 KiB.
QXUTILS_API int filterImg(WORD* image, int width, int height);

// Histogram equalisation in place: a pixel of value v becomes the integer part of 65535 times the share of pixels that
// are at most v. Null, n below 1 or a lack of memory changes nothing. Memory: 512 KiB.
QXUTILS_API void hisEqualization(WORD* pixels, int n);

// The median of the medians of 11 rows of 11 pixels around each pixel, divided by the pixel. Pixels within 5 of a
// border are not written. A pixel of 0 gives infinity, or not a number where the median is 0 too. Automatic memory: 32
// KiB.
QXUTILS_API int getMedianImage(float* out, const WORD* image, int width, int height);

// Savitzky-Golay smoothing: the value of the least-squares quadratic through a window of samples at its middle, and for
// the first and the last window / 2 samples that of the first and the last window at their place. Windows 5, 7, 15,
// 23, 31 and 51; weights rounded to single precision, sums in single precision in the order of the samples. Returns 0,
// 1057, or 1 for a sequence shorter than the window, another window or an order other than 2; out stays as it was then.
// Automatic memory: 10 KiB.
// See A. Savitzky, M. J. E. Golay, Analytical Chemistry 36 (1964) 1627.
QXUTILS_API int filterUsingSGolay(float* out, const float* in, int n, int order, int window);

// Resampling by natural cubic splines, first along the rows, then along the columns, in single precision; the corner
// pixels of both images coincide. Both images are flat row-major buffers: out and in are the addresses of their first
// pixels, not of tables of rows, in spite of their type. Values are rounded to the nearest count; those above 65534.5
// become 65535, those below -0.5 become 0, and exactly -0.5 becomes 65535. The same size reproduces the image. An
// output of one row or column has no spacing: all of its pixels become 65535. Null pointers, sizes below 1 or beyond 32
// bits and a lack of memory leave the output as it was. Memory: 4 MiB, or 128 bytes for every input row where that is
// more, some 300 bytes for every row and 900 for every column (more where rows and columns both exceed 100,000).
QXUTILS_API void interpImg2D(WORD** out, int outRows, int outColumns, WORD** in, int inRows, int inColumns);

// The standard output sizes of index 1 .. 4: 2816 x 2304, 3032 x 2480, 3120 x 2552, 3212 x 2628. The types 4 and 9 get
// the first number twice (a square image). Returns 0, or 1020 for another index, which leaves both sizes as they were.
QXUTILS_API int getIntepolationSize(int& firstSize, int& secondSize, int index, int type);
