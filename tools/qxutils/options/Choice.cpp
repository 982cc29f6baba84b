#include "options/Choice.h"

#include "text/Suggestion.h"
#include "text/TextWidth.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace qx::tool {

void takeOneOf(CLI::Option* option, const std::vector<std::string>& words, const std::vector<std::string>& values) {
    const auto replace = [words, values](std::string& text) -> std::string {
        const auto word = std::ranges::find(words, text);
        if (word == words.end())
            return "\"" + text + "\" is none of " + joined(words, ", ") + didYouMean(text, words);
        text = values[static_cast<std::size_t>(word - words.begin())];
        return {};
    };
    option->transform(CLI::Validator(replace, ""))->type_name("{" + joined(words, ",") + "}");
}

}  // namespace qx::tool
