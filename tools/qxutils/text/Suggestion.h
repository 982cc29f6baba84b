#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What somebody who misspelt a word may have meant.

namespace qx::tool {

// Letters to add, leave out, exchange with their neighbour or replace to turn one word into the other, in any case of
// letters.
int spellingDistance(std::string_view first, std::string_view second);

// The candidate nearest to the word: one that is at most two such letters away, and no more than a third of the word.
std::optional<std::string> nearestTo(std::string_view word, const std::vector<std::string>& candidates);

// "; did you mean snr?", or nothing when no candidate is near.
std::string didYouMean(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace qx::tool
