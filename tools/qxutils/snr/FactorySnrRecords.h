#pragma once

#include "results/Record.h"

#include <QxUtils/Records.h>

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

// The records of a factory SNR file, as the library's writer leaves them.

namespace qx::tool {

// Whether a name is that of a factory SNR file: it ends in "-SNR.raw".
bool isFactorySnrName(const std::string& path);

// The records of a factory SNR file, whatever its detector type. Throws a ToolError when it cannot be read, and when
// it is no such file or holds no record.
FactoryDiffIntSNRList loadFactorySnrFile(const std::string& path);

// The record whose integration time is nearest, the first one of several or without a time.
const FactorySNRRecord& nearestRecord(const FactoryDiffIntSNRList& list, std::optional<float> integrationTimeMs);

// The same as results, a series each, with the table as the text of the last one.
std::vector<Record> factorySnrRecords(const std::string& path);

// A table of the records: integration time, mean, length of the series, its first and its last value.
void printFactorySnr(std::ostream& out, const FactoryDiffIntSNRList& list);

}  // namespace qx::tool
