#pragma once

#include <array>
#include <cstddef>

namespace qx {

// A directory text directly followed by a file name, in the 256-character buffer that paths have here. A longer
// result is empty, which no file has, and fits() is false; a null part counts as empty.
class JoinedPath {
public:
    JoinedPath(const char* directory, const char* name) noexcept;

    const char* c_str() const noexcept { return text_.data(); }
    bool fits() const noexcept { return fits_; }

private:
    static constexpr std::size_t kCapacity = 256;
    std::array<char, kCapacity> text_{};
    bool fits_ = false;
};

}  // namespace qx
