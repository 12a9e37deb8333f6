// The word that was meant by one that is mistyped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace queltool {

/// How many letters have to be put in, left out, changed or exchanged with their neighbour to make one of the other.
std::size_t slipsBetween(const std::string& a, const std::string& b);

/// The one of `words` that is nearest to `word`, the first of equals: one that it begins, or one of few slips, of which
/// a long word may have more. Capitals are no slips of words that have none. Nothing where none is near.
std::optional<std::string> nearestWord(const std::string& word, const std::vector<std::string>& words);

}  // namespace queltool
