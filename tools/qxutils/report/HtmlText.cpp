#include "report/HtmlText.h"

#include "results/RecordJson.h"

namespace qx::tool {

std::string htmlText(const std::string& text) {
    std::string html;
    // By way of JSON, which replaces what is no UTF-8.
    for (const char letter : Json::parse(toLine(text)).get<std::string>()) {
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
        else
            html += letter;
    }
    return html;
}

}  // namespace qx::tool
