#ifndef QXKIT_C_H
#define QXKIT_C_H

/*
 * The contracts of the three kit libraries for a kit that is written in C, or built by a compiler whose names differ
 * from the library's. Link each DLL with the module definition file beside this header:
 *
 *   QxSysMgt.dll      QxSysMgt.def       gives the functions below the names under which QxUtils asks for them
 *   QxCodec.dll       QxCodec.def        likewise
 *   QxCorrection.dll  QxCorrection.def   the two functions with flat defect lists, which qxutils_c looks up by name
 *
 * What each function does, and the meaning of the fields, stands in QxSysMgt.h, QxCodec.h and QxCorrection.h of the
 * kit's C++ headers. Pointers that are returned stay owned by the kit and valid until its next call; several threads
 * may call at once.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- QxSysMgt -------------------------------------------------------------------------------------------------- */

typedef struct qxkit_config_info {
    uint8_t reserved0[796];
    int32_t loggingEnabled;
    uint8_t reserved800[8580];
    float uniformityCvLimit;
    int32_t stripMeanDiffLimit;
    float rcnRowDiffLimit;
    int32_t darkLevelFloor;
    float gainGroupCvLimit;
    int32_t exposedBlockFloor;
    uint8_t reserved9404[128];
    int32_t falseTriggerMedianFloor;
    uint32_t maxGrayValue;
    uint32_t fixedLinearGainEnabled;
    int32_t defectCorrectionMethod;
    int32_t correctedImageDumpLevel;
} qxkit_config_info;

typedef struct qxkit_fpga_reg {
    uint8_t reserved0[128];
    float exposureTimeMs;
    uint8_t reserved132[28];
    int32_t modeWord;
    uint8_t reserved164[3932];
} qxkit_fpga_reg;

typedef struct qxkit_detector_information {
    uint32_t width;  /* big-endian */
    uint32_t height; /* big-endian */
    char description[256];
} qxkit_detector_information;

typedef struct qxkit_mode_info {
    int32_t mode;
    int32_t width;
    int32_t height;
} qxkit_mode_info;

typedef struct qxkit_status_information {
    float temperature; /* degrees Celsius */
} qxkit_status_information;

qxkit_config_info* getConfigInfo(void);
char* getWorkDir(void);
char* getOfstImgDir(void);
char* getGainImgDir(void);
char* getDefectImgDir(void);
char* getTempImgDir(void);
int getFpgaReg(qxkit_fpga_reg* registers);
int getDetectorIparam(int id, int* value);
int get_dtt_type(void);
int getDetectorInformation(qxkit_detector_information* information);
int getModeInfo(qxkit_mode_info* mode);
int getSyncMode(void);
int getNDTFrameNum(void);
int getAFEWidthByDetectorDescription(int* afeWidth);
int getAEDRadScanLine(void);
int* getRadExpTime(void);
char* getMachineID(void);
int getStatusInformation(qxkit_status_information* status);
float getTimeInterval(void);
int transferFile(int kind, const char* fileName, int option);
int fillImgHead(char* header, int kind, int option);

/* ---- QxCodec --------------------------------------------------------------------------------------------------- */

void reverseCopy(void* destination, const void* source, int count);

/* ---- QxCorrection ---------------------------------------------------------------------------------------------- */

/* Pixel indices (row * width + column), or rows, or columns; a -1 separates groups of clusters. */
typedef struct qxkit_list {
    int32_t* values;
    int32_t count;
    int32_t capacity; /* the values that there is room for, where the kit writes */
} qxkit_list;

typedef struct qxkit_defects {
    qxkit_list points;
    qxkit_list clusters;
    qxkit_list rows;
    qxkit_list columns;
} qxkit_defects;

/* As loadDefectFromNoiseAndMultImgs: splits a set. Both outputs come with room for all values of the set and with
 * counts of 0. Returns 0, or a status. */
int qxkit_splitDefects(int width, int height, const qxkit_defects* set, qxkit_defects* valid, qxkit_defects* rest);

/* As correctImgDefectMap: replaces the listed pixels in place. Returns 0, or a status. */
int qxkit_correctDefects(float* image, int width, int height, const qxkit_defects* set, int option);

#ifdef __cplusplus
}
#endif

#endif
