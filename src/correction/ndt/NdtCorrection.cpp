#include "correction/ndt/NdtCorrection.h"

#include "QxUtils/Correction.h"
#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/defects/StructuredLists.h"
#include "files/RawImageReader.h"
#include "foundation/ImageView.h"
#include "foundation/JoinedPath.h"
#include "kernels/FrameKernels.h"
#include "platform/FileSystem.h"

#include <QxCorrection.h>
#include <QxSysMgt.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <new>

namespace qx {
namespace {

constexpr int kClassicDefects = 0;
constexpr int kStructuredDefects = 1;

// Where an operation lies in the code, as the error lines tell it.
constexpr int kDarkBufferErrorLine = 627;
constexpr int kGainBufferErrorLine = 652;
constexpr int kGainReadErrorLine = 676;
constexpr int kResultBufferErrorLine = 729;

// Kinds of files that the detector delivers.
constexpr int kOffsetFile = 0;
constexpr int kGainFile = 1;

void logCorrection(LogInfoType severity, const char* text) noexcept {
    WriteLogFile(LogModuleCorr, severity, text, kLogNoValue);
}

void logGainRead(const NdtFileName& name, const char* outcome) noexcept {
    std::array<char, 192> text;
    std::snprintf(text.data(), text.size(), "Read gain image \"%s\"%s", name.c_str(), outcome);
    logCorrection(LogError, text.data());
}

void logError(const char* text, int value, int line) noexcept {
    WriteLogFile(LogModuleUtils, LogError, text, value);
    WriteErrorLine(LogModuleUtils, line, "Utilities");
}

bool exists(const char* directory, const NdtFileName& name) noexcept {
    return pathExists(JoinedPath(directory, name.c_str()).c_str());
}

bool download(int kind, const NdtFileName& name) noexcept {
    constexpr int kOption = 1;
    return transferFile(kind, name.c_str(), kOption) == 0;
}

// 0, or 1077 when the detector does not deliver the missing file.
int provideGainFile(const NdtFileName& name) noexcept {
    if (exists(getGainImgDir(), name))
        return StatusOk;
    logCorrection(LogError, "Download gain file from detector");
    return download(kGainFile, name) ? StatusOk : StatusCalibrationMissing;
}

int correctByLists(const ImageView<float>& results, VectorDefect& lists) {
    const int status = correctImgDefectMap(results.data, results.width, results.height, &lists, 0);
    if (status == StatusOk)
        logCorrection(LogInfo, "Correct defects successfully.");
    return status;
}

int correctByClassicList(const ImageView<float>& results) {
    VectorDefect lists;
    const int status = getDefectIndexFromDefectFile(getDefectImgDir(), "NormalDefectInfo.cal", &lists, nullptr);
    return status == StatusOk ? correctByLists(results, lists) : status;
}

int correctByStructuredRecord(const ImageView<float>& results) {
    logCorrection(LogInfo, "new defect method.");
    DefectInfo record;
    int status = getDefectIndexFromDefectFile(getDefectImgDir(), "NormalStructurizedDefect.cal", nullptr, &record);
    if (status != StatusOk)
        return status;
    logCorrection(LogInfo, "Load defect information successfully.");
    VectorDefect lists = listsOf(record, results.width, results.height);
    VectorDefect outSetA;
    VectorDefect outSetB;
    status = loadDefectFromNoiseAndMultImgs(results.width, results.height, &lists, &outSetA, &outSetB);
    if (status != StatusOk)
        return status;
    // Kept: that is all it says.
    logCorrection(LogInfo, "whatever successfully.");
    return correctByLists(results, outSetA);
}

}  // namespace

int NdtCorrection::run() noexcept {
    int status = provideDark();
    if (status != StatusOk)
        return status;
    isFixedGain_ = getConfigInfo()->fixedLinearGainEnabled != 0;
    status = isFixedGain_ ? provideFixedGain() : provideNdtGain();
    if (status != StatusOk)
        return status;
    const int method = getConfigInfo()->defectCorrectionMethod;
    if (method == kClassicDefects || method == kStructuredDefects)
        status = correctWithDefects(method);
    else
        correctInPlace();
    return status == StatusOk ? dump() : status;
}

int NdtCorrection::provideDark() noexcept {
    if (!dark_.empty())
        return StatusOk;
    if (getNDTFrameNum() == 1) {
        WriteLogFile(LogModuleUtils, LogError, "The input dark image is null.", 0);
        return StatusWrongParameter;
    }
    return storesNdtDark() ? loadDark() : int{StatusNullArgument};
}

int NdtCorrection::loadDark() noexcept {
    constexpr char kFailed[] = "Load offset image of NDT mode fail!";
    const NdtFileName name = NdtFileName::dark();
    std::int64_t length = 0;
    int status = lengthOfFile(getOfstImgDir(), name.c_str(), length);
    if (status != StatusOk) {
        logCorrection(LogError, JoinedPath(getOfstImgDir(), name.c_str()).c_str());
        if (!exists(getOfstImgDir(), name)) {
            logCorrection(LogError, "Download offset file from detector");
            if (!download(kOffsetFile, name))
                return StatusCalibrationMissing;
        }
        // Kept: what was downloaded serves the next call.
        logCorrection(LogInfo, kFailed);
        return status;
    }
    storedDark_.emplace(image_.size_bytes());
    if (!*storedDark_) {
        logError("allocate image buffer error", StatusAllocationFailed, kDarkBufferErrorLine);
        return StatusAllocationFailed;
    }
    status = storedDark_->read(getOfstImgDir(), name);
    if (status != StatusOk) {
        logCorrection(LogInfo, kFailed);
        return status;
    }
    logCorrection(LogInfo, "Load offset calibration file for NDT mode successfully.");
    dark_ = storedDark_->pixels<const std::uint32_t>();
    return StatusOk;
}

int NdtCorrection::provideFixedGain() noexcept {
    const NdtFileName name = NdtFileName::fixedGain();
    int status = provideGainFile(name);
    if (status != StatusOk)
        return status;
    gain_.emplace(image_.size() * sizeof(float));
    if (!*gain_) {
        logCorrection(LogError, "Allocate buffer for gain image failed!");
        return StatusAllocationFailed;
    }
    status = gain_->read(getGainImgDir(), name);
    // Kept: success is an error line too.
    logGainRead(name, status == StatusOk ? " from disk succeeded!" : " failed...");
    return status;
}

int NdtCorrection::provideNdtGain() noexcept {
    gain_.emplace(image_.size() * sizeof(std::uint16_t));
    if (!*gain_) {
        logError("allocate image buffer error", StatusAllocationFailed, kGainBufferErrorLine);
        return StatusAllocationFailed;
    }
    const NdtFileName name = NdtFileName::gain();
    // Kept: the path is an error line, whatever becomes of it.
    logCorrection(LogError, JoinedPath(getGainImgDir(), name.c_str()).c_str());
    int status = provideGainFile(name);
    if (status != StatusOk)
        return status;
    status = gain_->read(getGainImgDir(), name);
    if (status != StatusOk) {
        logError("<readImageFromDisk> errors out with a return value ", status, kGainReadErrorLine);
        return status;
    }
    logCorrection(LogInfo, "Load gain calibration file for NDT mode successfully.");
    return StatusOk;
}

NdtFrame NdtCorrection::frame() noexcept {
    if (isFixedGain_)
        return {image_, dark_, gain_->pixels<const float>()};
    return {image_, dark_, gain_->pixels<const std::uint16_t>()};
}

void NdtCorrection::correctInPlace() noexcept {
    correctOffsetAndGain(frame());
    logCorrection(LogInfo, "Do offset and gain correction successfully.");
}

int NdtCorrection::correctWithDefects(int method) noexcept {
    Scratch<float> results(image_.size());
    if (!results) {
        logError("allocate image buffer error", kLogNoValue, kResultBufferErrorLine);
        return StatusAllocationFailed;
    }
    correctOffsetAndGain(frame(), results.span());
    logCorrection(LogInfo, "Do offset and gain correction successfully.");
    const int status = correctDefects(method, results.span());
    if (status == StatusOk)
        frameKernels().truncated(results.data(), image_.size(), image_.data());
    return status;
}

int NdtCorrection::correctDefects(int method, std::span<float> results) noexcept {
    ModeInfo mode{};
    const int status = getModeInfo(&mode);
    if (status != StatusOk)
        return status;
    const ImageView<float> image{results.data(), mode.width, mode.height};
    if (!image.exists() || image.pixels() > std::ssize(results))
        return StatusWrongParameter;
    try {
        return method == kClassicDefects ? correctByClassicList(image) : correctByStructuredRecord(image);
    } catch (const std::bad_alloc&) {
        return StatusAllocationFailed;
    }
}

int NdtCorrection::dump() noexcept {
    const int level = getConfigInfo()->correctedImageDumpLevel;
    if (level != 1 && level != 2)
        return StatusOk;
    return writeImageToDisk(getTempImgDir(), "Corrected.raw", reinterpret_cast<const char*>(image_.data()),
                            static_cast<int>(image_.size_bytes()));
}

}  // namespace qx
