#pragma once

// What the checks of Quality.h measure, beside their limits. The numbers are those that the checks judge, taken by the
// same code. Measuring is silent: no log line and no text on standard output, whatever the debug flag; the caller's
// image stays as it is.
//
// Each function returns 0 when the measures could be taken, and fills them. Every other value is the one with which the
// check refuses the same arguments, memory or files (what it says of impossible sizes, null pointers and files stands
// with the check); nothing is filled then. 1057 for a null place of the result, too. Limits come from the kit's
// configuration record where the check takes them from there. Safe on several threads at once, as the checks are. The
// cost is that of the check, without what it only logs.
//
// The records are plain C: fixed layout, 32-bit integers, doubles, texts that end with a zero byte.

#include "Export.h"
#include "Types.h"

#include <cstddef>
#include <cstdint>

// How a value must stand to its limit.
enum MeasureComparison : int {
    MeasureBelow = 0,
    MeasureAtMost = 1,
    MeasureAbove = 2,
    MeasureAtLeast = 3,
};

// One number of a check. value is not a number where there was nothing to measure; that refuses nothing, so such a
// record is met.
struct CheckMeasure {
    double value;
    double limit;
    std::int32_t comparison;   // a MeasureComparison
    std::int32_t requirement;  // records of the same number are alternatives: one that is met is enough
    std::int32_t met;          // 1 when value stands to limit as it must, else 0
    char unit[16];             // "counts", "blocks" ...; empty for ratios
    char name[52];             // what was measured
};
static_assert(sizeof(CheckMeasure) == 96);
static_assert(offsetof(CheckMeasure, unit) == 28);
static_assert(offsetof(CheckMeasure, name) == 44);

inline constexpr int kMaxCheckMeasures = 4;

// The measures of one check, in the order in which it looks at them. It passes when each requirement is met by one
// record or more, and stops at the record that decides: there is none behind a requirement that is not met, nor behind
// an alternative that is.
struct CheckMeasures {
    CheckMeasure measures[kMaxCheckMeasures];
    std::int32_t count;
    std::int32_t unused;
};
static_assert(sizeof(CheckMeasures) == 96 * kMaxCheckMeasures + 8);

// The verdict that follows from the records: whether the check passes.
inline bool isPassed(const CheckMeasures& taken) {
    for (int i = 0; i < taken.count; ++i) {
        bool met = false;
        for (int k = 0; k < taken.count; ++k)
            met = met || (taken.measures[k].requirement == taken.measures[i].requirement && taken.measures[k].met != 0);
        if (!met)
            return false;
    }
    return true;
}

// getUniform: the coefficient of variation of five squares.
QXUTILS_API int measureUniform(const WORD* image, int width, int height, CheckMeasures* measures);

// checkGlobalUniform: the 4th largest deviation of a block from the mean of all, relative to it.
QXUTILS_API int measureGlobalUniform(const WORD* image, int width, int height, float limit, CheckMeasures* measures);

// analysisStrip: the largest step between neighbouring strips, counts.
QXUTILS_API int measureStrip(const WORD* image, int width, int height, CheckMeasures* measures);

// darkImgGrayAnalysis: the darkest strip's level, counts.
QXUTILS_API int measureDarkGray(const WORD* image, int width, int height, CheckMeasures* measures);

// analysisRcn: the rows of the stored average dark image that step by the configured limit or more; the name tells it.
QXUTILS_API int measureRcn(int width, int height, CheckMeasures* measures);

// checkFirstImg: the darkest block up to the first one below the floor, counts; the largest dark region, blocks; the
// asymmetry of the corners.
QXUTILS_API int measureFirstImg(const WORD* image, const WORD* dark, int width, int height, CheckMeasures* measures);

// checkPreImg: the darkest examined block up to the first one below the floor, counts; the measure of getUniform.
QXUTILS_API int measurePreImg(const WORD* image, const WORD* dark, int width, int height, CheckMeasures* measures);

// checkGlobalSNR: the squares below the expectation. factorySNR holds factoryCount values; 1057 when it is null.
QXUTILS_API int measureGlobalSNR(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                                 CheckMeasures* measures);

// evaluateSNRResult: the squares below the scaled factory value, and, when there are some, those below the expectation
// as the alternative. The first record met is the grade 1090, the second one 1091, none 1092; so is every value but 0.
QXUTILS_API int measureSNRResult(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                                 CheckMeasures* measures);

// checkGainImgGroup: the spread of the last file over the mean level of all.
QXUTILS_API int measureGainImgGroup(const char* const* paths, int count, CheckMeasures* measures);

// CheckDarkTimeRepeat: how many of the list's entries are `time`.
QXUTILS_API int measureDarkTimeRepeat(const char* list, int time, CheckMeasures* measures);

// checkFalseTriggAEDImage: the median of the brightest region up to the first exposed one (no record when none fits
// into the middle area), that of the middle area and that of the outer area, counts: alternatives.
QXUTILS_API int measureFalseTriggAEDImage(const float* image, int width, int height, CheckMeasures* measures);

// checkOffsetImageQuality: the largest share of a cell at or below its tile's level, up to the first patch.
QXUTILS_API int measureOffsetImageQuality(const float* image, int width, int height, CheckMeasures* measures);

// One square of an SNR series beside the factory's.
struct SNRSquare {
    std::int32_t side;           // pixels
    float factor;                // share of the scaled factory value that is expected
    float measured;              // SNR
    float factory;               // the factory's SNR
    float scaled;                // the factory's SNR, scaled so that the smallest squares agree
    float expected;              // factor times scaled
    std::int32_t belowScaled;    // 1 when measured falls below it
    std::int32_t belowExpected;  // 1 when measured falls below it
};
static_assert(sizeof(SNRSquare) == 32);

// The squares behind measureGlobalSNR and measureSNRResult, smallest first: N of them (Quality.h). count receives N,
// also where capacity, the room in squares, is less: 1020 then. Without factorySNR (null) what comes from it is 0;
// without an image the measured series is 0, as in the checks. 1020 also when the image has no series or factorySNR
// fewer than N values; 1035 when memory is short.
QXUTILS_API int measureSNRSquares(const WORD* image, int width, int height, const float* factorySNR, int factoryCount,
                                  SNRSquare* squares, int capacity, int* count);

// The dark region that checkFirstImg judges, block by block: 1 for a block of 32 x 32 pixels inside it, else 0; none is
// where a block lies below the floor, at which the check stops. blocks holds (height / 32) rows of (width / 32) blocks;
// capacity is its room. Returns 0; 1057 for a null pointer; 1020 for an impossible size or too little room; 1035 when
// memory is short.
QXUTILS_API int locateShadow(const WORD* image, const WORD* dark, int width, int height, unsigned char* blocks,
                             int capacity);
