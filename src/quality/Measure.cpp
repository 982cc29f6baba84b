#include "quality/Measure.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace qx {

bool Measure::met() const noexcept {
    switch (comparison) {
    case MeasureBelow:
        return !(value >= limit);
    case MeasureAtMost:
        return !(value > limit);
    case MeasureAbove:
        return !(value <= limit);
    default:
        return !(value < limit);
    }
}

void MeasureRecords::add(const Measure& measure, const char* unit, const char* name, ...) noexcept {
    std::array<char, sizeof CheckMeasure::name> text;
    std::va_list arguments;
    va_start(arguments, name);
    std::vsnprintf(text.data(), text.size(), name, arguments);
    va_end(arguments);
    addTo(records_.count, measure, unit, text.data());
}

void MeasureRecords::addAlternative(const Measure& measure, const char* unit, const char* name) noexcept {
    const int before = records_.count - 1;
    addTo(before < 0 ? 0 : records_.measures[before].requirement, measure, unit, name);
}

void MeasureRecords::addTo(int requirement, const Measure& measure, const char* unit, const char* name) noexcept {
    CheckMeasure& record = records_.measures[records_.count++];
    record = {measure.value, measure.limit, measure.comparison, requirement, measure.met() ? 1 : 0, {}, {}};
    std::snprintf(record.unit, sizeof record.unit, "%s", unit);
    std::snprintf(record.name, sizeof record.name, "%s", name);
}

}  // namespace qx
