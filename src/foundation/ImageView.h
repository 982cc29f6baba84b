#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>

namespace qx {

// Whether these are the sides of an image: both are at least 1, and its pixels can be counted in 32 bits.
inline bool isImageSize(int width, int height) noexcept {
    return width >= 1 && height >= 1 && static_cast<std::int64_t>(width) * height <= INT_MAX;
}

// Rows top .. bottom() - 1 and columns left .. right() - 1 of an image.
struct Rect {
    int top;
    int left;
    int height;
    int width;

    int bottom() const noexcept { return top + height; }
    int right() const noexcept { return left + width; }
    bool isEmpty() const noexcept { return height < 1 || width < 1; }
    std::int64_t pixels() const noexcept { return static_cast<std::int64_t>(height) * width; }
};

// A row-major image in the caller's memory, rows without gaps.
template <class T>
struct ImageView {
    T* data;
    int width;
    int height;

    // Whether there is an image: memory, and sides that an image can have.
    bool exists() const noexcept { return data != nullptr && isImageSize(width, height); }

    int pixels() const noexcept { return width * height; }
    bool contains(const Rect& rect) const noexcept {
        return rect.top >= 0 && rect.left >= 0 && rect.height <= height - rect.top && rect.width <= width - rect.left;
    }

    T* row(int y) const noexcept { return data + static_cast<std::ptrdiff_t>(y) * width; }
    T& at(int y, int x) const noexcept { return row(y)[x]; }
    std::span<T> rowSpan(int y) const noexcept { return {row(y), static_cast<std::size_t>(width)}; }
    std::span<T> span() const noexcept { return {data, static_cast<std::size_t>(pixels())}; }

    // The same pixels, which may not be changed.
    operator ImageView<const T>() const noexcept requires(!std::is_const_v<T>) { return {data, width, height}; }
};

}  // namespace qx
