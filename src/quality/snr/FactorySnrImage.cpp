#include "quality/snr/FactorySnr.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/ByteOrder.h"
#include "platform/Console.h"
#include "quality/snr/SnrSeries.h"

#include <QxSysMgt.h>

#include <array>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <new>
#include <string>
#include <string_view>

namespace qx {
namespace {

struct ImageSize {
    int width;
    int height;

    int pixels() const { return width * height; }
    long long fileBytes() const { return static_cast<long long>(width) * height * 2 + kImageHeaderBytes; }
};

// Whether the file has the length of an image with its header.
int checkLength(const std::string& directory, const char* name, const ImageSize& size) {
    long bytes = 0;
    getImageSize(directory.c_str(), name, bytes);
    if (bytes == 0) {
        logInfo(kLogNoValue, "fail to read image, size is 0");
        return StatusFileReadFailed;
    }
    if (bytes != size.fileBytes()) {
        logInfo(kLogNoValue, "fail to read image, actual size is %d, expected size is %d", static_cast<int>(bytes),
                static_cast<int>(size.fileBytes()));
        return StatusFileReadFailed;
    }
    return StatusOk;
}

void compareWithPath(int integrationTime, const std::string& directory, const char* name) {
    if (directory.find(std::to_string(integrationTime)) != std::string::npos)
        return;
    std::array<char, 1024> text;
    std::snprintf(text.data(), text.size(), "the integration time %d in header of image %s mismatch the path name %s",
                  integrationTime, name, directory.c_str());
    WriteLogFile(LogModuleUtils, LogError, text.data(), kLogNoValue);
}

int measure(const WORD* pixels, const ImageSize& size, FactorySNRRecord& record) {
    record.snr.assign(static_cast<std::size_t>(snrCount(size.width, size.height)), 0.0f);
    const int status = measureSnrSeries({pixels, size.width, size.height}, record.snr);
    if (status != StatusOk)
        return status;
    record.snrCount = static_cast<int>(record.snr.size());
    record.meanGray = static_cast<float>(getMean(pixels, size.pixels()));
    for (const float value : record.snr)
        printConsole("%.1f\t", static_cast<double>(value));
    printConsole("snrLen=%d\n", record.snrCount);
    return StatusOk;
}

int retrieve(const std::string& directory, const char* name, const ImageSize& size, FactorySNRRecord& record) {
    int status = checkLength(directory, name, size);
    if (status != StatusOk)
        return status;
    Scratch<char> content(static_cast<std::size_t>(size.fileBytes()));
    if (!content)
        return StatusAllocationFailed;
    status = readImageFromDisk(directory.c_str(), name, content.data(), static_cast<int>(content.span().size()));
    if (status != StatusOk) {
        logInfo(kLogNoValue, "fail to read image\n");
        return status;
    }
    DetectorFileHead head{};
    getDetectorFileHeadFromImageHead(&head, content.data());
    if (head.width != size.width || head.height != size.height) {
        logInfo(kLogNoValue, "the width and height in image header mismatch the detector type\n");
        return StatusWrongParameter;
    }
    DetectorInfoHead information{};
    getDetectorInfoHeadFromImageHead(&information, content.data());
    record.integrationTime = truncateToInt(information.integrationTime);
    compareWithPath(record.integrationTime, directory, name);
    status = measure(reinterpret_cast<const WORD*>(content.data() + kImageHeaderBytes), size, record);
    if (status == StatusOk)
        logEnd("retrieveSNRFromImage", " terminates", status);
    return status;
}

}  // namespace

std::string withSeparator(std::string path) {
    if (!path.ends_with('\\'))
        path += '\\';
    return path;
}

int askDetector(DetectorInformation& detector) noexcept {
    const int status = getDetectorInformation(&detector);
    if (status != StatusOk)
        WriteLogFile(LogModuleUtils, LogError, "getDetectorInformation failed", status);
    return status;
}

int retrieveSNRFromImage(int detectorType, const char* directory, const char* file, FactorySNRRecord& record) {
    logBegin("retrieveSNRFromImage");
    DetectorInformation detector{};
    const int status = askDetector(detector);
    if (status != StatusOk)
        return status;
    const ImageSize size{static_cast<int>(networkToHost(detector.width)),
                         static_cast<int>(networkToHost(detector.height))};
    logInfo(kLogNoValue, "detectorType=%d, width=%d, height=%d", detectorType, size.width, size.height);
    if (!snrMeasurable(size.width, size.height) || size.fileBytes() > INT_MAX)
        return StatusWrongParameter;
    try {
        return retrieve(withSeparator(directory), file, size, record);
    } catch (const std::bad_alloc&) {
        return StatusAllocationFailed;
    }
}

}  // namespace qx
