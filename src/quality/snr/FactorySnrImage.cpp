#include "quality/snr/FactorySnr.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/StatusCode.h"
#include "files/RawImageReader.h"
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

    std::int64_t fileBytes() const {
        return std::int64_t{width} * height * std::int64_t{sizeof(WORD)} + kImageHeaderBytes;
    }
};

// Whether the file has the length of an image with its header.
int checkLength(const std::string& directory, const char* name, const ImageSize& size) {
    std::int64_t bytes = 0;
    lengthOfFile(directory.c_str(), name, bytes);
    if (bytes == 0) {
        logInfo(kLogNoValue, "fail to read image, size is 0");
        return StatusFileReadFailed;
    }
    const int expected = size.fileBytes();
    if (bytes != expected) {
        const int actual = bytes;
        logInfo(kLogNoValue, "fail to read image, actual size is %d, expected size is %d", actual, expected);
        return StatusFileReadFailed;
    }
    return StatusOk;
}

// Kept: an image in another directory than its time's is told of, and measured all the same.
void compareWithPath(int integrationTime, const std::string& directory, const char* name) {
    if (directory.find(std::to_string(integrationTime)) != std::string::npos)
        return;
    std::array<char, 1024> text;
    std::snprintf(text.data(), text.size(), "the integration time %d in header of image %s mismatch the path name %s",
                  integrationTime, name, directory.c_str());
    WriteLogFile(LogModuleUtils, LogError, text.data(), kLogNoValue);
}

int measure(const ImageView<const WORD>& image, FactorySNRRecord& record) {
    record.snr.assign(snrCount(image.width, image.height), 0.0f);
    const int status = calcSnrSeries(image, record.snr);
    if (status != StatusOk)
        return status;
    record.snrCount = record.snr.size();
    record.meanGray = static_cast<float>(getMean(image.data, image.pixels()));
    for (const float value : record.snr)
        printConsole("%.1f\t", static_cast<double>(value));
    printConsole("snrLen=%d\n", record.snrCount);
    return StatusOk;
}

int retrieve(const std::string& directory, const char* name, const ImageSize& size, FactorySNRRecord& record) {
    int status = checkLength(directory, name, size);
    if (status != StatusOk)
        return status;
    Scratch<char> content(size.fileBytes());
    if (!content)
        return StatusAllocationFailed;
    status = readImageFromDisk(directory.c_str(), name, content.data(), content.count());
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
    const auto* const pixels = reinterpret_cast<const WORD*>(content.data() + kImageHeaderBytes);
    return measure({pixels, size.width, size.height}, record);
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
    LoggedOperation operation("retrieveSNRFromImage");
    DetectorInformation detector{};
    const int status = askDetector(detector);
    if (status != StatusOk)
        return operation.end(status);
    ImageSize size;
    size.width = networkToHost(detector.width);
    size.height = networkToHost(detector.height);
    logInfo(kLogNoValue, "detectorType=%d, width=%d, height=%d", detectorType, size.width, size.height);
    if (!snrMeasurable(size.width, size.height) || size.fileBytes() > INT_MAX) {
        logInfo(kLogNoValue, "no SNR is measured of an image of this size");
        return operation.end(StatusWrongParameter);
    }
    try {
        return operation.end(retrieve(withSeparator(directory), file, size, record));
    } catch (const std::bad_alloc&) {
        return operation.end(StatusAllocationFailed);
    }
}

}  // namespace qx
