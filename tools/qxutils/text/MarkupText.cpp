#include "text/MarkupText.h"

#include "text/FileName.h"

namespace qx::tool {

std::string markupText(const std::string& text) {
    std::string html;
    for (const char letter : inUtf8(text)) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '&')
            html += "&amp;";
        else if (letter == '<')
            html += "&lt;";
        else if (letter == '>')
            html += "&gt;";
        else if (letter == '"')
            html += "&quot;";
        else if (code == 0x7f || (code < 0x20 && letter != '\n' && letter != '\t'))
            html += "\xEF\xBF\xBD";
        else if ((code == 0xbe || code == 0xbf) && html.ends_with("\xEF\xBF"))
            html += '\xBD';  // U+FFFE and U+FFFF are no characters of XML
        else
            html += letter;
    }
    return html;
}

}  // namespace qx::tool
