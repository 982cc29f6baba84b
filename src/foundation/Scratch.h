#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace qx {

// Working memory from the heap that may be missing: test it before use. Holds plain values, uninitialised.
template <class T>
class Scratch {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    explicit Scratch(std::size_t count) noexcept
        : data_(count <= kMaxCount ? new (std::nothrow) T[count] : nullptr), count_(count) {}

    explicit operator bool() const noexcept { return data_ != nullptr; }
    T* data() noexcept { return data_.get(); }
    const T* data() const noexcept { return data_.get(); }
    std::span<T> span() noexcept { return {data_.get(), count_}; }
    std::span<const T> span() const noexcept { return {data_.get(), count_}; }
    T& operator[](std::size_t index) noexcept { return data_[index]; }
    const T& operator[](std::size_t index) const noexcept { return data_[index]; }

    void clear() noexcept { std::memset(data_.get(), 0, count_ * sizeof(T)); }

private:
    static constexpr std::size_t kMaxCount = static_cast<std::size_t>(-1) / 2 / sizeof(T);

    std::unique_ptr<T[]> data_;
    std::size_t count_;
};

}  // namespace qx
