#include "files/NearestWord.h"

#include <algorithm>
#include <numeric>

#include "files/Texts.h"

namespace queltool {

std::size_t slipsBetween(const std::string& a, const std::string& b) {
  std::vector<std::size_t> beforeLast, last(b.size() + 1), row(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t change = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, change});
      const bool exchanged = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (exchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    beforeLast = last;
    last = row;
  }
  return last[b.size()];
}

std::optional<std::string> nearestWord(const std::string& given, const std::vector<std::string>& words) {
  const std::string word = lowerCase(given);
  const auto slips = [&word](const std::string& other) {
    return word.size() > 1 && other.starts_with(word) ? 1 : slipsBetween(word, other);
  };
  const auto nearer = [&](const std::string& a, const std::string& b) { return slips(a) < slips(b); };
  const auto nearest = std::min_element(words.begin(), words.end(), nearer);
  if (nearest == words.end() || slips(*nearest) > 1 + word.size() / 4) return std::nullopt;
  return *nearest;
}

}  // namespace queltool
