#pragma once

#include "Builders.h"

#include <QxUtils/Records.h>

#include <cstdint>
#include <string>
#include <vector>

// Factory images and factory SNR files.
namespace qx::test {

// A raw image behind a header that tells its size and integration time.
std::string imageFile(const TestImage& image, float integrationTimeMs);

// What the file tells ahead of its records.
struct SnrFileFields {
    std::int32_t integrationTimes;
    std::int32_t dose;
    std::int32_t snrLength;
    std::int32_t detectorType;
};

// The file behind its 65536-byte header.
std::string snrPayload(const SnrFileFields& fields, const std::vector<FactorySNRRecord>& records);

}  // namespace qx::test
