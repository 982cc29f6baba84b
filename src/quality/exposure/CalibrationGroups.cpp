#include "QxUtils/Files.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/StatusCode.h"
#include "foundation/CheckedNumbers.h"
#include "foundation/Scratch.h"
#include "platform/Console.h"

#include <QxSysMgt.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kListCapacity = 2560;
constexpr std::size_t kEntryCapacity = 10;
constexpr int kMaxEntries = 256;
constexpr char kSeparator = ';';

// A file that cannot be read. Kept: a negative limit makes it a verdict.
int readFailure(int status) {
    return 0.0f > getConfigInfo()->gainGroupCvLimit ? static_cast<int>(StatusLinearityUnqualified) : status;
}

int sizeOfFirst(const char* path, int& size) {
    long length = 0;
    const int status = getImageSize(path, "", length);
    if (status != StatusOk)
        return readFailure(status);
    if (length < static_cast<long>(sizeof(WORD)))
        return StatusNullArgument;
    if (length > INT_MAX)
        return StatusWrongParameter;
    size = static_cast<int>(length);
    return StatusOk;
}

}  // namespace

int checkGainImgGroup(const char* const* paths, int count) {
    if (paths == nullptr || count <= 0)
        return StatusNullArgument;
    int size = 0;
    int status = sizeOfFirst(paths[0], size);
    if (status != StatusOk)
        return status;
    const int pixels = size / static_cast<int>(sizeof(WORD));
    qx::Scratch<WORD> values(static_cast<std::size_t>(pixels) + 1);
    if (!values)
        return StatusAllocationFailed;
    float sum = 0.0f;
    for (int i = 0; i < count; ++i) {
        status = readImageFromDisk(paths[i], "", reinterpret_cast<char*>(values.data()), size);
        if (status != StatusOk)
            return readFailure(status);
        // Kept: a header counts as pixels.
        sum += static_cast<float>(qx::truncateToInt(static_cast<float>(getMean(values.data(), pixels))));
    }
    const float mean = sum / static_cast<float>(count);
    // Kept: the spread of the last file against the level of the whole group.
    const float ratio = getStdev(values.data(), pixels, 1) / mean;
    qx::printConsole("checkGainImgGroup = %.3f\n", static_cast<double>(ratio));
    return ratio > getConfigInfo()->gainGroupCvLimit ? StatusLinearityUnqualified : StatusOk;
}

int CheckDarkTimeRepeat(const char* list, int time) {
    if (list == nullptr)
        return StatusNullArgument;
    std::array<char, kListCapacity> text{};
    std::strncpy(text.data(), list, text.size() - 1);
    const char* entry = text.data();
    for (int entries = 0; *entry != '\0' && entries < kMaxEntries;) {
        const char* const end = entry + std::strcspn(entry, ";");
        const auto length = static_cast<std::size_t>(end - entry);
        if (length > 0) {
            std::array<char, kEntryCapacity> slot{};
            std::memcpy(slot.data(), entry, std::min(length, slot.size() - 1));
            if (std::atoi(slot.data()) == time)
                return 0;
            ++entries;
        }
        entry = *end == kSeparator ? end + 1 : end;
    }
    return 1;
}
