#pragma once

// The two ids in the mode word of the FPGA registers.

#include "QxSysMgt.h"

namespace qxkit {

inline constexpr int kPowerModeShift = 13;
inline constexpr int kGainShift = 4;
inline constexpr int kHighestModeId = 7;

// The word is a register: its bits are moved as unsigned.
inline void setModeBits(FpgaReg& registers, int id, int shift) {
    const auto word = static_cast<std::uint32_t>(registers.modeWord) & ~(std::uint32_t{kHighestModeId} << shift);
    const auto bits = static_cast<std::uint32_t>(id & kHighestModeId) << shift;
    registers.modeWord = static_cast<std::int32_t>(word | bits);
}

}  // namespace qxkit
