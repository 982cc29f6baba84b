#pragma once

#include "common/Suggestion.h"

#include <CLI/CLI.hpp>

#include <string>
#include <utility>
#include <vector>

namespace qx::tool {

// What an option takes: one of a few words, each of which stands for a value of an enumeration. Given to
// CLI::Option::transform; the help and the completion list the words.
template <class Value>
class Choice : public CLI::Validator {
public:
    explicit Choice(const std::vector<std::pair<std::string, Value>>& choices) : CLI::Validator("") {
        std::vector<std::string> words;
        for (const auto& [word, value] : choices)
            words.push_back(word);
        desc_function_ = [words] { return "{" + CLI::detail::join(words, ",") + "}"; };
        func_ = [choices, words](std::string& text) -> std::string {
            for (const auto& [word, value] : choices) {
                if (text == word) {
                    text = std::to_string(static_cast<int>(value));
                    return {};
                }
            }
            return "\"" + text + "\" is none of " + CLI::detail::join(words, ", ") + didYouMean(text, words);
        };
    }
};

}  // namespace qx::tool
