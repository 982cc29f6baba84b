#include "quality/snr/FactorySnr.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "files/HeaderLayout.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"
#include "platform/ByteOrder.h"
#include "platform/FileSystem.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kFactorySnrHeader = 17;
constexpr std::string_view kProductWord = "Halbrook";

// Names in a directory in ascending order, whatever order the file system has; none when it cannot be listed.
std::vector<std::string> namesIn(const std::string& directory, bool directories) {
    std::vector<std::string> names;
    qx::DirectoryListing listing(directory.c_str());
    qx::DirectoryEntry entry{};
    while (listing.started() && listing.next(entry)) {
        const std::string_view name = entry.name;
        if (entry.isDirectory == directories && name != "." && name != "..")
            names.emplace_back(name);
    }
    if (!listing.succeeded())
        return {};
    std::ranges::sort(names);
    return names;
}

// What the images of a factory directory gave.
struct FactoryImages {
    std::vector<FactorySNRRecord> records;
    int integrationTimes = 0;
    int dose = 0;  // images an integration time
    bool even = true;

    std::int64_t fileBytes() const {
        const std::int64_t recordBytes = qx::kSnrRecordHeadBytes + std::int64_t{4} * records.front().snrCount;
        return qx::kSnrRecordsOffset + recordBytes * integrationTimes * dose;
    }
};

void logReason(const char* reason) {
    WriteLogFile(LogModuleUtils, LogInfo, reason, kLogNoValue);
}

void logFailedImage(const std::string& directory, const std::string& name) {
    qx::logInfo(kLogNoValue, "fail to retrieve SNR from file %s\\%s.\n", directory.c_str(), name.c_str());
}

// Measures the images of one integration time.
void addDirectory(int detectorType, const std::string& directory, FactoryImages& images) {
    int measured = 0;
    for (const std::string& name : namesIn(qx::withSeparator(directory), false)) {
        FactorySNRRecord record{};
        if (qx::retrieveSNRFromImage(detectorType, directory.c_str(), name.c_str(), record) != StatusOk) {
            logFailedImage(directory, name);
            continue;
        }
        images.records.push_back(std::move(record));
        ++measured;
    }
    images.even = images.even && (images.integrationTimes == 0 || measured == images.dose);
    images.dose = measured;
    ++images.integrationTimes;
}

FactoryImages measureImages(int detectorType, const std::string& root) {
    FactoryImages images;
    for (const std::string& name : namesIn(root, true))
        if (name.find("ms") != std::string::npos)
            addDirectory(detectorType, root + name, images);
    if (images.integrationTimes == 0)
        logReason("could not find valid directory.\n");
    return images;
}

// Writes values one behind the other.
class ByteWriter {
public:
    explicit ByteWriter(char* target) : next_(target) {}

    template <class Value>
    void add(const Value& value) {
        std::memcpy(next_, &value, sizeof value);
        next_ += sizeof value;
    }

private:
    char* next_;
};

void fillPayload(char* payload, const FactoryImages& images, int detectorType) {
    ByteWriter writer(payload);
    writer.add(FactorySnrFileHead{images.integrationTimes, images.dose, images.records.front().snrCount, detectorType});
    for (const FactorySNRRecord& record : images.records) {
        writer.add(record.integrationTime);
        writer.add(record.snrCount);
        writer.add(record.meanGray);
        for (const float value : record.snr)
            writer.add(value);
    }
}

void fillHeader(char* header, int width, int height, int detectorType) {
    constexpr int kOption = 1;
    fillImgHead(header, kFactorySnrHeader, kOption);
    const std::uint32_t type = qx::networkToHost(detectorType);
    // Kept: width and height in the processor's order, unlike in every other image header.
    std::memcpy(header + qx::kWidthOffset, &width, sizeof width);
    std::memcpy(header + qx::kHeightOffset, &height, sizeof height);
    std::memcpy(header + qx::kDetectorTypeOffset, &type, sizeof type);
    qx::logInfo(kLogNoValue, "width=%d, height=%d, dtttype=%d", width, height, detectorType);
}

// The name of the file, after the detector's; empty, with the reason in the log, when the description tells none.
std::string fileNameOf(const DetectorInformation& detector) {
    const std::string_view all(detector.description, sizeof detector.description);
    const std::string_view description = all.substr(0, std::min(all.find('\0'), all.size()));
    const std::size_t product = description.find(kProductWord);
    if (product == std::string_view::npos) {
        logReason("the detector's description does not name the product");
        return {};
    }
    const std::string name(description.substr(product + kProductWord.size()));
    // The file would lie in another directory, on one platform or the other.
    if (name.find_first_of("/\\") != std::string::npos) {
        logReason("the detector's description holds a path separator");
        return {};
    }
    return name + "-SNR.raw";
}

// Names the file, fills its header and writes it.
int writeContent(qx::Scratch<char>& content, const std::string& root, int detectorType,
                 qx::LoggedOperation& operation) {
    DetectorInformation detector{};
    int status = qx::askDetector(detector);
    if (status != StatusOk)
        return status;
    const std::string name = fileNameOf(detector);
    if (name.empty())
        return StatusWrongParameter;
    qx::logInfo(kLogNoValue, "%s", name.c_str());
    fillHeader(content.data(), qx::networkToHost(detector.width), qx::networkToHost(detector.height), detectorType);
    status = writeImageToDisk(root.c_str(), name.c_str(), content.data(), content.count());
    if (status != StatusOk) {
        qx::logInfo(kLogNoValue, "fail to write image %s in the directory of %s", name.c_str(), root.c_str());
        return operation.end(status, " terminates with return value ");
    }
    return status;
}

int writeFile(const FactoryImages& images, const std::string& root, int detectorType, qx::LoggedOperation& operation) {
    if (!images.even) {
        logReason("the directories differ in their number of images");
        return StatusWrongParameter;
    }
    const std::int64_t bytes = images.fileBytes();
    if (bytes > INT_MAX) {
        logReason("the factory SNR file would be too long");
        return StatusWrongParameter;
    }
    qx::Scratch<char> content(bytes);
    if (!content)
        return StatusAllocationFailed;
    content.clear();
    fillPayload(content.data() + kImageHeaderBytes, images, detectorType);
    return writeContent(content, root, detectorType, operation);
}

// Without an image there is nothing to write; a detector that does not answer tells why there is none.
int answerWithoutImages(const FactoryImages& images) {
    if (images.integrationTimes > 0)
        logReason("no image was measured");
    DetectorInformation detector{};
    const int status = qx::askDetector(detector);
    return status == StatusOk ? int{StatusFileReadFailed} : status;
}

}  // namespace

int retrieveAllSNRForQualityCheck(int detectorType, const char* dir) {
    if (dir == nullptr)
        return StatusNullArgument;
    // The end is told without a value.
    qx::LoggedOperation operation("retrieveAllSNRForQualityCheck");
    try {
        const std::string root = qx::withSeparator(dir);
        const FactoryImages images = measureImages(detectorType, root);
        return images.records.empty() ? answerWithoutImages(images) : writeFile(images, root, detectorType, operation);
    } catch (const std::bad_alloc&) {
        return StatusAllocationFailed;
    }
}
