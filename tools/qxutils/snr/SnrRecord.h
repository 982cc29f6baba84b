#pragma once

#include "results/Record.h"
#include "results/SubjectImage.h"
#include "snr/FactorySeries.h"
#include "snr/SnrJudgement.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

// SNR series as records.

namespace qx::tool {

// The series of an image, judged against a factory series where there is one.
Record snrRecord(const RawImage& image, const std::optional<SnrSeries>& factory);

// What was judged already.
Record snrRecord(const SnrJudgement& judgement, const RawImage& image, const SnrSeries& factory);

// Of a raw image file, judged against the factory's series where there is one.
Record snrRecord(SubjectImage& image, const std::optional<FactorySeries>& factory);

// Of results of earlier runs (*.json), whose series are taken as they were: there may be no factory's series.
std::vector<Record> savedSnrRecords(const std::string& file, const std::optional<FactorySeries>& factory);

// The squares of one record, or a line for each of several, with the verdicts and what they mean.
void printSnrRecords(std::ostream& out, const std::vector<Record>& records);

}  // namespace qx::tool
