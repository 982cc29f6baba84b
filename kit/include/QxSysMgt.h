#pragma once

// Contract of the kit's system-management library: the detector's configuration and state, the calibration directories,
// file transfer from the detector and the image header. Pointers returned here stay owned by that library and valid
// until the next call of any kit function, by the same thread where there are several: QxUtils copies what it needs
// before it calls again. Every function answers at once. Where the host calls QxUtils from several threads, the
// functions run in them at the same time. Paths are in the process's ANSI code page on Windows and bytes elsewhere.

#include "QxKitExport.h"

#include <cstddef>
#include <cstdint>

// The configuration record. Only the named fields are read by QxUtils; the gaps belong to other modules.
struct ConfigInfo {
    std::uint8_t reserved0[796];
    std::int32_t loggingEnabled;  // 0 switches the daily log off
    std::uint8_t reserved800[8580];
    float uniformityCvLimit;          // largest tolerated coefficient of variation of five square means
    std::int32_t stripMeanDiffLimit;  // counts between the means of neighbouring strips
    float rcnRowDiffLimit;            // counts between neighbouring row means from which a step counts
    std::int32_t darkLevelFloor;      // lowest acceptable dark strip mean - 3 sigma, counts
    float gainGroupCvLimit;           // largest tolerated spread of a gain group relative to its mean
    std::int32_t exposedBlockFloor;   // lowest acceptable median of an exposed 32 x 32 block, counts
    std::uint8_t reserved9404[128];
    std::int32_t falseTriggerMedianFloor;  // counts
    std::uint32_t maxGrayValue;            // counts
    std::uint32_t fixedLinearGainEnabled;  // non-zero: NDT mode uses the fixed linear gain file
    std::int32_t defectCorrectionMethod;   // 0 classic list, 1 structured list, other values none
    std::int32_t correctedImageDumpLevel;  // 1 or 2: NDT mode writes the corrected image to disk
};
static_assert(sizeof(ConfigInfo) == 9552);
static_assert(offsetof(ConfigInfo, loggingEnabled) == 796);
static_assert(offsetof(ConfigInfo, uniformityCvLimit) == 9380);
static_assert(offsetof(ConfigInfo, stripMeanDiffLimit) == 9384);
static_assert(offsetof(ConfigInfo, rcnRowDiffLimit) == 9388);
static_assert(offsetof(ConfigInfo, darkLevelFloor) == 9392);
static_assert(offsetof(ConfigInfo, gainGroupCvLimit) == 9396);
static_assert(offsetof(ConfigInfo, exposedBlockFloor) == 9400);
static_assert(offsetof(ConfigInfo, falseTriggerMedianFloor) == 9532);
static_assert(offsetof(ConfigInfo, maxGrayValue) == 9536);
static_assert(offsetof(ConfigInfo, fixedLinearGainEnabled) == 9540);
static_assert(offsetof(ConfigInfo, defectCorrectionMethod) == 9544);
static_assert(offsetof(ConfigInfo, correctedImageDumpLevel) == 9548);

// The FPGA register block.
struct FpgaReg {
    std::uint8_t reserved0[128];
    float exposureTimeMs;
    std::uint8_t reserved132[28];
    std::int32_t modeWord;  // bits 13-15 power mode id, bits 4-6 gain id
    std::uint8_t reserved164[3932];
};
static_assert(sizeof(FpgaReg) == 4096);
static_assert(offsetof(FpgaReg, exposureTimeMs) == 128);
static_assert(offsetof(FpgaReg, modeWord) == 160);

struct DetectorInformation {
    std::uint32_t width;    // big-endian
    std::uint32_t height;   // big-endian
    char description[256];  // text; the product word "Halbrook" is followed by the detector's name
};
static_assert(sizeof(DetectorInformation) == 264);

struct ModeInfo {
    std::int32_t mode;
    std::int32_t width;   // pixels
    std::int32_t height;  // pixels
};
static_assert(sizeof(ModeInfo) == 12);

struct StatusInformation {
    float temperature;  // degrees Celsius
};
static_assert(sizeof(StatusInformation) == 4);

// The configuration record; never null.
QXKIT_API ConfigInfo* getConfigInfo();

// Directories, each ending with a path separator ('\\' on every platform).
QXKIT_API char* getWorkDir();
QXKIT_API char* getOfstImgDir();
QXKIT_API char* getGainImgDir();
QXKIT_API char* getDefectImgDir();
QXKIT_API char* getTempImgDir();

// The functions below that return int give 0 on success and fill their output only then, unless said otherwise.

// Fills the register block.
QXKIT_API int getFpgaReg(FpgaReg* registers);

// Reads a detector parameter; id 196 is the AED trigger source.
QXKIT_API int getDetectorIparam(int id, int* value);

// The detector type number.
QXKIT_API int get_dtt_type();

// Fills the panel's size and the detector's description.
QXKIT_API int getDetectorInformation(DetectorInformation* information);

// Fills the current mode and the size of its images.
QXKIT_API int getModeInfo(ModeInfo* mode);

// The synchronisation mode itself (3 is AED), not a status.
QXKIT_API int getSyncMode();

// The number of frames of an NDT acquisition, not a status.
QXKIT_API int getNDTFrameNum();

// Fills the number of columns an AFE serves.
QXKIT_API int getAFEWidthByDetectorDescription(int* afeWidth);

// The AED trigger line: a row index.
QXKIT_API int getAEDRadScanLine();

// Points to the current integration time in milliseconds.
QXKIT_API int* getRadExpTime();

// The detector's identification, a text.
QXKIT_API char* getMachineID();

// Fills the panel's temperature.
QXKIT_API int getStatusInformation(StatusInformation* status);

// The time interval of the AED training record, seconds.
QXKIT_API float getTimeInterval();

// Downloads a calibration file from the detector into its calibration directory. kind 0: offset, 1: gain. With several
// threads the file appears whole in its place, and every call for it succeeds.
QXKIT_API int transferFile(int kind, const char* fileName, int option);

// Fills the 65536-byte image header. kind 17: factory SNR file, 18: NDT dark image, 19: NDT gain image.
QXKIT_API int fillImgHead(char* header, int kind, int option);
