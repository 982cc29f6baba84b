#include "QxSysMgt.h"

#include "ImageHeader.h"
#include "KitStatus.h"
#include "NeverDestroyed.h"
#include "VirtualDetector.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <filesystem>
#include <forward_list>
#include <fstream>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

using qxkit::DetectorLock;
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

// Hands out a text that stays when the field changes. Those that were new last are found first.
char* handOut(std::string VirtualDetector::*field) {
    static qxkit::NeverDestroyed<std::forward_list<std::string>> handedOut;
    const DetectorLock lock;
    std::forward_list<std::string>& texts = handedOut.value;
    std::string& text = virtualDetector().*field;
    if (const auto kept = std::find(texts.begin(), texts.end(), text); kept != texts.end())
        return kept->data();
    try {
        return texts.emplace_front(text).data();
    } catch (const std::bad_alloc&) {
        return text.data();
    }
}

// A number of the detector.
template <class Number>
Number read(Number VirtualDetector::*field) {
    const DetectorLock lock;
    return virtualDetector().*field;
}

int transferFault(const std::string& name) {
    const qxkit::DetectorFaults& faults = virtualDetector().faults;
    const auto byName = faults.transferFileByName.find(name);
    return byName != faults.transferFileByName.end() ? byName->second : faults.transferFile;
}

std::optional<std::vector<char>> readWhole(const std::filesystem::path& path) {
    std::error_code error;
    std::ifstream input(path, std::ios::binary);
    const auto size = std::filesystem::file_size(path, error);
    if (error || !input || !std::filesystem::is_regular_file(path, error))
        return {};
    std::vector<char> content(static_cast<std::size_t>(size));
    if (!input.read(content.data(), static_cast<std::streamsize>(content.size())))
        return {};
    return content;
}

// Another thread that looks for the file finds it whole or not at all, and keeps the one that it is reading.
int putWhole(const std::filesystem::path& target, const std::vector<char>& content) {
    std::filesystem::path part = target;
    part += ".part";
    std::ofstream output(part, std::ios::binary);
    output.write(content.data(), static_cast<std::streamsize>(content.size()));
    output.close();
    std::error_code error;
    if (output)
        std::filesystem::rename(part, target, error);
    if (output && !error)
        return qxkit::kSuccess;
    std::filesystem::remove(part, error);
    // A file that somebody reads cannot be replaced on every platform, nor need it be when it has come before.
    return readWhole(target) == content ? qxkit::kSuccess : qxkit::kWriteFailed;
}

int copyFromStorage(int kind, const std::string& name) {
    if ((kind != kOffsetFile && kind != kGainFile) || name.empty() || name.find_first_of("/\\") != std::string::npos)
        return qxkit::kBadArgument;
    const VirtualDetector& detector = virtualDetector();
    const auto source = qxkit::nativePath(detector.storageDirectory + name);
    const auto& target = kind == kOffsetFile ? detector.offsetDirectory : detector.gainDirectory;
    const auto content = readWhole(source);
    return content ? putWhole(qxkit::nativePath(target + name), *content) : qxkit::kOpenFailed;
}

}  // namespace

ConfigInfo* getConfigInfo() {
    return &virtualDetector().config;
}

char* getWorkDir() {
    return handOut(&VirtualDetector::workDirectory);
}
char* getOfstImgDir() {
    return handOut(&VirtualDetector::offsetDirectory);
}
char* getGainImgDir() {
    return handOut(&VirtualDetector::gainDirectory);
}
char* getDefectImgDir() {
    return handOut(&VirtualDetector::defectDirectory);
}
char* getTempImgDir() {
    return handOut(&VirtualDetector::temperatureDirectory);
}
char* getMachineID() {
    return handOut(&VirtualDetector::machineId);
}

int get_dtt_type() {
    return read(&VirtualDetector::type);
}
int getSyncMode() {
    return read(&VirtualDetector::syncMode);
}
int getNDTFrameNum() {
    return read(&VirtualDetector::ndtFrameCount);
}
int getAEDRadScanLine() {
    return read(&VirtualDetector::aedTriggerLine);
}
int* getRadExpTime() {
    thread_local int ms = 0;
    ms = read(&VirtualDetector::integrationTimeMs);
    return &ms;
}
float getTimeInterval() {
    return read(&VirtualDetector::timeIntervalS);
}

int getFpgaReg(FpgaReg* registers) {
    const DetectorLock lock;
    return answer(virtualDetector().faults.getFpgaReg, registers, virtualDetector().registers);
}

int getDetectorIparam(int id, int* value) {
    const DetectorLock lock;
    const VirtualDetector& detector = virtualDetector();
    const auto parameter = detector.iparams.find(id);
    if (detector.faults.getDetectorIparam == 0 && parameter == detector.iparams.end())
        return qxkit::kBadArgument;
    return answer(detector.faults.getDetectorIparam, value,
                  parameter == detector.iparams.end() ? 0 : parameter->second);
}

int getDetectorInformation(DetectorInformation* information) {
    const DetectorLock lock;
    const VirtualDetector& detector = virtualDetector();
    DetectorInformation record{};
    putBigEndian(&record.width, static_cast<std::uint32_t>(detector.width));
    putBigEndian(&record.height, static_cast<std::uint32_t>(detector.height));
    const std::size_t length = std::min(detector.description.size(), sizeof(record.description) - 1);
    std::memcpy(record.description, detector.description.data(), length);
    return answer(detector.faults.getDetectorInformation, information, record);
}

int getModeInfo(ModeInfo* mode) {
    const DetectorLock lock;
    const VirtualDetector& detector = virtualDetector();
    return answer(detector.faults.getModeInfo, mode, {detector.mode, detector.modeWidth, detector.modeHeight});
}

int getAFEWidthByDetectorDescription(int* afeWidth) {
    const DetectorLock lock;
    return answer(virtualDetector().faults.getAFEWidthByDetectorDescription, afeWidth, virtualDetector().afeWidth);
}

int getStatusInformation(StatusInformation* status) {
    const DetectorLock lock;
    return answer(virtualDetector().faults.getStatusInformation, status, {virtualDetector().temperatureC});
}

int transferFile(int kind, const char* fileName, int option) {
    const DetectorLock lock;
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
    const DetectorLock lock;
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
