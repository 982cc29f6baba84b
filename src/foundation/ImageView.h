#pragma once

#include <cstddef>

namespace qx {

// A row-major image in the caller's memory, rows without gaps.
template <class T>
struct ImageView {
    T* data;
    int width;
    int height;

    T* row(int y) const noexcept { return data + static_cast<std::ptrdiff_t>(y) * width; }
};

}  // namespace qx
