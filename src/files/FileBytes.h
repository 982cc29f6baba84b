#pragma once

#include "foundation/Scratch.h"
#include "platform/FileSystem.h"

#include <cstddef>
#include <optional>
#include <span>

namespace qx {

// The whole content of an open file.
class FileBytes {
public:
    // Returns 0, 1035 when memory is short, or 1040 when the file cannot be read as a whole.
    int load(std::FILE* file) noexcept;

    std::span<const char> span() const noexcept { return content_ ? content_->span() : std::span<const char>(); }

private:
    std::optional<Scratch<char>> content_;
};

}  // namespace qx
