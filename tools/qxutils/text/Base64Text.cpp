#include "text/Base64Text.h"

#include <QxUtils/Files.h>

namespace qx::tool {

std::string base64Text(std::string_view bytes) {
    // The library writes a zero behind the text.
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
    base64_encode(bytes.data(), text.data(), static_cast<int>(bytes.size()));
    text.pop_back();
    return text;
}

}  // namespace qx::tool
