/* A kit's system management in C: a detector of 768 x 768 pixels that never changes. Built as QxSysMgt.dll with
 * QxSysMgt.def. It needs no C library. */

#include <qxkit_c.h>

enum { kSide = 768 };

static qxkit_config_info config;
static int exposureTime = 500;

qxkit_config_info* getConfigInfo(void) {
    config.loggingEnabled = 1;
    config.uniformityCvLimit = 0.1f;
    config.stripMeanDiffLimit = 500;
    config.rcnRowDiffLimit = 4.0f;
    config.darkLevelFloor = 100;
    config.gainGroupCvLimit = 0.05f;
    config.exposedBlockFloor = 2000;
    config.falseTriggerMedianFloor = 300;
    config.maxGrayValue = 65535;
    config.defectCorrectionMethod = 0;
    return &config;
}

/* Beside the program that is running. */
static char here[] = ".\\";

char* getWorkDir(void) {
    return here;
}

char* getOfstImgDir(void) {
    return here;
}

char* getGainImgDir(void) {
    return here;
}

char* getDefectImgDir(void) {
    return here;
}

char* getTempImgDir(void) {
    return here;
}

int getFpgaReg(qxkit_fpga_reg* registers) {
    registers->exposureTimeMs = (float)exposureTime;
    registers->modeWord = 3 << 4; /* gain id 3 */
    return 0;
}

int getDetectorIparam(int id, int* value) {
    (void)id;
    *value = 0;
    return 0;
}

int get_dtt_type(void) {
    return 1;
}

int getDetectorInformation(qxkit_detector_information* information) {
    static const char description[] = "Halbrook 0768";
    int i;
    information->width = 0x00030000u; /* 768, big-endian */
    information->height = 0x00030000u;
    for (i = 0; i < (int)sizeof description; ++i)
        information->description[i] = description[i];
    return 0;
}

int getModeInfo(qxkit_mode_info* mode) {
    mode->mode = 1;
    mode->width = kSide;
    mode->height = kSide;
    return 0;
}

int getSyncMode(void) {
    return 0;
}

int getNDTFrameNum(void) {
    return 2;
}

int getAFEWidthByDetectorDescription(int* afeWidth) {
    *afeWidth = 128;
    return 0;
}

int getAEDRadScanLine(void) {
    return kSide / 2;
}

int* getRadExpTime(void) {
    return &exposureTime;
}

char* getMachineID(void) {
    static char id[] = "0768-0001";
    return id;
}

int getStatusInformation(qxkit_status_information* status) {
    status->temperature = 25.0f;
    return 0;
}

float getTimeInterval(void) {
    return 0.5f;
}

int transferFile(int kind, const char* fileName, int option) {
    (void)kind;
    (void)fileName;
    (void)option;
    return 1077; /* nothing is stored in this detector */
}

int fillImgHead(char* header, int kind, int option) {
    (void)header;
    (void)kind;
    (void)option;
    return 0;
}
