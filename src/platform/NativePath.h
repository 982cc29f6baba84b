#pragma once

#include <array>
#include <cstddef>

namespace qx {

// A path as the operating system takes it. The library's own paths use '\' everywhere; elsewhere than on Windows it
// becomes '/'. A path that is null or does not fit is empty, which no file has.
class NativePath {
public:
    explicit NativePath(const char* path) noexcept;

    const char* c_str() const noexcept { return text_.data(); }

private:
    static constexpr std::size_t kCapacity = 1024;
    std::array<char, kCapacity> text_{};
};

}  // namespace qx
