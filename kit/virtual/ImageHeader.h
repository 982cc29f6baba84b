#pragma once

// Where the fields lie in the header of an image file; all are big-endian 32-bit words. The detector information is a
// record of its own behind the image information.

namespace qxkit {

inline constexpr int kHeaderBytes = 65536;

inline constexpr int kWidthOffset = 12;
inline constexpr int kHeightOffset = 16;

inline constexpr int kDetectorInfoOffset = 16384;
inline constexpr int kDetectorTypeInInfo = 40;
inline constexpr int kIntegrationTimeInInfo = 80;  // float, ms
inline constexpr int kTemperatureInInfo = 128;     // float, degrees Celsius

}  // namespace qxkit
