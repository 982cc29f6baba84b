#include "QxUtils/Files.h"

#include "files/HeaderLayout.h"
#include "platform/ByteOrder.h"

#include <QxCodec.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

constexpr std::size_t kFieldBytes = 4;

// Neighbouring fields of one kind in a record.
enum class FieldKind { Integer, Float };
struct FieldRun {
    std::size_t offset;
    int count;
    FieldKind kind;
};

constexpr FieldRun kFileHeadFields[] = {{offsetof(DetectorFileHead, word8), 16, FieldKind::Integer}};

constexpr FieldRun kInfoHeadFields[] = {
    {offsetof(DetectorInfoHead, word0), 2, FieldKind::Integer},
    {offsetof(DetectorInfoHead, detectorType), 4, FieldKind::Integer},
    {offsetof(DetectorInfoHead, integrationTime), 14, FieldKind::Float},
    {offsetof(DetectorInfoHead, words396), 7, FieldKind::Integer},
    {offsetof(DetectorInfoHead, floats484), 8, FieldKind::Float},
    {offsetof(DetectorInfoHead, float520), 1, FieldKind::Float},
    {offsetof(DetectorInfoHead, float528), 1, FieldKind::Float},
    {offsetof(DetectorInfoHead, words536), 4, FieldKind::Integer},
    {offsetof(DetectorInfoHead, words560), 4, FieldKind::Integer},
    {offsetof(DetectorInfoHead, words640), 4, FieldKind::Integer},
};

void convertInteger(char* field) {
    std::uint32_t value;
    std::memcpy(&value, field, sizeof value);
    value = qx::networkToHost(value);
    std::memcpy(field, &value, sizeof value);
}

void convertFloat(char* field) {
    char stored[kFieldBytes];
    std::memcpy(stored, field, sizeof stored);
    reverseCopy(field, stored, sizeof stored);
}

void convertFields(void* record, std::span<const FieldRun> runs) {
    for (const FieldRun& run : runs) {
        char* field = static_cast<char*>(record) + run.offset;
        for (int i = 0; i < run.count; ++i, field += kFieldBytes) {
            if (run.kind == FieldKind::Integer)
                convertInteger(field);
            else
                convertFloat(field);
        }
    }
}

}  // namespace

void getDetectorFileHeadFromImageHead(DetectorFileHead* record, const char* header) {
    if (record == nullptr || header == nullptr)
        return;
    std::memcpy(record, header + kDetectorFileHeadOffset, sizeof *record);
    convertFields(record, kFileHeadFields);
}

void getDetectorInfoHeadFromImageHead(DetectorInfoHead* record, const char* header) {
    if (record == nullptr || header == nullptr)
        return;
    std::memcpy(record, header + kDetectorInfoHeadOffset, sizeof *record);
    convertFields(record, kInfoHeadFields);
}

void getPcImageHeadFromImageHead(PcImgHead* record, const char* header) {
    if (record == nullptr || header == nullptr)
        return;
    std::memcpy(record, header + kPcImgHeadOffset, sizeof *record);
}

float getTemperatureFromImageHead(const char* header) {
    float temperature = -128.0f;
    if (header != nullptr)
        reverseCopy(&temperature, header + qx::kTemperatureOffset, sizeof temperature);
    return temperature;
}
