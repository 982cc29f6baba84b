#pragma once

#include <string>
#include <utility>
#include <vector>

// Options that take one of a few words; the help and the completion list them.

namespace CLI {
class Option;
}

namespace qx::tool {

// The option's value is the text that stands for the word.
void takeOneOf(CLI::Option* option, const std::vector<std::string>& words, const std::vector<std::string>& values);

inline void takeOneOf(CLI::Option* option, const std::vector<std::string>& words) {
    takeOneOf(option, words, words);
}

template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

// An option of an enumeration.
template <class Value>
void takeOneOf(CLI::Option* option, const Choices<Value>& choices) {
    std::vector<std::string> words;
    std::vector<std::string> values;
    for (const auto& [word, value] : choices) {
        words.push_back(word);
        values.push_back(std::to_string(static_cast<int>(value)));
    }
    takeOneOf(option, words, values);
}

}  // namespace qx::tool
