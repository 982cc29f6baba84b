#include "foundation/JoinedPath.h"

#include <cstring>

namespace qx {

JoinedPath::JoinedPath(const char* directory, const char* name) noexcept {
    const std::size_t directoryLength = directory != nullptr ? std::strlen(directory) : 0;
    const std::size_t nameLength = name != nullptr ? std::strlen(name) : 0;
    fits_ = directoryLength < kCapacity && nameLength < kCapacity - directoryLength;
    if (!fits_)
        return;
    if (directoryLength > 0)
        std::memcpy(text_.data(), directory, directoryLength);
    if (nameLength > 0)
        std::memcpy(text_.data() + directoryLength, name, nameLength);
}

}  // namespace qx
