#pragma once

// Verdicts on calibration images. Every check returns 0 when the image passes and one status code otherwise, and never
// changes the caller's image. Images are row-major, width x height pixels. Limits come from the kit's configuration
// record, fetched again at each use. Unless said otherwise a null pointer gives 1057, and a size below 1, or a pixel
// count beyond 32 bits, 1020.
//
// SNR series: the signal-to-noise ratio on nested centred squares of 64, 128, 256, 512, 768 ... pixels, smallest
// first; N = (min(width, height) - 12) / 256 + 2 of them. In each square values 4 standard deviations or more away
// from the median are replaced by it; of what results
//   SNR = (median - 208) / standard deviation
// with the upper median of the counts, 208 as the pedestal that corrected images carry, and the deviation about the
// mean above the pedestal, truncated to an integer. A square without noise has an infinite ratio.

#include "Export.h"
#include "Records.h"
#include "Types.h"

#include <vector>

// Measures the SNR series into the first N entries of snr, which is never resized.
// Returns 0; 1017 for a null image; 1020 when a side is below 128 pixels, the pixel count exceeds 32 bits or snr holds
// fewer than N entries; 1035 when memory is short. snr changes only on 0.
// Cost: one pass over the image, 384 KiB of memory.
QXUTILS_API int calcGlobalSNR(const WORD* image, int width, int height, std::vector<float>& snr);

// Compares the image's series with the factory's, scaled so that the smallest squares agree: 0 when fewer than three
// squares fall below the expectation (0.9, 0.86, 0.84, 0.82 ... of the scaled factory value), else 1088, with the
// advice to the user on standard output. A series that could not be measured, for want of an image or of memory, is
// zero and passes: a difference that is zero or not a number is no shortfall. 1020 when a side of the
// image is below 128 pixels, or factorySNR holds fewer than N entries; 1035 when memory for the series is short.
QXUTILS_API int checkGlobalSNR(const WORD* image, int width, int height, std::vector<float> factorySNR);

// Grades a one-shot calibration into result.evaluation: 1090 when no square falls below the scaled factory value,
// 1091 when fewer than three fall below the expectation of checkGlobalSNR, else 1092. A null image is graded 1090,
// an image or a series that checkGlobalSNR refuses 1092. The other fields stay as they are. Always returns 0.
QXUTILS_API int evaluateSNRResult(const WORD* image, int width, int height, std::vector<float> factorySNR,
                                  SurfaceFitResult& result);

// Factory SNR files: a 65536-byte image header, then little-endian 32-bit numbers: integration times, doses, SNR values
// a record, detector type; then a record for each image: integration time in ms, SNR values, mean in counts (float),
// and the SNR values (floats).

// Appends what a factory SNR file holds to the list. Returns 0, also for a file without records; 1057 for a null text;
// 1040 for a file that is missing, empty or not as long as it tells; 1020 when it is of another detector type; 1035
// when memory is short; or what reading gives. The list changes only on 0. Logs its course. Cost: one pass over the
// file, and a line of the log for every new integration time.
QXUTILS_API int loadAllSNRFromFactory(const char* dir, const char* file, FactoryDiffIntSNRList& list, int detectorType);

// Measures every image in the subdirectories of dir whose names contain "ms", such as 500ms, in ascending order of
// names, and writes their series to the file of the detector's name ("...-SNR.raw") in dir. The images are raw 16-bit
// images of the detector's size behind their headers, as many in each directory; one that cannot be measured is left
// out. Every such directory counts as an integration time, whatever else its name says and even without an image.
// Returns 0; 1057 for a null text; 1040 when no image was measured; 1020 when the directories differ in their number of
// images, the detector's description does not name it or holds a '/' or '\' behind the product, or the file would be
// too long; 1035 when memory is short, or 1040 where that leaves every image out; or what the detector or writing
// answers with. Logs its course and why it refuses what it was given; prints each series. The course ends with a line
// "terminates" whatever is returned, with the status only for a file that cannot be written; that of an image always
// tells its status.
QXUTILS_API int retrieveAllSNRForQualityCheck(int detectorType, const char* dir);

// Five squares of 64 x 64 pixels, in the middle and around: 1062 when the standard deviation of their means (truncated
// to integers) reaches uniformityCvLimit times the mean. 0 when that mean is below 1. 1020 when a square does not lie
// within the image (a side below 76).
QXUTILS_API int getUniform(const WORD* image, int width, int height);

// Steps between neighbouring strips of 32 columns: 1063 when two means differ by stripMeanDiffLimit or more. A strip is
// examined only while it begins before column width - 32: the last 1 to 32 columns never are, nor anything when the
// width is 32 or less. Means are single-precision sums in pixel order. 1035 when memory is short.
QXUTILS_API int analysisStrip(const WORD* image, int width, int height);

// Row-correlated noise of the stored average dark image of the current exposure time and gain,
// dark-<ms>ms-std-gain<id>.raw in the offset directory, width x height floats: 1064 when 500 or more rows differ from
// the one above by rcnRowDiffLimit or more. The status of a read that failed is passed on, 1035 when memory is short. A
// failed read of the gain stands for its id in the name.
QXUTILS_API int analysisRcn(int width, int height);

// Level of the darkest strip of 32 columns of a dark image (the last 1 to 32 columns are not examined; the leftmost
// strip when none is below 10000): 1066 when its truncated mean - 3 standard deviations does not exceed darkLevelFloor.
// 1020 for a width below 32, 1035 when memory is short.
QXUTILS_API int darkImgGrayAnalysis(const WORD* image, int width, int height);

// Medians of blocks of 64 x 64 pixels, two blocks cut off at every side: 1062 when four or more differ from their mean
// by more than `limit`, relative to it. 1020 for fewer than 5 x 5 whole blocks, 1035 when memory is short. Logs its
// course and one deviation: of the blocks that are left, row by row, the first 16 and the last 16 are passed over, and
// the largest of the others is told. With 32 blocks or fewer it is that of the first one, however small.
QXUTILS_API int checkGlobalUniform(const WORD* image, int width, int height, float limit);

// The first exposed image of a gain calibration and its dark image, both width x height. In this order: 1068 when the
// median of a whole 32 x 32 block of the difference (0 where the dark image is brighter) lies below exposedBlockFloor;
// 1062 when the smoothed block medians hold a connected dark region of more than 4 blocks; 1069 when the corners, after
// the AFE balance, differ by more than 0.3 of their mean. The tube's centre is only logged. 1020 when the image has
// fewer than 16 x 16 whole blocks or the detector's AFE width does not fit it, 1035 when memory is short (for the
// centre of the tube alone, which is only logged: 0).
QXUTILS_API int checkFirstImg(const WORD* image, const WORD* dark, int width, int height);

// A preview image and its dark image: 1068 as checkFirstImg, but the block row and column that end at the image's
// border are not examined; then 1062 when getUniform refuses the difference, 1020 when it is too small for that.
QXUTILS_API int checkPreImg(const WORD* image, const WORD* dark, int width, int height);

// Always 0; the image is not looked at.
QXUTILS_API int checkCollimator(WORD* image, int width, int height);
QXUTILS_API int checkSync(WORD* image, int width, int height);
QXUTILS_API int checkTube(WORD* image, int width, int height);

// A group of gain image files, headers included as pixels: 1065 when the standard deviation of the last file's values
// exceeds gainGroupCvLimit times the mean level of all files. Prints the ratio. Every file is read in the length of the
// first. A count below 1 or a first file without a value (below two bytes) gives 1057, one beyond 2 GiB 1020, one that
// cannot be read the read status (1065 when gainGroupCvLimit is negative), 1035 when memory is short.
QXUTILS_API int checkGainImgGroup(const char* const* paths, int count);

// 0 when `time` is among the numbers of the list "500;1000;...", else 1. An entry without a number counts as 0, one
// that 32 bits do not hold as none. Only the first 2559 characters and 256 entries are looked at.
QXUTILS_API int CheckDarkTimeRepeat(const char* list, int time);

// Whether an image that the detector triggered by itself holds an exposure: 0 when a 257-column region of its middle
// has a median above 400, the middle area one of at least falseTriggerMedianFloor, or the outer area one above half of
// that; else 1094. 1020 when the areas have no pixels (a width below 768 or a very flat image), 1035 when memory is
// short.
QXUTILS_API int checkFalseTriggAEDImage(const float* image, int width, int height);

// Whether a dark image shows structured patches: 1 when in a tile of 64 x 64 pixels (32 x 32 unless the detector has 44
// read-out channels) at least 0.9 of a cell of 16 x 16 lies at or below the level that splits the tile's histogram
// best. Images with fewer than 256 rows pass.
QXUTILS_API int checkOffsetImageQuality(const float* image, int width, int height);
