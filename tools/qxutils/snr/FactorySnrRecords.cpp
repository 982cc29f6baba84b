#include "snr/FactorySnrRecords.h"

#include "common/ToolError.h"
#include "files/FileAccess.h"
#include "files/LibraryFile.h"
#include "files/NamedInput.h"
#include "image/RawImage.h"
#include "results/Subject.h"
#include "snr/SnrJudgement.h"
#include "text/FileName.h"
#include "text/TextStream.h"
#include "text/TextTable.h"

#include <QxUtils.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string_view>

namespace qx::tool {
namespace {

constexpr const char* kWanted = "a factory SNR file, as qxutils factory-snr writes it";
constexpr std::int64_t kDetectorTypeOffset = kImageHeaderBytes + offsetof(FactorySnrFileHead, detectorType);
constexpr std::int64_t kRecordsOffset = kImageHeaderBytes + sizeof(FactorySnrFileHead);

std::int32_t detectorTypeOf(const std::string& path) {
    if (fileBytes(path, kWanted) < kRecordsOffset)
        throw ToolError(path + ": too short; give " + kWanted);
    std::int32_t type = 0;
    std::memcpy(&type, loadBytes(path, kRecordsOffset).data() + kDetectorTypeOffset, sizeof type);
    return type;
}

}  // namespace

bool isFactorySnrName(const std::string& path) {
    return hasEnding(path, "-SNR.raw");
}

FactoryDiffIntSNRList loadFactorySnrFile(const std::string& path) {
    const int type = detectorTypeOf(path);
    const LibraryPath file = toLibraryPath(path);
    FactoryDiffIntSNRList list;
    const int status = loadAllSNRFromFactory(file.directory.c_str(), file.name.c_str(), list, type);
    if (status != StatusOk)
        throw ToolError(path + ": no records can be read (" + statusText(status) + "); give " + kWanted);
    if (list.records.empty())
        throw ToolError(path + ": holds no records; give " + kWanted);
    return list;
}

const FactorySNRRecord& nearestRecord(const FactoryDiffIntSNRList& list, std::optional<float> integrationTimeMs) {
    if (!integrationTimeMs)
        return list.records.front();
    const auto distance = [&](const FactorySNRRecord& record) {
        return std::abs(double{*integrationTimeMs} - record.integrationTime);
    };
    return *std::ranges::min_element(list.records, {}, distance);
}

std::vector<Record> factorySnrRecords(const std::string& path) {
    const FactoryDiffIntSNRList list = loadFactorySnrFile(path);
    const std::vector<int> sides = snrSquareSides({kMaxSide, kMaxSide});
    const Subject subject = subjectOf(NamedInput(path, kWanted), true);
    std::vector<Record> records;
    for (const FactorySNRRecord& factory : list.records) {
        Record record;
        record.subject = subject;
        record.measures = {{"integration time", static_cast<double>(factory.integrationTime), "ms"},
                           {"mean", plainNumber(factory.meanGray), "counts", 1}};
        for (std::size_t i = 0; i < std::min(factory.snr.size(), sides.size()); ++i)
            record.squares.push_back({sides[i], plainNumber(factory.snr[i])});
        records.push_back(record);
    }
    TextStream text;
    printFactorySnr(text, list);
    records.back().text = text.str();
    return records;
}

void printFactorySnr(std::ostream& out, const FactoryDiffIntSNRList& list) {
    TextTable table({"integration time, ms", "mean, counts", "squares", "first SNR", "last SNR"});
    for (const FactorySNRRecord& record : list.records) {
        const bool isEmpty = record.snr.empty();
        table.addRow({std::to_string(record.integrationTime), formatNumber(record.meanGray, 1),
                      std::to_string(record.snr.size()), isEmpty ? "" : formatNumber(record.snr.front(), 1),
                      isEmpty ? "" : formatNumber(record.snr.back(), 1)});
    }
    table.print(out);
}

}  // namespace qx::tool
