#include "QxUtils/Quality.h"

#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/StatusCode.h"
#include "files/ByteCursor.h"
#include "files/HeaderLayout.h"
#include "files/RawImageReader.h"
#include "foundation/Log.h"
#include "foundation/Scratch.h"

#include <climits>
#include <cstdint>
#include <new>
#include <set>
#include <utility>

namespace {

// What the file tells ahead of its records.
struct FileFields : FactorySnrFileHead {
    std::int64_t recordBytes() const { return qx::kSnrRecordHeadBytes + std::int64_t{4} * snrLength; }
    std::int64_t records() const { return std::int64_t{dose} * integrationTimes; }

    bool describe(std::int64_t fileBytes) const {
        return integrationTimes > 0 && dose > 0 && snrLength >= 0 &&
               records() <= (fileBytes - qx::kSnrRecordsOffset) / recordBytes() &&
               records() * recordBytes() == fileBytes - qx::kSnrRecordsOffset;
    }
};

FileFields readFields(qx::ByteCursor& cursor) {
    cursor.moveTo(kImageHeaderBytes);
    return {cursor.read<FactorySnrFileHead>()};
}

FactorySNRRecord readRecord(qx::ByteCursor& cursor, int snrLength) {
    FactorySNRRecord record;
    record.integrationTime = cursor.read<std::int32_t>();
    record.snrCount = cursor.read<std::int32_t>();
    record.meanGray = cursor.read<float>();
    record.snr.resize(snrLength);
    cursor.read(std::span(record.snr));
    return record;
}

// Appends the records, all of them or none. Kept: what the list held before stays in it.
void appendRecords(qx::ByteCursor& cursor, const FileFields& fields, FactoryDiffIntSNRList& list) {
    FactoryDiffIntSNRList longer = list;
    // A file may hold as many times as records, which a search of the list would compare pair by pair.
    std::set<int> known(list.integrationTimes.begin(), list.integrationTimes.end());
    for (std::int64_t i = 0; i < fields.records(); ++i) {
        longer.records.push_back(readRecord(cursor, fields.snrLength));
        const int time = longer.records.back().integrationTime;
        if (!known.insert(time).second)
            continue;
        longer.integrationTimes.push_back(time);
        // Kept: the text stands as it is.
        WriteLogFile(LogModuleUtils, LogInfo, "push inte time %d", kLogNoValue);
    }
    list = std::move(longer);
}

int loadRecords(std::span<const char> file, FactoryDiffIntSNRList& list, int detectorType) {
    qx::ByteCursor cursor(file);
    const FileFields fields = readFields(cursor);
    if (cursor.failed())
        return StatusFileReadFailed;
    const int recordBytes = fields.recordBytes();
    qx::logInfo(kLogNoValue, "snrLen=%d, oneImgSNRSize=%d, dose=%d, inteNum=%d, detectorType=%d", fields.snrLength,
                recordBytes, fields.dose, fields.integrationTimes, fields.detectorType);
    if (fields.detectorType != detectorType) {
        qx::logInfo(StatusWrongParameter, "input detector type %d, while the detector type in snr header is %d",
                    detectorType, fields.detectorType);
        return StatusWrongParameter;
    }
    if (fields.records() < 1)
        return StatusOk;
    if (!fields.describe(std::ssize(file)))
        return StatusFileReadFailed;
    try {
        appendRecords(cursor, fields, list);
    } catch (const std::bad_alloc&) {
        return StatusAllocationFailed;
    }
    qx::logEnd("loadAllSNRFromFactory", " terminates", StatusOk);
    return StatusOk;
}

}  // namespace

int loadAllSNRFromFactory(const char* dir, const char* file, FactoryDiffIntSNRList& list, int detectorType) {
    if (dir == nullptr || file == nullptr)
        return StatusNullArgument;
    qx::logBegin("loadAllSNRFromFactory");
    std::int64_t size = 0;
    qx::lengthOfFile(dir, file, size);
    if (size == 0) {
        WriteLogFile(LogModuleUtils, LogInfo, "factory SNR data doesn't exist.\n", kLogNoValue);
        return StatusFileReadFailed;
    }
    if (size > INT_MAX)
        return StatusFileReadFailed;
    qx::Scratch<char> content(size);
    if (!content) {
        qx::logAllocationFailure("factorySNRFileData", size, StatusAllocationFailed);
        return StatusAllocationFailed;
    }
    const int status = readImageFromDisk(dir, file, content.data(), size);
    if (status != StatusOk) {
        qx::logEnd("readImageFromDisk", " terminates", status);
        return status;
    }
    qx::logInfo(kLogNoValue, "readImageFromDisk success");
    return loadRecords(content.span(), list, detectorType);
}
