#pragma once

#include "QxUtils/Files.h"

#include <cstddef>

namespace qx {

// Where fields lie in the 65536-byte header of a file; numbers are in network order.

// Of every image. Their meaning is that of the records' fields.
inline constexpr int kWidthOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, width);
inline constexpr int kHeightOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, height);
inline constexpr int kDetectorTypeOffset = kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, detectorType);
inline constexpr int kTemperatureOffset = kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, temperature);

// Of a defect file, beside its sections.
inline constexpr int kDefectWords2Offset = 8248;
inline constexpr int kDefectWords8Offset = 8340;

// The records of a factory SNR file: integration time, length and mean, then the values of a series.
inline constexpr int kSnrRecordsOffset = kImageHeaderBytes + sizeof(FactorySnrFileHead);
inline constexpr int kSnrRecordHeadBytes = 12;

}  // namespace qx
