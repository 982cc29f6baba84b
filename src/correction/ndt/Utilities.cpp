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
#include <span>

namespace {

using qx::CalibrationFile;
using qx::NdtFileName;

constexpr int kDarkHeader = 18;
constexpr int kGainHeader = 19;

// Where the writing lies in the code, as the error lines tell it.
constexpr int kDarkErrorLine = 509;
constexpr int kGainErrorLine = 563;

// Whether there are pixels, and a file can hold so many.
bool isPixelCount(int pixelCount) {
    constexpr std::int64_t kPixelBytes = sizeof(std::uint32_t);
    return pixelCount >= 1 && CalibrationFile::fits(kPixelBytes * pixelCount);
}

// The directory is the kit's text: it lasts until the first line of the log.
int writeLogged(CalibrationFile& file, const char* directory, const NdtFileName& name, int errorLine) {
    const int status = file.write(directory, name);
    if (status != StatusOk) {
        WriteLogFile(LogModuleUtils, LogError, "<writeImageToDisk> errors out with a return value ", status);
        WriteErrorLine(LogModuleUtils, errorLine, "Utilities");
    }
    return status;
}

int writeDark(std::span<const std::uint32_t> dark) {
    CalibrationFile file(dark.size_bytes());
    if (!file)
        return StatusAllocationFailed;
    file.fillHeader(kDarkHeader);
    std::memcpy(file.pixels<std::uint32_t>().data(), dark.data(), dark.size_bytes());
    const NdtFileName name = NdtFileName::dark();
    return writeLogged(file, getOfstImgDir(), name, kDarkErrorLine);
}

int writeGain(std::span<const std::uint32_t> bright, std::span<const std::uint32_t> dark) {
    CalibrationFile file(bright.size() * sizeof(std::uint16_t));
    if (!file)
        return StatusAllocationFailed;
    file.fillHeader(kGainHeader);
    qx::ndtGains(bright, dark, file.pixels<std::uint16_t>());
    const NdtFileName name = NdtFileName::gain();
    return writeLogged(file, getGainImgDir(), name, kGainErrorLine);
}

}  // namespace

int executeNDTCAL(const std::uint32_t* brightImage, const std::uint32_t* darkImage, int pixelCount) {
    if (darkImage == nullptr)
        return StatusNullArgument;
    if (!isPixelCount(pixelCount))
        return StatusWrongParameter;
    const std::span dark(darkImage, pixelCount);
    if (qx::storesNdtDark()) {
        const int status = writeDark(dark);
        if (status != StatusOk)
            return status;
    }
    return brightImage == nullptr ? int{StatusOk} : writeGain(std::span(brightImage, pixelCount), dark);
}

int correctNDTImage(std::uint32_t* image, const std::uint32_t* darkImage, int pixelCount) {
    if (image == nullptr)
        return StatusNullArgument;
    if (!isPixelCount(pixelCount))
        return StatusWrongParameter;
    const std::span dark(darkImage, darkImage == nullptr ? 0 : pixelCount);
    return qx::NdtCorrection(std::span(image, pixelCount), dark).run();
}
