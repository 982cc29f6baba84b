#include "QxUtils/Files.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"
#include "quality/Measure.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int kWordBytes = sizeof(WORD);
constexpr int kListCapacity = 2560;
constexpr int kEntryCapacity = 10;
constexpr int kMaxEntries = 256;
constexpr char kSeparator[] = ";";

// A file that cannot be read. Kept: a negative limit makes it a verdict.
int readFailure(int status) {
    return 0.0f > getConfigInfo()->gainGroupCvLimit ? int{StatusLinearityUnqualified} : status;
}

int sizeOfFirst(const char* path, int& size) {
    long length = 0;
    const int status = getImageSize(path, "", length);
    if (status != StatusOk)
        return readFailure(status);
    if (length < kWordBytes)
        return StatusNullArgument;
    if (length > INT_MAX)
        return StatusWrongParameter;
    size = length;
    return StatusOk;
}

int measureGroup(const char* const* paths, int count, qx::Measure& spread) {
    if (paths == nullptr || count <= 0)
        return StatusNullArgument;
    int size = 0;
    int status = sizeOfFirst(paths[0], size);
    if (status != StatusOk)
        return status;
    const int pixels = size / kWordBytes;
    qx::Scratch<WORD> values(pixels + 1);
    if (!values)
        return StatusAllocationFailed;
    float sum = 0.0f;
    for (int i = 0; i < count; ++i) {
        status = readImageFromDisk(paths[i], "", reinterpret_cast<char*>(values.data()), size);
        if (status != StatusOk)
            return readFailure(status);
        // Kept: a header counts as pixels.
        sum += qx::truncateToInt(static_cast<float>(getMean(values.data(), pixels)));
    }
    const float mean = sum / count;
    // Kept: the spread of the last file against the level of the whole group.
    spread = {getStdev(values.data(), pixels, 1) / mean, MeasureAtMost, getConfigInfo()->gainGroupCvLimit};
    return StatusOk;
}

// Counts the entries that are `time`.
int measureEntries(const char* list, int time, qx::Measure& entries) {
    if (list == nullptr)
        return StatusNullArgument;
    std::array<char, kListCapacity> text{};
    std::strncpy(text.data(), list, text.size() - 1);
    const char* entry = text.data();
    int found = 0;
    for (int looked = 0; *entry != '\0' && looked < kMaxEntries;) {
        const std::size_t length = std::strcspn(entry, kSeparator);
        if (length > 0) {
            std::array<char, kEntryCapacity> slot{};
            std::memcpy(slot.data(), entry, std::min(length, slot.size() - 1));
            found += std::atoi(slot.data()) == time;
            ++looked;
        }
        entry += length;
        entry += *entry == kSeparator[0];
    }
    entries = {found, MeasureAtLeast, 1};
    return StatusOk;
}

}  // namespace

int checkGainImgGroup(const char* const* paths, int count) {
    qx::Measure spread;
    const int status = measureGroup(paths, count, spread);
    if (status == StatusOk)
        qx::printConsole("checkGainImgGroup = %.3f\n", spread.value);
    return qx::verdictOn(spread, status, StatusLinearityUnqualified);
}

int measureGainImgGroup(const char* const* paths, int count, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure spread;
        const int status = measureGroup(paths, count, spread);
        records.add(spread, "", "spread over the group's mean");
        return status;
    });
}

int CheckDarkTimeRepeat(const char* list, int time) {
    constexpr int kNotInList = 1;
    qx::Measure entries;
    const int status = measureEntries(list, time, entries);
    return qx::verdictOn(entries, status, kNotInList);
}

int measureDarkTimeRepeat(const char* list, int time, CheckMeasures* measures) {
    return qx::recordMeasures(measures, [&](qx::MeasureRecords& records) {
        qx::Measure entries;
        const int status = measureEntries(list, time, entries);
        records.add(entries, "entries", "entries of %d ms", time);
        return status;
    });
}
