#include "platform/NativePath.h"

#include <algorithm>
#include <cstring>

namespace qx {

NativePath::NativePath(const char* path) noexcept {
    const std::size_t length = path != nullptr ? std::strlen(path) : 0;
    if (length >= kCapacity)
        return;
    std::copy_n(path, length, text_.begin());
#ifndef _WIN32
    std::replace(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(length), '\\', '/');
#endif
}

}  // namespace qx
