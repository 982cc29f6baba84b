#pragma once

#include <cstdint>

// The arithmetic of the NDT calibration and correction, written out step by step. Pointers and counts are valid here.
namespace qx::plain {

// max(0, image - dark) in single precision.
float offsetCorrected(std::uint32_t image, std::uint32_t dark);

// A ten-thousandth of the mean of the offset-corrected pixels.
float ndtGainScale(const std::uint32_t* bright, const std::uint32_t* dark, int count);
void ndtGains(std::uint16_t* gains, const std::uint32_t* bright, const std::uint32_t* dark, int count, float scale);

void correctByFixedGain(float* results, const std::uint32_t* image, const std::uint32_t* dark, const float* gains,
                        int count);
void correctByNdtGain(float* results, const std::uint32_t* image, const std::uint32_t* dark, const std::uint16_t* gains,
                      int count);

// The low 32 bits of the truncation to 64 bits, which gives the lowest integer for NaN and for what does not fit.
std::uint32_t truncatedLong(float value);
void writeBack(std::uint32_t* image, const float* results, int count);

}  // namespace qx::plain
