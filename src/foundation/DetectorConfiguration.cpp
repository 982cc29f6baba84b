#include "QxUtils/Foundation.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Log.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

constexpr int kPowerModeShift = 13;
constexpr int kGainShift = 4;
constexpr int kDefaultExposureTimeMs = 500;
constexpr int kAedTriggerSourceId = 196;
constexpr int kDefaultChannels = 44;

struct DetectorChannels {
    int detectorType;
    int channels;
};
constexpr std::array<DetectorChannels, 13> kChannels = {{{3, 44},
                                                         {9, 44},
                                                         {11, 44},
                                                         {22, 44},
                                                         {0, 88},
                                                         {1, 88},
                                                         {2, 88},
                                                         {4, 88},
                                                         {15, 88},
                                                         {5, 96},
                                                         {7, 96},
                                                         {13, 128},
                                                         {25, 128}}};

// Three bits of the mode word. Kept: the status of a read that failed stands for the id.
int modeWordId(int shift) {
    FpgaReg registers{};
    const int status = getFpgaReg(&registers);
    return status != 0 ? status : (registers.modeWord >> shift) & 7;
}

int channelsOf(int detectorType) {
    const auto found = std::ranges::find(kChannels, detectorType, &DetectorChannels::detectorType);
    return found != kChannels.end() ? found->channels : kDefaultChannels;
}

}  // namespace

int getPowerModeId() {
    return modeWordId(kPowerModeShift);
}

int getGainId() {
    return modeWordId(kGainShift);
}

int getCurrentExpTime() {
    FpgaReg registers{};
    if (getFpgaReg(&registers) != 0)
        return kDefaultExposureTimeMs;
    // In double precision no time below a half is rounded up.
    return qx::truncateToInt(static_cast<double>(registers.exposureTimeMs) + 0.5);
}

int getAEDTrigSource() {
    int source = 1;
    const int status = getDetectorIparam(kAedTriggerSourceId, &source);
    // Kept: a failed read leaves the value unmasked.
    return status == 0 ? source & 3 : source;
}

int getReadOutChannels() {
    qx::LoggedOperation operation("getReadOutChannels", " terminates with a return value ", LogModuleCorr);
    // Kept: the line carries 0, not the channel count.
    operation.end(0);
    return channelsOf(get_dtt_type());
}
