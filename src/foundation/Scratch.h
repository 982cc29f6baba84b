#pragma once

#include "foundation/ImageView.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace qx {

// Working memory from the heap that may be missing: test it before use. Holds plain values, uninitialised. Counts are
// signed, as coordinates and indices are; memory for fewer than none is missing.
template <class T>
class Scratch {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    explicit Scratch(std::int64_t count) noexcept
        : data_(count >= 0 && count <= kMaxCount ? new (std::nothrow) T[static_cast<std::size_t>(count)] : nullptr),
          count_(count) {}
    Scratch(int rows, int columns) noexcept : Scratch(static_cast<std::int64_t>(rows) * columns) {}

    explicit operator bool() const noexcept { return data_ != nullptr; }
    T* data() noexcept { return data_.get(); }
    const T* data() const noexcept { return data_.get(); }
    std::int64_t count() const noexcept { return count_; }
    std::span<T> span() noexcept { return std::span<T>(data_.get(), count_); }
    std::span<const T> span() const noexcept { return std::span<const T>(data_.get(), count_); }
    T& operator[](std::ptrdiff_t index) noexcept { return data_.get()[index]; }
    const T& operator[](std::ptrdiff_t index) const noexcept { return data_.get()[index]; }

    void clear() noexcept { std::memset(data_.get(), 0, count_ * sizeof(T)); }

private:
    static constexpr std::int64_t kMaxCount = INT64_MAX / static_cast<std::int64_t>(sizeof(T));

    std::unique_ptr<T[]> data_;
    std::int64_t count_;
};

// An image in working memory of its own; test it before use.
template <class T>
class ScratchImage {
public:
    ScratchImage(int width, int height) noexcept : width_(width), height_(height), pixels_(height, width) {}

    explicit operator bool() const noexcept { return static_cast<bool>(pixels_); }
    ImageView<T> view() noexcept { return {pixels_.data(), width_, height_}; }
    ImageView<const T> view() const noexcept { return {pixels_.data(), width_, height_}; }

private:
    int width_;
    int height_;
    Scratch<T> pixels_;
};

}  // namespace qx
