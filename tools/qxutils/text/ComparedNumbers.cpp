#include "text/ComparedNumbers.h"

#include "text/TextTable.h"

#include <charconv>
#include <cmath>
#include <compare>
#include <cstdlib>

namespace qx::tool {
namespace {

// Beyond these a number is written as shortText has it.
constexpr int kMaxDecimals = 20;

template <class Number>
std::string shortest(Number value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

bool looksLike(const std::string& first, const std::string& second, std::partial_ordering order) {
    return (std::strtod(first.c_str(), nullptr) <=> std::strtod(second.c_str(), nullptr)) == order;
}

}  // namespace

std::string shortText(double value) {
    // Its sign depends on the processor.
    if (std::isnan(value))
        return "nan";
    const auto single = static_cast<float>(value);
    return static_cast<double>(single) == value ? shortest(single) : shortest(value);
}

std::string textBeside(double value, double limit, int decimals) {
    const std::string beside = shortText(limit);
    for (; decimals <= kMaxDecimals; ++decimals) {
        std::string text = formatNumber(value, decimals);
        if (looksLike(text, beside, value <=> limit))
            return text;
    }
    return shortText(value);
}

std::pair<std::string, std::string> textsCompared(double first, double second, int decimals) {
    for (; decimals <= kMaxDecimals; ++decimals) {
        std::pair texts(formatNumber(first, decimals), formatNumber(second, decimals));
        if (looksLike(texts.first, texts.second, first <=> second))
            return texts;
    }
    return {shortText(first), shortText(second)};
}

}  // namespace qx::tool
