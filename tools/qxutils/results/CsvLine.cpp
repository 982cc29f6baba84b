#include "results/CsvLine.h"

namespace qx::tool {
namespace {

std::string quoted(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string cell = "\"";
    for (const char letter : text)
        cell += letter == '"' ? std::string("\"\"") : std::string(1, letter);
    return cell + '"';
}

}  // namespace

std::string csvLine(const std::vector<std::string>& cells) {
    std::string line;
    const char* separator = "";
    for (const std::string& cell : cells) {
        line += separator + quoted(cell);
        separator = ",";
    }
    return line + '\n';
}

}  // namespace qx::tool
