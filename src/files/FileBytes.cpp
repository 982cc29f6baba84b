#include "files/FileBytes.h"

#include "QxUtils/StatusCode.h"

namespace qx {

int FileBytes::load(std::FILE* file) noexcept {
    const std::int64_t length = fileLength(file);
    if (length < 0)
        return StatusFileReadFailed;
    Scratch<char>& content = content_.emplace(length);
    if (!content)
        return StatusAllocationFailed;
    return std::fread(content.data(), 1, content.span().size(), file) == content.span().size() ? StatusOk
                                                                                               : StatusFileReadFailed;
}

}  // namespace qx
