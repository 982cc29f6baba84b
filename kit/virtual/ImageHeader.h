#pragma once

#include <QxUtils/Records.h>

#include <cstddef>

// Where the fields lie in the header of an image file; all are big-endian 32-bit words.

namespace qxkit {

inline constexpr int kWidthOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, width);
inline constexpr int kHeightOffset = kDetectorFileHeadOffset + offsetof(DetectorFileHead, height);
inline constexpr int kDetectorTypeOffset = kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, detectorType);
inline constexpr int kIntegrationTimeOffset = kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, integrationTime);
inline constexpr int kTemperatureOffset = kDetectorInfoHeadOffset + offsetof(DetectorInfoHead, temperature);

}  // namespace qxkit
