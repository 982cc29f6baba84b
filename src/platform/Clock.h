#pragma once

namespace qx {

struct LocalTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
    int millisecond;
};

// The local date and time, from the system's clock or the one put in its place.
LocalTime localTime() noexcept;

// Puts another clock in the place of the system's; null restores it.
void setClock(LocalTime (*clock)()) noexcept;

}  // namespace qx
