#pragma once

// Corrections of acquired images. Images are row-major, width x height pixels.
//
// The detector reads its columns through analog front-end chips (AFEs), afeWidth neighbouring columns each: a block.
// Of width / afeWidth whole blocks the middle one (the left one of two) is the reference block. Boundary k lies between
// the blocks k and k + 1; there are nAfe = width / afeWidth - 1 of them, and as many gains: gain k belongs to block k
// left of the reference block and to block k + 1 right of it.
//
// Unless said otherwise a null pointer gives 1057, and sizes that are impossible (below 1, beyond 32 bits, afeWidth
// below 1 or above the width, nAfe other than width / afeWidth - 1) 1020; nothing is written then. No function keeps
// state, correctAedStripeClinic excepted.
//
// An image that triggered itself (AED) was exposed while the row `triggerLine` was read. Its signal departs in the rows
// just above that one: the stripe.

#include "Export.h"
#include "Records.h"
#include "Types.h"

#include <cstdint>

// Balances the AFE blocks of a float image in place: measures the steps between neighbouring blocks from the image
// itself, row by row and without bad columns at the block edges, takes the median over the rows, and brings every block
// to the level of the reference block. Pixels at or below 0 become 0.1 first; pixels of 65535 and more are not
// rescaled, nor columns right of the last whole block. The AFE width is the detector's (32 when it does not tell). Logs
// its course. Returns 0; 1017 for a null image; 1020 for an AFE width below 9 or above the width; 1035 when memory is
// short (pixels at or below 0 may be 0.1 already). Cost: reads the image twice and writes it once. Memory: 4 bytes an
// AFE and row.
QXUTILS_API int correctRDwithoutRgain(float* image, int width, int height);

// Multiplies the pixels below 65535 of every block but the reference block by its gain, in place. nAfe is any count
// from 1; blocks and columns without a gain of their own keep their level. Returns 0; 1057 for null; 1020 for
// impossible sizes; takes no memory that could be missing.
QXUTILS_API int correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth);

// Replaces every pixel at or below 0 by 0.1, in place. Returns 0.
QXUTILS_API int correctAbnormalPixelFromRD(float* image, int width, int height);

// Ratios of the two columns at each boundary, nAfe values a row, height rows: the left column over the right one left
// of the reference block, the right one over the left one right of it. Returns 0.
QXUTILS_API int calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth);

// Replaces single bad columns at the edges of every block, in place, by the next or next but one column of the block.
// An edge column is bad by the pattern of steps above 0.0025 of the block's median between the means of its columns,
// all taken before anything is replaced. The left edge's last pattern replaces only beyond 0.25 of the median of nine
// columns (and logs a replacement in any case), the right edge's always. Nothing happens, and nothing is logged, for
// null, impossible sizes, an afeWidth below 9 or above the width, or when memory is short. Logs its course and every
// replacement. Cost: reads the image once. Memory: 4 bytes a column, and what the replacements take.
QXUTILS_API void overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth);

// Gains of the blocks from the boundaries' median ratios: the reciprocal of the product of the ratios between a block
// and the reference block. Returns 0.
QXUTILS_API int calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth);

// out[i] = a[i] - b[i] in single precision; nothing for null pointers or a count below 1.
QXUTILS_API void subtractImage(float* out, const WORD* a, const WORD* b, int pixelCount);

// Copies the image without `border` pixels at every side: (width - 2 border) x (height - 2 border) values, none when
// the border leaves nothing. Returns 0; 1020 for a negative border.
QXUTILS_API int cutBinningImage(float* out, const float* image, int width, int height, int border);

// Medians (the upper middle) of the whole 32 x 32 blocks, row by row: (width / 32) x (height / 32) values, none when a
// side is below 32. Returns 0.
QXUTILS_API int doBinningSample(float* out, const float* image, int width, int height);

// Takes the stripe out of an AED image, in place, by a gain for each of its rows. How the rows depart is measured in
// referenceImage, which is referenceWidth columns wide and has the same trigger line and at least triggerLine + 10
// rows; it may be the image itself. The signal of the stripe then follows a straight line from the row above it to the
// trigger line. Values are counts above the pedestal of 208; results are limited to the detector's largest gray value,
// which is kept for the whole library during the call: no two calls at a time. Only rows triggerLine - 24 to
// triggerLine - 1 are written. Logs its course. Returns 0; also, with nothing changed, when triggerLine is at most 25
// or fewer than 10 rows follow from it on; -1 when the reference does not show a stripe to measure; 1035 when memory is
// short. Memory: about 1 MB.
QXUTILS_API int correctAedStripeClinic(WORD* image, const WORD* referenceImage, int width, int referenceWidth,
                                       int height, int triggerLine);

// Takes the stripe out of an AED image, in place, by an offset for each of the 15 rows above the trigger line (fewer
// near the top) and a common one for all rows above those. A straight line through the levels of the 40 rows below the
// trigger line (the last row stands for those beyond the image) tells where the levels ought to be; a row's level is
// the median of 301 pixels that end 200 columns left of the middle. Results are limited to 0..65535. The trigger line
// and the rows below it stay. unused1 and unused2 are not looked at. Logs its course. Returns 0; also, with nothing
// changed, when triggerLine is below 5 or fewer than 40 rows follow from it on; 1035 for a null image; 1020 for
// impossible sizes and for images below 1002 columns, which lack those pixels.
QXUTILS_API int correctAedStripe(WORD* image, int width, int height, int unused1, int unused2, int triggerLine);

// Appends a record of an AED image to logs\PostDarkData.txt below the kit's work directory (an empty one is the current
// directory, as for the log): time (not padded), machine, integration time, temperature, trigger line and time interval
// of the detector; then three lines for the rows 25 to 5 above the trigger line, those 5 to 25 below it, and their
// difference, each clamped to the image: the medians of blocks of 64 columns, their median (1057 without a block), and
// the truncated mean of those but seven at either side (INT_MIN where 14 blocks leave none, 0 for 13 and fewer).
// Silent: writes nothing when the file cannot be opened, the folder logs among it, for a null image, impossible sizes
// or a detector without a work directory; and no part of a record when memory is short.
QXUTILS_API void recordAedTrainStepInfo(const WORD* image, int width, int height);

// Makes the calibration files of the NDT mode from 32-bit images of pixelCount pixels: the dark image itself, when the
// detector triggers itself and delivers several frames; and, unless brightImage is null, the gain of every pixel. That
// is the difference of bright and dark, not below 0, over its mean, times 10000, truncated to 16 bits (arbitrary
// without any signal). File names carry exposure time, gain id and frame count; a failed query of the gain id stands
// there with its status. Returns 0; 1057 without darkImage; 1020 for a pixelCount below 1 or a file beyond 2 GiB; 1035
// when memory is short; or what writeImageToDisk gives, which is logged, and the old file stays as that says.
// Memory: the file's content.
QXUTILS_API int executeNDTCAL(const std::uint32_t* brightImage, const std::uint32_t* darkImage, int pixelCount);

// Corrects offset, gain and defects of a 32-bit NDT image in place, with the detector's calibration files; those that
// are missing are downloaded from the detector first. darkImage may be null where a dark image is stored for a detector
// that triggers itself; one that was just downloaded serves the next call, not this one. The configuration chooses the
// fixed gain (rounded) or the NDT gain (truncated; gain 0 leaves the pixel's offset correction), the classic, the
// structured or no defect list, and whether the result is written to Corrected.raw in the temporary directory. Returns
// 0; 1057 for a null image, or no dark image where none is stored; 1020 for a null darkImage with one frame, a
// pixelCount below 1 or, with a defect list, below the mode's image, or a file beyond 2 GiB; 1077 when the detector
// does not deliver a file; 1040 for a file that is not as long as the image; 1035 when memory is short; or what a file
// or the detector answers with. The image changes only when nothing but writing Corrected.raw can fail any more. Logs
// its course. Memory: the calibration files' content, and 4 bytes a pixel for a defect list.
QXUTILS_API int correctNDTImage(std::uint32_t* image, const std::uint32_t* darkImage, int pixelCount);

// Reads the header of a defect file. Returns 0, 1057 for a null argument, 1039 when the file cannot be opened, 1035
// when memory is short, 1040 when it is shorter than its header. info changes only on 0. Memory: 64 KiB.
QXUTILS_API int getDefectHeadInfo(const char* dir, const char* name, FileHeadInfo* info);

// Reads a defect file: files named exactly NormalStructurizedDefect.cal or FactoryStructurizedDefect.cal into
// structured, all others into classic; the other one may be null. Both are emptied first and filled only on success.
// Returns 0; 1057 for a null text or a null record of the file's kind; 1039 when the file cannot be opened; 1040 when
// it is shorter than its header, or its sections leave the file, overlap or count what cannot be; 1035 when memory is
// short. The clusters of a classic file have no length of their own: they end with the last separator, counted as if
// the sections lay back to back behind the header, or with the file where that runs past its end and no index is cut.
// A cluster group of a structured file whose count is below 0 is empty. Memory: the file's content.
QXUTILS_API int getDefectIndexFromDefectFile(const char* dir, const char* name, VectorDefect* classic,
                                             DefectInfo* structured);

// Maps defect lists to an image binned by two, into a copy of destination that is then dropped. Precondition: source
// has no rows and no columns. With rows, the source's own list grows until memory ends (std::bad_alloc); with columns
// alone, std::out_of_range is thrown. Nothing happens for a null source or a sourceWidth of 0. The unnamed sizes are
// not looked at.
QXUTILS_API void getRealCoordinate(VectorDefect* source, VectorDefect destination, int sourceWidth, int unused1,
                                   int unused2, int unused3, int destinationWidth);

// Moves one of the four 2 x 2 phases (xPhase, yPhase: 0 or 1) of a width x height image out of or into a quarter image.
// extract not 0: first is the quarter, second the image; 0: first is the image, second the quarter. In phase 0 an odd
// side loses its last pixel. Nothing happens for other phases or null pointers.
QXUTILS_API void operateSubImage(float* first, const float* second, int width, int height, int xPhase, int yPhase,
                                 int extract);

// Always 0; the arguments are not looked at.
QXUTILS_API int jingtaiEnhance(void* image, const char* path, int width, int height, int option);
QXUTILS_API int precisionEnhance(WORD* image, const char* path, int width, int height);
