#include "StrictKit.h"

#include <QxCodec.h>
#include <QxCorrection.h>
#include <QxUtils/Records.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <sstream>
#include <vector>

namespace {

using qx::test::strictKit;

// One buffer for every text. Of the records one is valid, and those that were stay spoilt for long.
constexpr std::size_t kPlaces = 1000;
std::array<char, 4096> textBuffer;
std::vector<ConfigInfo> configs(kPlaces);
std::array<int, kPlaces> integrationTimes;
std::size_t valid = 0;

// Every call comes through here.
void moveOn() {
    if (strictKit().moves) {
        constexpr char kStale[] = "stale\\stale\\";
        std::memcpy(textBuffer.data(), kStale, sizeof kStale);
        std::memset(&configs[valid], 0xA5, sizeof(ConfigInfo));
        integrationTimes[valid] = -1;
        valid = (valid + 1) % kPlaces;
    }
    configs[valid] = strictKit().config;
    integrationTimes[valid] = strictKit().integrationTimeMs;
}

char* lend(const std::string& text) {
    moveOn();
    if (strictKit().moves) {
        std::memcpy(textBuffer.data(), text.c_str(), text.size() + 1);
        return textBuffer.data();
    }
    static std::set<std::string> lasting;
    return const_cast<char*>(lasting.insert(text).first->c_str());
}

template <class Record>
int answer(Record& output, const Record& record) {
    moveOn();
    output = record;
    return 0;
}

template <class... Parts>
void recordCall(const Parts&... parts) {
    std::ostringstream call;
    (call << ... << parts);
    strictKit().calls.push_back(call.str());
}

template <class Values>
std::string listOf(const Values& values) {
    std::ostringstream text;
    for (const auto value : values)
        text << ' ' << value;
    return text.str();
}

std::string textOf(const VectorDefect& set) {
    return "points" + listOf(set.points) + ", clusters" + listOf(set.clusters) + ", rows" + listOf(set.rows) +
           ", columns" + listOf(set.columns);
}

void putBigEndian(std::uint32_t value, std::uint32_t& field) {
    for (int i = 0; i < 4; ++i)
        reinterpret_cast<unsigned char*>(&field)[i] = static_cast<unsigned char>(value >> (24 - 8 * i));
}

}  // namespace

qx::test::StrictKit& qx::test::strictKit() {
    static StrictKit kit;
    return kit;
}

ConfigInfo* getConfigInfo() {
    moveOn();
    return &configs[valid];
}

int* getRadExpTime() {
    moveOn();
    return &integrationTimes[valid];
}

char* getWorkDir() {
    return lend(strictKit().root);
}
char* getOfstImgDir() {
    return lend(strictKit().root + "offset\\");
}
char* getGainImgDir() {
    return lend(strictKit().root + "gain\\");
}
char* getDefectImgDir() {
    return lend(strictKit().root + "defect\\");
}
char* getTempImgDir() {
    return lend(strictKit().root + "temperature\\");
}
char* getMachineID() {
    return lend("SN 4711");
}

int get_dtt_type() {
    moveOn();
    return 13;
}
int getSyncMode() {
    moveOn();
    return 3;
}
int getNDTFrameNum() {
    moveOn();
    return 4;
}
int getAEDRadScanLine() {
    moveOn();
    return 30;
}
float getTimeInterval() {
    moveOn();
    return 2.5f;
}

int getFpgaReg(FpgaReg* registers) {
    FpgaReg record{};
    record.exposureTimeMs = 300.0f;
    record.modeWord = 2 << 4;
    return answer(*registers, record);
}
int getDetectorIparam(int, int* value) {
    return answer(*value, 2);
}
int getDetectorInformation(DetectorInformation* information) {
    DetectorInformation record{};
    putBigEndian(static_cast<std::uint32_t>(strictKit().width), record.width);
    putBigEndian(static_cast<std::uint32_t>(strictKit().height), record.height);
    std::strcpy(record.description, "Halbrook4343");
    return answer(*information, record);
}
int getModeInfo(ModeInfo* mode) {
    return answer(*mode, {1, strictKit().width, strictKit().height});
}
int getAFEWidthByDetectorDescription(int* afeWidth) {
    return answer(*afeWidth, 32);
}
int getStatusInformation(StatusInformation* status) {
    return answer(*status, {36.5f});
}

int transferFile(int kind, const char* fileName, int option) {
    recordCall("transferFile ", kind, ' ', fileName, ' ', option);
    moveOn();
    return strictKit().transferStatus;
}

int fillImgHead(char* header, int kind, int option) {
    const bool isEmpty = std::all_of(header, header + kImageHeaderBytes, [](char byte) { return byte == 0; });
    recordCall("fillImgHead ", kind, ' ', option, isEmpty ? " empty" : " not empty");
    moveOn();
    if (strictKit().headerStatus == 0)
        std::fill_n(header, 8, 'h');
    return strictKit().headerStatus;
}

void reverseCopy(void* destination, const void* source, int count) {
    moveOn();
    const auto* const bytes = static_cast<const char*>(source);
    std::reverse_copy(bytes, bytes + count, static_cast<char*>(destination));
}

// Hands on the points and the first row.
int loadDefectFromNoiseAndMultImgs(int width, int height, VectorDefect* set, VectorDefect* outSetA,
                                   VectorDefect* outSetB) {
    recordCall("split ", width, " x ", height, ": ", textOf(*set), "; A ", textOf(*outSetA), "; B ", textOf(*outSetB));
    moveOn();
    outSetA->points = set->points;
    outSetA->rows.assign(1, set->rows.empty() ? -1 : set->rows.front());
    outSetB->columns = set->columns;
    return strictKit().splitStatus;
}

// Adds 1000 to the listed points.
int correctImgDefectMap(float* image, int width, int height, VectorDefect* set, int option) {
    recordCall("correct ", width, " x ", height, listOf(std::vector<float>(image, image + width * height)), ": ",
               textOf(*set), "; ", option);
    moveOn();
    for (const int point : set->points)
        image[point] += 1000;
    return strictKit().correctionStatus;
}
