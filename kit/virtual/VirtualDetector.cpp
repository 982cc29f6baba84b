#include "VirtualDetector.h"

#include "DetectorDirectories.h"
#include "ModeWord.h"
#include "NeverDestroyed.h"

#include <mutex>

namespace qxkit {
namespace {

constexpr int kAedTriggerSourceId = 196;

ConfigInfo defaultConfig() {
    ConfigInfo config{};
    config.loggingEnabled = 1;
    config.uniformityCvLimit = 0.15f;
    config.stripMeanDiffLimit = 4000;
    config.rcnRowDiffLimit = 12.0f;
    config.darkLevelFloor = 200;
    config.gainGroupCvLimit = 0.2f;
    config.exposedBlockFloor = 2000;
    config.falseTriggerMedianFloor = 500;
    config.maxGrayValue = 65535;
    return config;
}

std::recursive_mutex& stateMutex() {
    static NeverDestroyed<std::recursive_mutex> mutex;
    return mutex.value;
}

}  // namespace

VirtualDetector::VirtualDetector() : config(defaultConfig()), iparams{{kAedTriggerSourceId, 1}} {
    registers.exposureTimeMs = 500.0f;
    setModeBits(registers, 1, kPowerModeShift);
    setModeBits(registers, 2, kGainShift);
}

VirtualDetector& virtualDetector() {
    static NeverDestroyed<VirtualDetector> detector;
    return detector.value;
}

DetectorLock::DetectorLock() {
    stateMutex().lock();
}

DetectorLock::~DetectorLock() {
    stateMutex().unlock();
}

void resetVirtualDetector() {
    const DetectorLock lock;
    virtualDetector() = VirtualDetector();
}

void setPowerMode(int powerModeId) {
    const DetectorLock lock;
    setModeBits(virtualDetector().registers, powerModeId, kPowerModeShift);
}

void setGainId(int gainId) {
    const DetectorLock lock;
    setModeBits(virtualDetector().registers, gainId, kGainShift);
}

std::string setDirectories(const std::filesystem::path& root) {
    for (const DirectoryRole& role : kDirectoryRoles) {
        if (std::string problem = createFolder(root / role.folder); !problem.empty())
            return problem;
    }
    const DetectorLock lock;
    for (const DirectoryRole& role : kDirectoryRoles)
        virtualDetector().*role.field = toKitDirectory(root / role.folder);
    return {};
}

}  // namespace qxkit
