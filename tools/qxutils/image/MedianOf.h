#pragma once

#include <QxUtils/Numerics.h>
#include <QxUtils/StatusCode.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace qx::tool {

// The library's median. A result that may mean that memory was short is looked for among the values.
template <class Value>
auto medianOf(const Value* values, int count) {
    const auto median = getMedian(values, count);
    if (median != static_cast<decltype(median)>(StatusAllocationFailed))
        return median;
    const auto larger = std::count_if(values, values + count, [=](Value value) { return value > median; });
    const auto smaller = std::count_if(values, values + count, [=](Value value) { return value < median; });
    if (larger > count / 2 || smaller >= count - count / 2)
        throw std::bad_alloc();
    return median;
}

}  // namespace qx::tool
