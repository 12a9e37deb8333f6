#include "quelplatform/windows/wildcard.h"

#include <algorithm>
#include <vector>

#include "quelplatform/ground/text/wideCase.h"

namespace quelplatform {

namespace {

bool isWild(char16_t unit) { return unit == u'*' || unit == u'?'; }

// True when the element `at` of the pattern may stand for nothing in front of `next`, which is 0 at the name's end.
bool mayBeEmpty(std::u16string_view pattern, std::size_t at, char16_t next) {
  switch (pattern[at]) {
    case u'*':
      return true;
    case u'?':
      return next == 0 || next == u'.';
    case u'.':
      return next == 0 && at + 1 < pattern.size() && isWild(pattern[at + 1]);
    default:
      return false;
  }
}

// Adds to the places of the pattern that are reached those that follow without taking a unit.
void reachOverEmpty(std::u16string_view pattern, char16_t next, std::vector<char>& reached) {
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    if (reached[at] != 0 && mayBeEmpty(pattern, at, next)) reached[at + 1] = 1;
  }
}

// The places that are reached by taking `unit`; going down, so that no place is used twice.
void take(std::u16string_view pattern, char16_t unit, std::vector<char>& reached) {
  reached[pattern.size()] = 0;
  for (std::size_t at = pattern.size(); at-- > 0;) {
    if (reached[at] == 0) continue;
    const bool stays = pattern[at] == u'*';
    const bool passes = pattern[at] == unit || (pattern[at] == u'?' && unit != u'.');
    reached[at] = stays ? 1 : 0;
    if (!stays && passes) reached[at + 1] = 1;
  }
}

}  // namespace

std::u16string capitals(std::u16string_view text) {
  std::u16string result(text);
  std::transform(result.begin(), result.end(), result.begin(), upperUnit);
  return result;
}

bool matchesPattern(std::u16string_view pattern, std::u16string_view name) {
  if (pattern == u"*" || pattern == u"*.*") return true;
  std::vector<char> reached(pattern.size() + 1, 0);
  reached[0] = 1;
  for (const char16_t unit : name) {
    reachOverEmpty(pattern, unit, reached);
    take(pattern, unit, reached);
  }
  reachOverEmpty(pattern, 0, reached);
  return reached[pattern.size()] != 0;
}

}  // namespace quelplatform
