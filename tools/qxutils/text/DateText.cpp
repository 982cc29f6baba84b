#include "text/DateText.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace qx::tool {
namespace {

namespace chrono = std::chrono;

constexpr std::string_view kTimeForm = "0000-00-00T00:00:00Z";
constexpr std::size_t kDateLength = 10;

std::string dateOf(chrono::sys_days day) {
    const chrono::year_month_day date(day);
    std::array<char, 32> text{};
    const int length = std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return {text.data(), static_cast<std::size_t>(length)};
}

bool hasForm(std::string_view text, std::string_view form) {
    if (text.size() != form.size())
        return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (form[i] == '0' ? !isDigit : text[i] != form[i])
            return false;
    }
    return true;
}

int numberAt(const std::string& text, std::size_t begin, std::size_t length) {
    return std::stoi(text.substr(begin, length));
}

}  // namespace

std::string timeText(chrono::system_clock::time_point time) {
    const auto day = chrono::floor<chrono::days>(time);
    const chrono::hh_mm_ss clock(chrono::floor<chrono::seconds>(time - day));
    std::array<char, 32> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "T%02d:%02d:%02dZ", static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return dateOf(day) + std::string(text.data(), static_cast<std::size_t>(length));
}

std::string dateText(double day) {
    return dateOf(chrono::sys_days(chrono::days(static_cast<int>(std::floor(day)))));
}

bool isDateOrTime(const std::string& text) {
    if (!hasForm(text, kTimeForm) && !hasForm(text, kTimeForm.substr(0, kDateLength)))
        return false;
    const chrono::year_month_day date(chrono::year(numberAt(text, 0, 4)),
                                      chrono::month(static_cast<unsigned>(numberAt(text, 5, 2))),
                                      chrono::day(static_cast<unsigned>(numberAt(text, 8, 2))));
    return date.ok() && (text.size() == kDateLength ||
                         (numberAt(text, 11, 2) < 24 && numberAt(text, 14, 2) < 60 && numberAt(text, 17, 2) < 60));
}

}  // namespace qx::tool
