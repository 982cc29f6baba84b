#include "QxUtils/Correction.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "correction/ndt/NdtArithmetic.h"
#include "correction/ndt/NdtCorrection.h"
#include "correction/ndt/NdtFiles.h"

#include <QxSysMgt.h>

#include <cstdint>
#include <cstring>

namespace {

using qx::CalibrationFile;
using qx::NdtFileName;

constexpr int kDarkHeader = 18;
constexpr int kGainHeader = 19;

// Where the writing lies in the code, as the error lines tell it.
constexpr int kDarkErrorLine = 509;
constexpr int kGainErrorLine = 563;

bool isImageSize(int pixelCount) {
    return pixelCount >= 1 && CalibrationFile::fits(std::int64_t{sizeof(std::uint32_t)} * pixelCount);
}

int writeLogged(CalibrationFile& file, const char* directory, const NdtFileName& name, int errorLine) {
    const int status = file.write(directory, name);
    if (status != StatusOk) {
        WriteLogFile(LogModuleUtils, LogError, "<writeImageToDisk> errors out with a return value ", status);
        WriteErrorLine(LogModuleUtils, errorLine, "Utilities");
    }
    return status;
}

int writeDark(const std::uint32_t* dark, std::size_t count) {
    CalibrationFile file(static_cast<std::int64_t>(count * sizeof *dark));
    if (!file)
        return StatusAllocationFailed;
    file.fillHeader(kDarkHeader);
    std::memcpy(file.pixels<std::uint32_t>(), dark, count * sizeof *dark);
    return writeLogged(file, getOfstImgDir(), NdtFileName::dark(), kDarkErrorLine);
}

int writeGain(const std::uint32_t* bright, const std::uint32_t* dark, std::size_t count) {
    CalibrationFile file(static_cast<std::int64_t>(count * sizeof(std::uint16_t)));
    if (!file)
        return StatusAllocationFailed;
    file.fillHeader(kGainHeader);
    qx::ndtGains(bright, dark, count, file.pixels<std::uint16_t>());
    return writeLogged(file, getGainImgDir(), NdtFileName::gain(), kGainErrorLine);
}

}  // namespace

int executeNDTCAL(const std::uint32_t* brightImage, const std::uint32_t* darkImage, int pixelCount) {
    if (darkImage == nullptr)
        return StatusNullArgument;
    if (!isImageSize(pixelCount))
        return StatusWrongParameter;
    const auto count = static_cast<std::size_t>(pixelCount);
    if (qx::storesNdtDark()) {
        const int status = writeDark(darkImage, count);
        if (status != StatusOk)
            return status;
    }
    return brightImage == nullptr ? int{StatusOk} : writeGain(brightImage, darkImage, count);
}

int correctNDTImage(std::uint32_t* image, const std::uint32_t* darkImage, int pixelCount) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!isImageSize(pixelCount))
        return StatusWrongParameter;
    return qx::NdtCorrection(image, darkImage, static_cast<std::size_t>(pixelCount)).run();
}
