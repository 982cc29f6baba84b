#include "commands/FormatOption.h"

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace qx::tool {

void addFormatOption(CLI::App& command, Format& format) {
    static const std::map<std::string, Format> kFormats = {
        {"table", Format::Table}, {"json", Format::Json}, {"csv", Format::Csv}};
    command.add_option("--format", format, "table, json or csv")
        ->transform(CLI::CheckedTransformer(kFormats).description(""))
        ->option_text("FORMAT");
}

}  // namespace qx::tool
