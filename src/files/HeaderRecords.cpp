#include "QxUtils/Files.h"

#include "platform/ByteOrder.h"

#include <QxCodec.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace {

constexpr std::size_t kInfoRegion = 16384;
constexpr std::size_t kPcRegion = 32768;
constexpr std::size_t kFieldBytes = 4;

// Neighbouring fields of one kind in a record.
enum class FieldKind { Integer, Float };
struct FieldRun {
    std::size_t offset;
    int count;
    FieldKind kind;
};

constexpr FieldRun kFileHeadFields[] = {{8, 16, FieldKind::Integer}};

constexpr FieldRun kInfoHeadFields[] = {
    {0, 2, FieldKind::Integer},   {40, 4, FieldKind::Integer},  {80, 14, FieldKind::Float},
    {396, 7, FieldKind::Integer}, {484, 8, FieldKind::Float},   {520, 1, FieldKind::Float},
    {528, 1, FieldKind::Float},   {536, 4, FieldKind::Integer}, {560, 4, FieldKind::Integer},
    {640, 4, FieldKind::Integer},
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
    std::memcpy(record, header, sizeof *record);
    convertFields(record, kFileHeadFields);
}

void getDetectorInfoHeadFromImageHead(DetectorInfoHead* record, const char* header) {
    if (record == nullptr || header == nullptr)
        return;
    std::memcpy(record, header + kInfoRegion, sizeof *record);
    convertFields(record, kInfoHeadFields);
}

void getPcImageHeadFromImageHead(PcImgHead* record, const char* header) {
    if (record == nullptr || header == nullptr)
        return;
    std::memcpy(record, header + kPcRegion, sizeof *record);
}

float getTemperatureFromImageHead(const char* header) {
    float temperature = -128.0f;
    if (header != nullptr)
        reverseCopy(&temperature, header + kInfoRegion + offsetof(DetectorInfoHead, temperature), sizeof temperature);
    return temperature;
}
