#pragma once

#include "text/ComparedNumbers.h"
#include "text/Suggestion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qx::tool {

template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

inline std::string describeOtherWord(const std::string& text, const std::vector<std::string>& words) {
    return "\"" + text + "\" is none of " + CLI::detail::join(words, ", ") + didYouMean(text, words);
}

inline std::string typeOfWords(const std::vector<std::string>& words) {
    return "{" + CLI::detail::join(words, ",") + "}";
}

// Lets an option take one of a few words; the help and the completion list them.
inline void takeOneOf(CLI::Option* option, const std::vector<std::string>& words) {
    const auto refuse = [words](const std::string& text) -> std::string {
        return std::ranges::find(words, text) != words.end() ? "" : describeOtherWord(text, words);
    };
    option->check(CLI::Validator(refuse, ""))->type_name(typeOfWords(words));
}

// The same for an option of an enumeration.
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
        return describeOtherWord(text, words);
    };
    option->transform(CLI::Validator(toNumber, ""))->type_name(typeOfWords(words));
}

// A check of a number that is in a range, which "nan" is not.
inline CLI::Validator numberWithin(double least, double most, const std::string& name) {
    const auto refuse = [least, most](const std::string& text) -> std::string {
        double value = 0.0;
        if (CLI::detail::lexical_cast(text, value) && value >= least && value <= most)
            return {};
        return text + " is no number from " + shortText(least) + " to " + shortText(most);
    };
    return CLI::Validator(refuse, name);
}

// A check of an integer without a range, which an empty text is not.
inline CLI::Validator wholeNumber() {
    const auto refuse = [](const std::string& text) -> std::string {
        int value = 0;
        return CLI::detail::lexical_cast(text, value) ? "" : "\"" + text + "\" is no whole number that can stand there";
    };
    return CLI::Validator(refuse, "");
}

}  // namespace qx::tool
