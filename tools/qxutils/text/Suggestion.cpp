#include "text/Suggestion.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace qx::tool {
namespace {

constexpr int kMostMistakes = 2;
constexpr std::size_t kLettersAMistake = 3;

bool isSameLetter(char first, char second) {
    return std::tolower(static_cast<unsigned char>(first)) == std::tolower(static_cast<unsigned char>(second));
}

// An option is compared without its dashes.
std::string_view lettersOf(std::string_view word) {
    return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

int mistakesAllowed(std::string_view word) {
    return std::min(kMostMistakes, static_cast<int>(lettersOf(word).size() / kLettersAMistake));
}

}  // namespace

int spellingDistance(std::string_view first, std::string_view second) {
    std::vector<int> beforeLast;
    std::vector<int> last(second.size() + 1);
    for (std::size_t column = 0; column < last.size(); ++column)
        last[column] = static_cast<int>(column);
    for (std::size_t row = 1; row <= first.size(); ++row) {
        std::vector<int> current(last.size(), static_cast<int>(row));
        for (std::size_t column = 1; column <= second.size(); ++column) {
            const bool isSame = isSameLetter(first[row - 1], second[column - 1]);
            current[column] =
                std::min({last[column] + 1, current[column - 1] + 1, last[column - 1] + (isSame ? 0 : 1)});
            if (row > 1 && column > 1 && isSameLetter(first[row - 1], second[column - 2]) &&
                isSameLetter(first[row - 2], second[column - 1]))
                current[column] = std::min(current[column], beforeLast[column - 2] + 1);
        }
        beforeLast = std::move(last);
        last = std::move(current);
    }
    return last.back();
}

std::optional<std::string> nearestTo(std::string_view word, const std::vector<std::string>& candidates) {
    std::optional<std::string> nearest;
    int least = mistakesAllowed(word) + 1;
    for (const std::string& candidate : candidates) {
        const int distance = spellingDistance(lettersOf(word), lettersOf(candidate));
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates) {
    const std::optional<std::string> nearest = nearestTo(word, candidates);
    return nearest ? "; did you mean " + *nearest + "?" : "";
}

}  // namespace qx::tool
