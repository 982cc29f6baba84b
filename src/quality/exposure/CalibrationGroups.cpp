#include "QxUtils/Files.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "files/RawImageReader.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"
#include "quality/Measure.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>

namespace {

constexpr int kWordBytes = sizeof(WORD);
constexpr int kMaxListLength = 2559;
constexpr int kMaxEntries = 256;
constexpr char kSeparator = ';';

// A file that cannot be read. Kept: a negative limit makes it a verdict.
int readFailure(int status) {
    return 0.0f > getConfigInfo()->gainGroupCvLimit ? int{StatusLinearityUnqualified} : status;
}

int sizeOfFirst(const char* path, int& size) {
    std::int64_t length = 0;
    const int status = qx::lengthOfFile(path, "", length);
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

// The number that an entry begins with behind blanks and a sign, 0 without one; none when no int holds it.
std::optional<int> numberOf(std::string_view entry) {
    constexpr std::string_view kBlanks = " \t\n\v\f\r";
    entry.remove_prefix(std::min(entry.find_first_not_of(kBlanks), entry.size()));
    const bool hasPlus = entry.starts_with('+') && !entry.starts_with("+-");
    entry.remove_prefix(hasPlus);
    int number = 0;
    const auto [end, error] = std::from_chars(entry.data(), entry.data() + entry.size(), number);
    return error == std::errc::result_out_of_range ? std::nullopt : std::optional(number);
}

// A text up to its end, or its first characters where it is longer; what follows those is not read.
std::string_view beginningOf(const char* text, std::size_t most) {
    const void* const end = std::memchr(text, '\0', most);
    return {text, end != nullptr ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : most};
}

// Counts the entries that are `time`.
int measureEntries(const char* list, int time, qx::Measure& entries) {
    if (list == nullptr)
        return StatusNullArgument;
    std::string_view rest = beginningOf(list, kMaxListLength);
    int found = 0;
    for (int looked = 0; !rest.empty() && looked < kMaxEntries;) {
        const std::string_view entry = rest.substr(0, rest.find(kSeparator));
        if (!entry.empty()) {
            found += numberOf(entry) == time;
            ++looked;
        }
        rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
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
