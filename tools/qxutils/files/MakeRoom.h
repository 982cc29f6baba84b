#pragma once

#include "files/NativeFile.h"

#include <cstddef>

namespace qx::tool {

// Room for more values of a vector or text, which are soon to come.
template <class Values>
void makeRoom(Values& values, std::size_t count) {
    values.reserve(values.size() + count);
    preferLargePages(values.data() + values.size(), count * sizeof(typename Values::value_type));
}

}  // namespace qx::tool
