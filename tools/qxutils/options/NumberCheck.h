#pragma once

#include "text/ComparedNumbers.h"

#include <CLI/CLI.hpp>

#include <limits>
#include <string>
#include <type_traits>

// Checks of options that are numbers; the help tells their names, which are the ranges. Their texts are built without
// streams, which lose what finds no memory.

namespace qx::tool {

template <class Number>
std::string numberText(Number value) {
    if constexpr (std::is_floating_point_v<Number>)
        return shortText(value);
    else
        return std::to_string(value);
}

// A number in a range, which "nan" is not.
template <class Number>
CLI::Validator numberFrom(Number least, Number most, const std::string& name) {
    const auto refuse = [least, most](const std::string& text) -> std::string {
        Number value{};
        if (CLI::detail::lexical_cast(text, value) && value >= least && value <= most)
            return {};
        const char* const kind = std::is_floating_point_v<Number> ? "number" : "whole number";
        return "\"" + text + "\" is no " + kind + " from " + numberText(least) + " to " + numberText(most);
    };
    return CLI::Validator(refuse, name);
}

template <class Number>
CLI::Validator numberWithin(Number least, Number most) {
    return numberFrom(least, most, numberText(least) + " to " + numberText(most));
}

template <class Number>
CLI::Validator numberFrom(Number least) {
    return numberFrom(least, std::numeric_limits<Number>::max(), numberText(least) + " or more");
}

// Of an int, which an empty text is not.
inline CLI::Validator wholeNumber() {
    return numberFrom(std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), "");
}

}  // namespace qx::tool
