// The words of dates in a locale.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace quelplatform {

struct DateWord {
  enum Kind { Month, Morning, Afternoon, Skipped } kind;
  int month;  ///< From 1, for a month.
};

/// How a locale writes dates.
struct DateNames {
  std::u16string order;                      ///< The letters d, M and y as its short dates have them.
  std::map<std::u16string, DateWord> words;  ///< By what `plainWord` makes of them.
};

/// A word without regard to case, dots and blanks.
std::u16string plainWord(std::u16string_view word);

/// The Windows number that stands for the locale of the user, whatever it is.
inline constexpr std::uint32_t kUsersLocale = 0x0400;

/// Those of a locale, by its Windows number, and the English ones besides. They are asked of ICU once and stay for as
/// long as the process. Throws std::bad_alloc, also where it is not known for want of memory which locale the user has;
/// the next call tries again.
const DateNames& dateNamesOf(std::uint32_t locale);

/// The Windows number of the user's locale; 0 when it has none, and `kUsersLocale` when there is no memory to find out.
std::uint32_t userLocale() noexcept;

}  // namespace quelplatform
