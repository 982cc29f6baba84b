#pragma once

#include "common/Suggestion.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>
#include <vector>

namespace qx::tool {

template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

// Lets an option of an enumeration take one of a few words; the help and the completion list them.
template <class Value>
void takeOneOf(CLI::Option* option, const Choices<Value>& choices) {
    std::vector<std::string> words;
    for (const auto& [word, value] : choices)
        words.push_back(word);
    const auto toNumber = [choices, words](std::string& text) -> std::string {
        for (const auto& [word, value] : choices) {
            if (text == word) {
                text = std::to_string(static_cast<int>(value));
                return {};
            }
        }
        return "\"" + text + "\" is none of " + CLI::detail::join(words, ", ") + didYouMean(text, words);
    };
    option->transform(CLI::Validator(toNumber, ""))->type_name("{" + CLI::detail::join(words, ",") + "}");
}

}  // namespace qx::tool
