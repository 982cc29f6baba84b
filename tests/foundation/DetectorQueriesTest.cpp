#include "DetectorFixture.h"

#include <QxUtils/Foundation.h>

#include <limits>
#include <map>

namespace {

using DetectorQueries = qx::test::DetectorFixture;
constexpr int kAedTriggerSource = 196;

TEST_F(DetectorQueries, mode_word_holds_power_mode_and_gain) {
    const struct {
        std::int32_t word;
        int powerMode, gain;
    } cases[] = {{0x0000E070, 7, 7}, {0, 0, 0},  {0x2000, 1, 0}, {0x0010, 0, 1},
                 {~0xE070, 0, 0},    {-1, 7, 7}, {0x6050, 3, 5}};
    for (const auto& c : cases) {
        detector().registers.modeWord = c.word;
        EXPECT_EQ(c.powerMode, getPowerModeId()) << std::hex << c.word;
        EXPECT_EQ(c.gain, getGainId()) << std::hex << c.word;
    }
}

TEST_F(DetectorQueries, failed_register_read_is_passed_through_or_becomes_500) {
    detector().registers.modeWord = -1;
    for (int status : {7, 1010, -3}) {
        detector().faults.getFpgaReg = status;
        EXPECT_EQ(status, getPowerModeId());
        EXPECT_EQ(status, getGainId());
        EXPECT_EQ(500, getCurrentExpTime());
    }
}

TEST_F(DetectorQueries, exposure_time_is_rounded_half_up) {
    const struct {
        float ms;
        int expected;
    } cases[] = {
        {299.5f, 300},    {299.49f, 299},       {0.0f, 0}, {0.5f, 1}, {-0.25f, 0}, {-1.75f, -1}, {8388608.0f, 8388608},
        {0.49999997f, 0}, {8388609.0f, 8388609}};  // one more in single precision
    for (const auto& c : cases) {
        detector().registers.exposureTimeMs = c.ms;
        EXPECT_EQ(c.expected, getCurrentExpTime()) << c.ms;
    }
    for (float ms : {std::numeric_limits<float>::quiet_NaN(), 3e9f, -3e9f}) {
        detector().registers.exposureTimeMs = ms;
        EXPECT_EQ(std::numeric_limits<int>::min(), getCurrentExpTime()) << ms;
    }
}

TEST_F(DetectorQueries, trigger_source_is_masked_only_on_success) {
    for (int value : {0, 1, 2, 3, 4, 7, -1}) {
        detector().iparams[kAedTriggerSource] = value;
        EXPECT_EQ(value & 3, getAEDTrigSource());
    }
    detector().faults.getDetectorIparam = 9;
    EXPECT_EQ(1, getAEDTrigSource());
}

TEST_F(DetectorQueries, read_out_channels_follow_the_detector_type) {
    const std::map<int, int> listed = {{3, 44}, {9, 44},  {11, 44}, {22, 44}, {0, 88},   {1, 88},  {2, 88},
                                       {4, 88}, {15, 88}, {5, 96},  {7, 96},  {13, 128}, {25, 128}};
    for (int type = -2; type <= 40; ++type) {
        detector().type = type;
        const auto found = listed.find(type);
        EXPECT_EQ(found == listed.end() ? 44 : found->second, getReadOutChannels()) << "type " << type;
    }
}

TEST_F(DetectorQueries, only_the_channels_are_logged_and_always_with_zero) {
    detector().type = 25;
    detector().faults.getFpgaReg = 7;
    getPowerModeId();
    getGainId();
    getCurrentExpTime();
    getAEDTrigSource();
    EXPECT_EQ(128, getReadOutChannels());
    EXPECT_EQ((std::vector<std::string>{"Corr   | I | <getReadOutChannels> begins",
                                        "Corr   | I | <getReadOutChannels> terminates with a return value 0"}),
              logLines());
}

}  // namespace
