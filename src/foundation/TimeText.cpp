#include "QxUtils/Foundation.h"
#include "platform/Clock.h"

#include <cstdint>
#include <cstdio>

namespace {

constexpr int kStampCapacity = 15;
constexpr int kLocalTimeCapacity = 20;

}  // namespace

void setTimeStamp(char* destination) {
    if (destination == nullptr)
        return;
    const qx::LocalTime now = qx::localTime();
    std::snprintf(destination, kStampCapacity, "%d%02d%02d%02d%02d%02d", now.year, now.month, now.day, now.hour,
                  now.minute, now.second);
}

void getLocalTimeStr(char* destination) {
    if (destination == nullptr)
        return;
    const qx::LocalTime now = qx::localTime();
    std::snprintf(destination, kLocalTimeCapacity, "%d-%02d-%02d %02d:%02d:%02d", now.year, now.month, now.day,
                  now.hour, now.minute, now.second);
}

double GetTimeCounter(long& start, long& end, double& seconds) {
    // The counter has 32 bits and wraps; the difference survives that.
    const auto elapsedMs =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(end) - static_cast<std::uint32_t>(start));
    seconds = elapsedMs / 1000.0;
    return seconds;
}
