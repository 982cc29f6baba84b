#pragma once

#include <chrono>
#include <string>

// Times as results tell them, in UTC.

namespace qx::tool {

// 2024-03-07T12:30:00Z
std::string timeText(std::chrono::system_clock::time_point time);

// 2024-03-07, of the day with this number; the first of January 1970 is 0. Only years of four digits have one.
std::string dateText(double day);

// Whether a text is a date or a time, written so.
bool isDateOrTime(const std::string& text);

}  // namespace qx::tool
