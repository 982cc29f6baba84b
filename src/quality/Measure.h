#pragma once

#include "QxUtils/Measures.h"
#include "QxUtils/StatusCode.h"
#include "foundation/Diagnostics.h"
#include "platform/Console.h"

#include <limits>

namespace qx {

inline constexpr float kNothingMeasured = std::numeric_limits<float>::quiet_NaN();

// What a check judges: a value, and how it must stand to its limit. Nothing is measured at first.
struct Measure {
    Measure() noexcept : Measure(kNothingMeasured, MeasureBelow, 0) {}
    template <class Value, class Limit>
    Measure(Value measured, MeasureComparison wanted, Limit bound) noexcept
        : value(static_cast<double>(measured)), comparison(wanted), limit(static_cast<double>(bound)) {}

    // A comparison with what is not a number refuses nothing.
    bool met() const noexcept;

    double value;
    MeasureComparison comparison;
    double limit;
};

// What a check returns: the status of a measurement that failed, else 0 or the code of the refusal.
inline int verdictOn(const Measure& measure, int status, int refusal) noexcept {
    return status == StatusOk && !measure.met() ? refusal : status;
}

// Fills the caller's records.
class MeasureRecords {
public:
    explicit MeasureRecords(CheckMeasures& records) noexcept : records_(records) {}

    // Adds a measure that must be met. The name is a format.
    QX_PRINTF(4, 5) void add(const Measure& measure, const char* unit, const char* name, ...) noexcept;

    // Adds another way to meet the requirement before, if there is one.
    void addAlternative(const Measure& measure, const char* unit, const char* name) noexcept;

private:
    void addTo(int requirement, const Measure& measure, const char* unit, const char* name) noexcept;

    CheckMeasures& records_;
};

// Lets `take` fill records in silence and hands them out when it returns 0.
template <class Take>
int recordMeasures(CheckMeasures* measures, Take take) noexcept {
    if (measures == nullptr)
        return StatusNullArgument;
    const Silence silence;
    CheckMeasures taken{};
    MeasureRecords records(taken);
    const int status = take(records);
    if (status == StatusOk)
        *measures = taken;
    return status;
}

}  // namespace qx
