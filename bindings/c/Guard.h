#pragma once

#include "QxUtils/StatusCode.h"

#include <climits>
#include <span>
#include <vector>

namespace qx::c {

// What a call returns, with the status in the place of an exception.
template <class Call>
int guarded(Call call) noexcept {
    try {
        return call();
    } catch (StatusCode status) {
        return status;
    } catch (...) {
        return StatusAllocationFailed;
    }
}

// A series of the caller's; none for null or a negative count.
inline std::vector<float> seriesOf(const float* values, int count) {
    return values != nullptr && count > 0 ? std::vector<float>(values, values + count) : std::vector<float>();
}

// Hands out values: how many there are in any case, and the values themselves unless no room is offered.
template <class T>
int handOut(std::span<const T> values, T* out, int capacity, int* count) noexcept {
    if (count == nullptr || (out == nullptr && capacity > 0))
        return StatusNullArgument;
    if (capacity < 0 || values.size() > INT_MAX)
        return StatusWrongParameter;
    *count = static_cast<int>(values.size());
    if (capacity == 0)
        return StatusOk;
    if (capacity < *count)
        return StatusWrongParameter;
    for (const T& value : values)
        *out++ = value;
    return StatusOk;
}

}  // namespace qx::c
