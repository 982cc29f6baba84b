#include "platform/Clock.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <ctime>
#endif

namespace qx {
namespace {

#ifdef _WIN32
LocalTime systemTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}
#else
LocalTime systemTime() {
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    return {local.tm_year + 1900,
            local.tm_mon + 1,
            local.tm_mday,
            local.tm_hour,
            local.tm_min,
            local.tm_sec,
            static_cast<int>(now.tv_nsec / 1'000'000)};
}
#endif

LocalTime (*activeClock)() = systemTime;

}  // namespace

LocalTime localTime() noexcept {
    return activeClock();
}

void setClock(LocalTime (*clock)()) noexcept {
    activeClock = clock != nullptr ? clock : systemTime;
}

}  // namespace qx
