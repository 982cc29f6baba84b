// A host's own kit library: every function of the contract, answered for one fixed panel that keeps no log.

#include <qxkit/QxSysMgt.h>

#include <algorithm>

namespace {

constexpr int kDetectorType = 13;
constexpr int kGainId = 5;
constexpr int kWidth = 3072;
constexpr int kHeight = 3072;
constexpr int kNotSupported = 1020;

ConfigInfo config{};
char directory[] = ".\\";
char machineId[] = "HOST-1";
int integrationTimeMs = 500;

}  // namespace

ConfigInfo* getConfigInfo() {
    return &config;
}

char* getWorkDir() {
    return directory;
}
char* getOfstImgDir() {
    return directory;
}
char* getGainImgDir() {
    return directory;
}
char* getDefectImgDir() {
    return directory;
}
char* getTempImgDir() {
    return directory;
}

int getFpgaReg(FpgaReg* registers) {
    *registers = {};
    registers->exposureTimeMs = static_cast<float>(integrationTimeMs);
    registers->modeWord = kGainId << 4;
    return 0;
}

int getDetectorIparam(int, int*) {
    return kNotSupported;
}
int get_dtt_type() {
    return kDetectorType;
}
int getDetectorInformation(DetectorInformation*) {
    return kNotSupported;
}

int getModeInfo(ModeInfo* mode) {
    *mode = {1, kWidth, kHeight};
    return 0;
}

int getSyncMode() {
    return 0;
}
int getNDTFrameNum() {
    return 1;
}

int getAFEWidthByDetectorDescription(int* afeWidth) {
    *afeWidth = 128;
    return 0;
}

int getAEDRadScanLine() {
    return kHeight / 2;
}
int* getRadExpTime() {
    return &integrationTimeMs;
}
char* getMachineID() {
    return machineId;
}

int getStatusInformation(StatusInformation* status) {
    status->temperature = 35.0F;
    return 0;
}

float getTimeInterval() {
    return 1.0F;
}
int transferFile(int, const char*, int) {
    return kNotSupported;
}

int fillImgHead(char* header, int, int) {
    std::fill_n(header, 65536, '\0');
    return 0;
}
