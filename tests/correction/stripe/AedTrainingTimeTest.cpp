// The time in the AED training record.

#include "DetectorFixture.h"

#include "platform/Clock.h"

#include <QxUtils/Correction.h>

namespace {

using namespace qx;
using namespace qx::test;

class AedTrainingRecord : public DetectorFixture {
protected:
    ~AedTrainingRecord() override { setClock(nullptr); }
};

TEST_F(AedTrainingRecord, time_is_not_padded) {
    std::filesystem::create_directory(logFolder());
    setClock([] { return LocalTime{2024, 3, 5, 9, 7, 1, 42}; });
    recordAedTrainStepInfo(constantImage(64, 64, 7).data(), 64, 64);
    EXPECT_EQ(0u, splitLines(readFile(logFolder() / "PostDarkData.txt")).at(2).find("202435971\t\t\tVD-0001\t\t\t"));
}

}  // namespace
