#include "QxSysMgt.h"

#include "ImageHeader.h"
#include "KitStatus.h"
#include "VirtualDetector.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <system_error>
#include <vector>

using qxkit::virtualDetector;
using qxkit::VirtualDetector;

namespace {

enum HeaderKind : int { kFactorySnr = 17, kNdtDark = 18, kNdtGain = 19 };
enum TransferKind : int { kOffsetFile = 0, kGainFile = 1 };

void putBigEndian(void* destination, std::uint32_t value) {
    auto* bytes = static_cast<std::uint8_t*>(destination);
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

// Fills an output unless the function is set to fail.
template <class Record>
int answer(int fault, Record* output, const Record& value) {
    if (fault != 0)
        return fault;
    if (output == nullptr)
        return qxkit::kNullArgument;
    *output = value;
    return qxkit::kSuccess;
}

int transferFault(const std::string& name) {
    const qxkit::DetectorFaults& faults = virtualDetector().faults;
    const auto byName = faults.transferFileByName.find(name);
    return byName != faults.transferFileByName.end() ? byName->second : faults.transferFile;
}

// The whole content passes through memory, so a file may take its own place.
int copyContent(const std::filesystem::path& source, const std::filesystem::path& target) {
    std::error_code error;
    std::ifstream input(source, std::ios::binary);
    const auto size = std::filesystem::file_size(source, error);
    if (error || !input || !std::filesystem::is_regular_file(source, error))
        return qxkit::kOpenFailed;
    std::vector<char> content(static_cast<std::size_t>(size));
    input.read(content.data(), static_cast<std::streamsize>(content.size()));
    std::ofstream output(target, std::ios::binary);
    output.write(content.data(), static_cast<std::streamsize>(content.size()));
    output.close();
    return input && output ? qxkit::kSuccess : qxkit::kWriteFailed;
}

int copyFromStorage(int kind, const std::string& name) {
    if ((kind != kOffsetFile && kind != kGainFile) || name.empty() || name.find_first_of("/\\") != std::string::npos)
        return qxkit::kBadArgument;
    const VirtualDetector& detector = virtualDetector();
    const auto source = qxkit::nativePath(detector.storageDirectory + name);
    const auto& target = kind == kOffsetFile ? detector.offsetDirectory : detector.gainDirectory;
    return copyContent(source, qxkit::nativePath(target + name));
}

}  // namespace

ConfigInfo* getConfigInfo() {
    return &virtualDetector().config;
}

char* getWorkDir() {
    return virtualDetector().workDirectory.data();
}
char* getOfstImgDir() {
    return virtualDetector().offsetDirectory.data();
}
char* getGainImgDir() {
    return virtualDetector().gainDirectory.data();
}
char* getDefectImgDir() {
    return virtualDetector().defectDirectory.data();
}
char* getTempImgDir() {
    return virtualDetector().temperatureDirectory.data();
}
char* getMachineID() {
    return virtualDetector().machineId.data();
}

int get_dtt_type() {
    return virtualDetector().type;
}
int getSyncMode() {
    return virtualDetector().syncMode;
}
int getNDTFrameNum() {
    return virtualDetector().ndtFrameCount;
}
int getAEDRadScanLine() {
    return virtualDetector().aedTriggerLine;
}
int* getRadExpTime() {
    return &virtualDetector().integrationTimeMs;
}
float getTimeInterval() {
    return virtualDetector().timeIntervalS;
}

int getFpgaReg(FpgaReg* registers) {
    return answer(virtualDetector().faults.getFpgaReg, registers, virtualDetector().registers);
}

int getDetectorIparam(int id, int* value) {
    const VirtualDetector& detector = virtualDetector();
    const auto parameter = detector.iparams.find(id);
    if (detector.faults.getDetectorIparam == 0 && parameter == detector.iparams.end())
        return qxkit::kBadArgument;
    return answer(detector.faults.getDetectorIparam, value,
                  parameter == detector.iparams.end() ? 0 : parameter->second);
}

int getDetectorInformation(DetectorInformation* information) {
    const VirtualDetector& detector = virtualDetector();
    DetectorInformation record{};
    putBigEndian(&record.width, static_cast<std::uint32_t>(detector.width));
    putBigEndian(&record.height, static_cast<std::uint32_t>(detector.height));
    const std::size_t length = std::min(detector.description.size(), sizeof(record.description) - 1);
    std::memcpy(record.description, detector.description.data(), length);
    return answer(detector.faults.getDetectorInformation, information, record);
}

int getModeInfo(ModeInfo* mode) {
    const VirtualDetector& detector = virtualDetector();
    return answer(detector.faults.getModeInfo, mode, {detector.mode, detector.modeWidth, detector.modeHeight});
}

int getAFEWidthByDetectorDescription(int* afeWidth) {
    return answer(virtualDetector().faults.getAFEWidthByDetectorDescription, afeWidth, virtualDetector().afeWidth);
}

int getStatusInformation(StatusInformation* status) {
    return answer(virtualDetector().faults.getStatusInformation, status, {virtualDetector().temperatureC});
}

int transferFile(int kind, const char* fileName, int option) {
    try {
        const std::string name = fileName == nullptr ? "" : fileName;
        int status = transferFault(name);
        if (status == qxkit::kSuccess)
            status = fileName == nullptr ? qxkit::kNullArgument : copyFromStorage(kind, name);
        virtualDetector().transfers.push_back({kind, name, option, status});
        return status;
    } catch (const std::bad_alloc&) {
        return qxkit::kNoMemory;
    }
}

int fillImgHead(char* header, int kind, int) {
    const VirtualDetector& detector = virtualDetector();
    if (detector.faults.fillImgHead != 0)
        return detector.faults.fillImgHead;
    if (header == nullptr)
        return qxkit::kNullArgument;
    if (kind != kFactorySnr && kind != kNdtDark && kind != kNdtGain)
        return qxkit::kBadArgument;
    const bool wholePanel = kind == kFactorySnr;
    const int width = wholePanel ? detector.width : detector.modeWidth;
    const int height = wholePanel ? detector.height : detector.modeHeight;
    std::memset(header, 0, kImageHeaderBytes);
    putBigEndian(header + qxkit::kWidthOffset, static_cast<std::uint32_t>(width));
    putBigEndian(header + qxkit::kHeightOffset, static_cast<std::uint32_t>(height));
    putBigEndian(header + qxkit::kDetectorTypeOffset, static_cast<std::uint32_t>(detector.type));
    const auto integrationTimeMs = static_cast<float>(detector.integrationTimeMs);
    putBigEndian(header + qxkit::kIntegrationTimeOffset, std::bit_cast<std::uint32_t>(integrationTimeMs));
    putBigEndian(header + qxkit::kTemperatureOffset, std::bit_cast<std::uint32_t>(detector.temperatureC));
    return qxkit::kSuccess;
}
