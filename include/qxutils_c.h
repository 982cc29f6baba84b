#ifndef QXUTILS_C_H
#define QXUTILS_C_H

/*
 * QxUtils for programs in any language: the library's functions with plain C types, from the library qxutils_c.
 *
 * qx_<name> does what <name> of the C++ headers does; its contract stands there (QxUtils/Foundation.h, Files.h,
 * Numerics.h, Correction.h, Quality.h, Measures.h, all of them beside this file). This header says what differs:
 *
 *   overloads     carry the element type: _u16, _i32, _u32, _f32, _f64; one that changes its array ends in _inplace
 *   references    are pointers; a null one gives 1057 in the result's type (the surface fits' 0), and nothing happens
 *   long          is int64_t, and a CRC uint32_t
 *   series        are a buffer and its capacity in values, or a pointer and its count
 *   lists         of defects and of factory series are handles: numbers, never addresses. One that was released, that
 *                 was never given out or is of the other kind gives 1020 and is not followed.
 *   exceptions    never leave a function: missing memory is 1035, an order above 6 in qx_polyFit 1086
 *
 * Images are row-major, width x height elements without gaps. Texts end with a zero byte and are in the process's ANSI
 * code page on Windows (UTF-8 where the program's manifest says so), bytes elsewhere. Functions may run on several
 * threads at once on different data, with the exceptions that QxUtils.h lists; the calling convention is the
 * platform's only one for 64 bits.
 */

#include <stddef.h>
#include <stdint.h>

#if !defined(_WIN32)
#define QX_C_API __attribute__((visibility("default")))
#elif defined(QXUTILS_C_BUILDING)
#define QX_C_API __declspec(dllexport)
#else
#define QX_C_API __declspec(dllimport)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Grows by 1 with every function that is added; what is there does not change. A program that was compiled with this
 * header needs qx_interface_version() >= QX_INTERFACE_VERSION. */
#define QX_INTERFACE_VERSION 1
QX_C_API int qx_interface_version(void);

/* ---- Status codes and messages (QxUtils/StatusCode.h) ---------------------------------------------------------- */

QX_C_API const char* qx_status_message(int code);
QX_C_API int qx_status_code_at(int index);

/* ---- Log, version, debug switch, detector (QxUtils/Foundation.h) ----------------------------------------------- */

QX_C_API int qx_WriteLogFile(int moduleId, int infoType, const char* text, int value);
QX_C_API void qx_WriteErrorLine(int moduleId, int line, const char* sourceName);
QX_C_API int qx_setLogLevel(int level);
QX_C_API int qx_getLogLevel(void);
QX_C_API int qx_removeLogFile(void);
QX_C_API void qx_setTimeStamp(char* destination);
QX_C_API void qx_getLocalTimeStr(char* destination);
QX_C_API double qx_GetTimeCounter(int64_t* start, int64_t* end, double* seconds);
QX_C_API int qx_setUtilDebug(int flag);
QX_C_API const char* qx_getQxUtilsDllVersion(void);
QX_C_API int qx_getPowerModeId(void);
QX_C_API int qx_getGainId(void);
QX_C_API int qx_getCurrentExpTime(void);
QX_C_API int qx_getAEDTrigSource(void);
QX_C_API int qx_getReadOutChannels(void);

/* ---- Files, directories, texts (QxUtils/Files.h) --------------------------------------------------------------- */

/* Regions of an image header, as DetectorFileHead, DetectorInfoHead and PcImgHead (QxUtils/Records.h). */
typedef struct qx_detector_file_head {
    char stored[8];
    int32_t word8;
    int32_t width;  /* pixels */
    int32_t height; /* pixels */
    int32_t words20[13];
} qx_detector_file_head;

typedef struct qx_detector_info_head {
    int32_t word0;
    int32_t word4;
    char stored8[32];
    int32_t detectorType;
    int32_t words44[3];
    char stored56[24];
    float integrationTime; /* ms */
    float floats84[11];
    float temperature; /* degrees Celsius */
    float float132;
    char stored136[260];
    int32_t words396[7];
    char stored424[60];
    float floats484[8];
    char stored516[4];
    float float520;
    char stored524[4];
    float float528;
    char stored532[4];
    int32_t words536[4];
    char stored552[8];
    int32_t words560[4];
    char stored576[64];
    int32_t words640[4];
} qx_detector_info_head;

typedef struct qx_pc_img_head {
    char stored[568];
} qx_pc_img_head;

/* An entry of a directory; on Windows the system's WIN32_FIND_DATAA. Times are 100 ns since 1601-01-01 UTC. */
typedef struct qx_file_time {
    uint32_t low;
    uint32_t high;
} qx_file_time;

typedef struct qx_file_entry {
    uint32_t attributes;
    qx_file_time created;
    qx_file_time accessed;
    qx_file_time written;
    uint32_t sizeHigh;
    uint32_t sizeLow;
    uint32_t reserved0;
    uint32_t reserved1;
    char name[260];
    char alternateName[14];
} qx_file_entry;

QX_C_API int qx_writeImageToDisk(const char* dir, const char* name, const char* buffer, int size);
QX_C_API int qx_readImageFromDisk(const char* dir, const char* name, char* buffer, int size);
QX_C_API int qx_imageWithHead(const char* dir, const char* name, int expectedSize);
QX_C_API int qx_getImageSize(const char* dir, const char* name, int64_t* size);
QX_C_API int qx_cleanFile(const char* dir, const char* name);
QX_C_API int qx_copyFile(const char* destination, const char* source);
QX_C_API int qx_readLocalCRC(const char* dir, const char* name, uint32_t* crc);
QX_C_API int qx_codecData(char* buffer, int length);
QX_C_API int qx_getGainExpTime(const char* fileName);
QX_C_API void qx_getDetectorFileHeadFromImageHead(qx_detector_file_head* record, const char* header);
QX_C_API void qx_getDetectorInfoHeadFromImageHead(qx_detector_info_head* record, const char* header);
QX_C_API void qx_getPcImageHeadFromImageHead(qx_pc_img_head* record, const char* header);
QX_C_API float qx_getTemperatureFromImageHead(const char* header);
QX_C_API int qx_CheckDirPath(const char* path);
QX_C_API double qx_getDirectorySpace(const char* dir);
/* The list is released by qx_releaseFileList alone, also one that is handed in. */
QX_C_API int qx_sortFileByCreateTime(const char* dir, qx_file_entry** list, int* count);
QX_C_API void qx_releaseFileList(qx_file_entry** list);
QX_C_API int qx_getFileNumInDirectory(const char* dir, int* count);
/* Released by qx_deleteMemory(&(*out)[0]), then qx_deleteMemory2(out). */
QX_C_API int qx_CutString(char*** out, const char* text, char separator, int* count);
QX_C_API void qx_getStrPos(const char* text, const char* pattern, int textLength, int patternLength, int* position);
QX_C_API int qx_checkIP(const char* address);
QX_C_API char* qx_base64_encode(const char* source, char* destination, int length);
QX_C_API int qx_base64_decode(const char* source, char* destination);
QX_C_API int qx_decodeFile(const char* source, const char* destination);
QX_C_API int qx_ImageBoundCheck(const int* pixel, const int* width, const int* height);
/* A null list is empty, whatever its count; a count below 0 gives 1020. */
QX_C_API int qx_isInVector(const int* list, int count, int value);
QX_C_API int qx_isNewElement(const int* list, int count, int value);
/* Arrays of qx_CutString alone. */
QX_C_API void qx_deleteMemory(char** array);
QX_C_API void qx_deleteMemory2(char*** array);

/* ---- Statistics, filters, resampling, fits (QxUtils/Numerics.h) ------------------------------------------------ */

QX_C_API int qx_getMedian_i32(const int* data, int n);
QX_C_API float qx_getMedian_f32(const float* data, int n);
QX_C_API uint16_t qx_getMedian_u16(const uint16_t* data, int n);
QX_C_API uint16_t qx_getWordMedian(const uint16_t* data, int n);
QX_C_API double qx_getfloatMedian(const double* data, int n);
QX_C_API float qx_getFloatMedian(const float* data, int n);
QX_C_API float qx_getFloatMedian_inplace(float* data, int n);
QX_C_API float qx_getFloatMedianByQuickMethod(float* data, int n);
QX_C_API uint16_t qx_getHisMedian(const uint16_t* data, int n, int* hist, int bins);
QX_C_API float qx_getFloatHisMedian(const float* data, int n, int* hist, int bins);
QX_C_API float qx_getStdev_u16(const uint16_t* image, int width, int height);
QX_C_API float qx_getStdev_i32(const int* image, int width, int height);
QX_C_API float qx_getStdev_f32(const float* image, int width, int height);
QX_C_API void qx_getStdevAndMean(const int* image, int width, int height, float* mean, float* stdev);
QX_C_API double qx_getMean_u16(const uint16_t* data, int n);
/* wantMin: 0 or not. */
QX_C_API int qx_getMaxandMinIndex_f64(const double* data, int n, int wantMin);
QX_C_API int qx_getMaxandMinIndex_f32(const float* data, int n, int wantMin);
QX_C_API int qx_getMinIndex_u16(const uint16_t* data, int n);
QX_C_API int qx_getMinIndex_i32(const int* data, int n);
QX_C_API int qx_getMinIndex_f32(const float* data, int n);
QX_C_API int qx_getMaxIndex_i32(const int* data, int n);
QX_C_API int qx_getMaxIndex_f32(const float* data, int n);
QX_C_API int qx_findidxbigger(const float* data, int n, float threshold);
QX_C_API int qx_findidxsmaller(const float* data, int n, float threshold);
QX_C_API int qx_getROIMedian_u16(const uint16_t* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
QX_C_API int qx_getROIMedian_f32(const float* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
QX_C_API int qx_getROIMean(const uint16_t* image, int rowStart, int rowEnd, int colStart, int colEnd, int width);
QX_C_API int qx_getHistogramByBins(int* counts, int* centers, int bins, const uint16_t* data, int n);
/* Draws from the rand() of the runtime inside the library, which qx_seed seeds; neither beside the other. */
QX_C_API double qx_getGaussValue(double sigma, double mean);
QX_C_API void qx_seed(unsigned seed);
QX_C_API float qx_GetCovOfTwoImages(const uint16_t* image, int width, int height);
/* Returns 0, or 1086 for an order above 6. */
QX_C_API int qx_polyFit(float* coefficients, const float* const* points, int pointCount, int order);
QX_C_API int qx_calcMedianPerColumn(float* medians, const float* image, int width, int height);
QX_C_API int qx_doSurfaceFit(float* model, int n, float* quality, const float* image, int width, int height,
                             float* coefficients, float* residuals);
QX_C_API int qx_doSurfaceFitUsingGeneralFormula(float* model, int n, float* quality, const float* image, int width,
                                                int height, float* coefficients, float* chiSquare);
QX_C_API int qx_doSurfaceFitUsingCubFormula(float* model, int n, float* quality, const float* image, int width,
                                            int height, float* coefficients, float* chiSquare);
/* a has p rows of three values. */
QX_C_API void qx_FitSurfaceLeastSquares(const float* x, const float* y, const float* const* z, float* a, float* dt,
                                        int n, int m, int p, int q);
QX_C_API void qx_medianFilter(float* data, int n, int r);
QX_C_API int qx_filterImg(uint16_t* image, int width, int height);
QX_C_API void qx_hisEqualization(uint16_t* pixels, int n);
QX_C_API int qx_getMedianImage(float* out, const uint16_t* image, int width, int height);
QX_C_API int qx_filterUsingSGolay(float* out, const float* in, int n, int order, int window);
QX_C_API void qx_interpImg2D(uint16_t* out, int outRows, int outColumns, const uint16_t* in, int inRows, int inColumns);
QX_C_API int qx_getIntepolationSize(int* firstSize, int* secondSize, int index, int type);

/* ---- Corrections (QxUtils/Correction.h) ------------------------------------------------------------------------ */

QX_C_API int qx_correctRDwithoutRgain(float* image, int width, int height);
QX_C_API int qx_correctRDbyRgain(float* image, int width, int height, const float* rgain, int nAfe, int afeWidth);
QX_C_API int qx_correctAbnormalPixelFromRD(float* image, int width, int height);
QX_C_API int qx_calcNeighbourAFERatio(float* ratio, int nAfe, const float* image, int width, int height, int afeWidth);
QX_C_API void qx_overwriteBadLineAroundAFEEdge(float* image, int width, int height, int afeWidth);
QX_C_API int qx_calcRgain(float* rgain, const float* medianRatio, int nAfe, int width, int afeWidth);
QX_C_API void qx_subtractImage(float* out, const uint16_t* a, const uint16_t* b, int pixelCount);
QX_C_API int qx_cutBinningImage(float* out, const float* image, int width, int height, int border);
QX_C_API int qx_doBinningSample(float* out, const float* image, int width, int height);
QX_C_API int qx_correctAedStripeClinic(uint16_t* image, const uint16_t* referenceImage, int width, int referenceWidth,
                                       int height, int triggerLine);
QX_C_API int qx_correctAedStripe(uint16_t* image, int width, int height, int unused1, int unused2, int triggerLine);
QX_C_API void qx_recordAedTrainStepInfo(const uint16_t* image, int width, int height);
QX_C_API int qx_executeNDTCAL(const uint32_t* brightImage, const uint32_t* darkImage, int pixelCount);
QX_C_API int qx_correctNDTImage(uint32_t* image, const uint32_t* darkImage, int pixelCount);
QX_C_API void qx_operateSubImage(float* first, const float* second, int width, int height, int xPhase, int yPhase,
                                 int extract);
QX_C_API int qx_jingtaiEnhance(void* image, const char* path, int width, int height, int option);
QX_C_API int qx_precisionEnhance(uint16_t* image, const char* path, int width, int height);

/* The numbers of a defect file's header, as FileHeadInfo (QxUtils/Records.h). */
typedef struct qx_file_head_info {
    uint32_t imageWidth;  /* pixels */
    uint32_t imageHeight; /* pixels */
    uint32_t words2[6];
    uint32_t words8[8];
    uint32_t pointCount;
    uint32_t pointOffset; /* bytes from the start of the file, as the other offsets */
    uint32_t rowCount;
    uint32_t rowOffset;
    uint32_t columnCount;
    uint32_t columnOffset;
    uint32_t clusterCount;
    uint32_t clusterOffset;
} qx_file_head_info;

typedef struct qx_defect_entry {
    int32_t x1;
    int32_t y1;
    int32_t x2;
    int32_t y2;
} qx_defect_entry;

/* The lists of a classic defect file (VectorDefect) and those of a structured one (DefectInfo), one of which is filled
 * by reading. Never 0 for one that was given out. */
typedef uint64_t qx_defects;

/* Which list. */
enum { QX_DEFECT_POINTS = 0, QX_DEFECT_CLUSTERS = 1, QX_DEFECT_ROWS = 2, QX_DEFECT_COLUMNS = 3 };

QX_C_API int qx_getDefectHeadInfo(const char* dir, const char* name, qx_file_head_info* info);

/* Empty lists; 1057 for null, 1035 when memory is short. */
QX_C_API int qx_defects_create(qx_defects* defects);
/* 0, or 1020 for a handle that is none. */
QX_C_API int qx_defects_release(qx_defects defects);
/* Both kinds of lists are emptied, and the one that the name tells is filled. */
QX_C_API int qx_getDefectIndexFromDefectFile(const char* dir, const char* name, qx_defects defects);
/* Replaces one list of the classic kind. */
QX_C_API int qx_defects_set_pixels(qx_defects defects, int list, const int32_t* pixels, int count);
/* One list of the classic kind: count receives its length. pixels may be null when capacity is 0; 1020 when capacity,
 * in pixels, is less than the length and not 0, and for a list that there is not. */
QX_C_API int qx_defects_pixels(qx_defects defects, int list, int32_t* pixels, int capacity, int* count);
/* How many groups a list of the structured kind has: points have one. */
QX_C_API int qx_defects_group_count(qx_defects defects, int list, int* count);
/* One group: its entries, as qx_defects_pixels hands out pixels. header, when not null, receives 5 words, of which
 * clusters fill 4 and points none; the others become 0. */
QX_C_API int qx_defects_group(qx_defects defects, int list, int group, int32_t* header, qx_defect_entry* entries,
                              int capacity, int* count);
/* 1020 for lists that break the precondition of getRealCoordinate: rows or columns that are not empty. */
QX_C_API int qx_getRealCoordinate(qx_defects source, qx_defects destination, int sourceWidth, int unused1, int unused2,
                                  int unused3, int destinationWidth);

/* ---- Checks (QxUtils/Quality.h) -------------------------------------------------------------------------------- */

/* Tube illumination and grade, as SurfaceFitResult (QxUtils/Records.h). */
typedef struct qx_surface_fit_result {
    float asymDegree;
    int32_t x0;
    int32_t y0;
    float a;
    float b;
    float c;
    float d;
    int32_t evaluation;
} qx_surface_fit_result;

/* The series of a factory SNR file (FactoryDiffIntSNRList). Never 0 for one that was given out. */
typedef uint64_t qx_factory_list;

typedef struct qx_factory_record {
    int32_t integrationTime; /* ms */
    int32_t snrCount;        /* values in the series */
    float meanGray;          /* counts */
} qx_factory_record;

/* capacity: the values that snr has room for. */
QX_C_API int qx_calcGlobalSNR(const uint16_t* image, int width, int height, float* snr, int capacity);
/* A null series, or a count below 0, is empty. */
QX_C_API int qx_checkGlobalSNR(const uint16_t* image, int width, int height, const float* factorySNR, int count);
/* The series as for qx_checkGlobalSNR. */
QX_C_API int qx_evaluateSNRResult(const uint16_t* image, int width, int height, const float* factorySNR, int count,
                                  qx_surface_fit_result* result);

/* As qx_defects_create and qx_defects_release. */
QX_C_API int qx_factory_list_create(qx_factory_list* list);
QX_C_API int qx_factory_list_release(qx_factory_list list);
QX_C_API int qx_loadAllSNRFromFactory(const char* dir, const char* file, qx_factory_list list, int detectorType);
/* The integration times in ms, handed out as qx_defects_pixels hands out pixels. */
QX_C_API int qx_factory_list_times(qx_factory_list list, int32_t* times, int capacity, int* count);
/* How many records there are. */
QX_C_API int qx_factory_list_record_count(qx_factory_list list, int* count);
/* One record and its series, as qx_defects_pixels hands out pixels. */
QX_C_API int qx_factory_list_record(qx_factory_list list, int index, qx_factory_record* record, float* snr,
                                    int capacity, int* count);
QX_C_API int qx_retrieveAllSNRForQualityCheck(int detectorType, const char* dir);

QX_C_API int qx_getUniform(const uint16_t* image, int width, int height);
QX_C_API int qx_analysisStrip(const uint16_t* image, int width, int height);
QX_C_API int qx_analysisRcn(int width, int height);
QX_C_API int qx_darkImgGrayAnalysis(const uint16_t* image, int width, int height);
QX_C_API int qx_checkGlobalUniform(const uint16_t* image, int width, int height, float limit);
QX_C_API int qx_checkFirstImg(const uint16_t* image, const uint16_t* dark, int width, int height);
QX_C_API int qx_checkPreImg(const uint16_t* image, const uint16_t* dark, int width, int height);
QX_C_API int qx_checkCollimator(uint16_t* image, int width, int height);
QX_C_API int qx_checkSync(uint16_t* image, int width, int height);
QX_C_API int qx_checkTube(uint16_t* image, int width, int height);
QX_C_API int qx_checkGainImgGroup(const char* const* paths, int count);
QX_C_API int qx_CheckDarkTimeRepeat(const char* list, int time);
QX_C_API int qx_checkFalseTriggAEDImage(const float* image, int width, int height);
QX_C_API int qx_checkOffsetImageQuality(const float* image, int width, int height);

/* ---- What the checks measure (QxUtils/Measures.h) -------------------------------------------------------------- */

enum { QX_MEASURE_BELOW = 0, QX_MEASURE_AT_MOST = 1, QX_MEASURE_ABOVE = 2, QX_MEASURE_AT_LEAST = 3 };

/* As CheckMeasure. */
typedef struct qx_check_measure {
    double value;
    double limit;
    int32_t comparison;
    int32_t requirement;
    int32_t met;
    char unit[16];
    char name[52];
} qx_check_measure;

enum { QX_MAX_CHECK_MEASURES = 4 };

/* As CheckMeasures. */
typedef struct qx_check_measures {
    qx_check_measure measures[QX_MAX_CHECK_MEASURES];
    int32_t count;
    int32_t unused;
} qx_check_measures;

/* As SNRSquare. */
typedef struct qx_snr_square {
    int32_t side;
    float factor;
    float measured;
    float factory;
    float scaled;
    float expected;
    int32_t belowScaled;
    int32_t belowExpected;
} qx_snr_square;

QX_C_API int qx_measureUniform(const uint16_t* image, int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureGlobalUniform(const uint16_t* image, int width, int height, float limit,
                                     qx_check_measures* measures);
QX_C_API int qx_measureStrip(const uint16_t* image, int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureDarkGray(const uint16_t* image, int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureRcn(int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureFirstImg(const uint16_t* image, const uint16_t* dark, int width, int height,
                                qx_check_measures* measures);
QX_C_API int qx_measurePreImg(const uint16_t* image, const uint16_t* dark, int width, int height,
                              qx_check_measures* measures);
QX_C_API int qx_measureGlobalSNR(const uint16_t* image, int width, int height, const float* factorySNR,
                                 int factoryCount, qx_check_measures* measures);
QX_C_API int qx_measureSNRResult(const uint16_t* image, int width, int height, const float* factorySNR,
                                 int factoryCount, qx_check_measures* measures);
QX_C_API int qx_measureGainImgGroup(const char* const* paths, int count, qx_check_measures* measures);
QX_C_API int qx_measureDarkTimeRepeat(const char* list, int time, qx_check_measures* measures);
QX_C_API int qx_measureFalseTriggAEDImage(const float* image, int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureOffsetImageQuality(const float* image, int width, int height, qx_check_measures* measures);
QX_C_API int qx_measureSNRSquares(const uint16_t* image, int width, int height, const float* factorySNR,
                                  int factoryCount, qx_snr_square* squares, int capacity, int* count);
QX_C_API int qx_locateShadow(const uint16_t* image, const uint16_t* dark, int width, int height, unsigned char* blocks,
                             int capacity);

#ifdef __cplusplus
}
#endif

#endif
