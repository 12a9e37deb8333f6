#include "quelplatform/windows/dateNames.h"

#include <unicode/uchar.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <utility>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/ground/text/wideCase.h"
#include "quelplatform/windows/icuMemory.h"

namespace quelplatform {

namespace {

/// A date format of ICU, closed at the end of its life; null when ICU has none.
class DateFormat {
 public:
  DateFormat(const std::string& locale, UDateFormatStyle time, UDateFormatStyle date) {
    UErrorCode status = U_ZERO_ERROR;
    format_ = udat_open(time, date, locale.c_str(), nullptr, 0, nullptr, 0, &status);
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  }
  ~DateFormat() {
    if (format_ != nullptr) udat_close(format_);
  }
  DateFormat(const DateFormat&) = delete;
  DateFormat& operator=(const DateFormat&) = delete;

  std::u16string pattern() const {
    std::array<UChar, 256> text{};
    UErrorCode status = U_ZERO_ERROR;
    if (format_ == nullptr) return {};
    const std::int32_t length = udat_toPattern(format_, 0, text.data(), 256, &status);
    return U_FAILURE(status) ? std::u16string() : std::u16string(text.data(), static_cast<std::size_t>(length));
  }

  /// Calls `take(index, word)` with each of its words of one kind.
  template <typename Take>
  void forEachWord(UDateFormatSymbolType kind, Take take) const {
    if (format_ == nullptr) return;
    for (std::int32_t index = 0; index < udat_countSymbols(format_, kind); ++index) {
      std::array<UChar, 128> text{};
      UErrorCode status = U_ZERO_ERROR;
      const std::int32_t length = udat_getSymbols(format_, kind, index, text.data(), 128, &status);
      if (U_SUCCESS(status)) take(index, std::u16string_view(text.data(), static_cast<std::size_t>(length)));
    }
  }

 private:
  UDateFormat* format_ = nullptr;
};

void addWord(DateNames& names, std::u16string_view word, DateWord meaning) {
  std::u16string plain = plainWord(word);
  if (!plain.empty() && !u_isdigit(plain.front())) names.words.emplace(std::move(plain), meaning);
}

void addSymbols(const DateFormat& format, DateNames& names) {
  for (const auto kind : {UDAT_MONTHS, UDAT_SHORT_MONTHS, UDAT_STANDALONE_MONTHS, UDAT_STANDALONE_SHORT_MONTHS}) {
    format.forEachWord(kind, [&](int index, std::u16string_view word) {
      addWord(names, word, {DateWord::Month, index + 1});
    });
  }
  format.forEachWord(UDAT_AM_PMS, [&](int index, std::u16string_view word) {
    addWord(names, word, {index == 0 ? DateWord::Morning : DateWord::Afternoon, 0});
  });
  for (const auto kind :
       {UDAT_WEEKDAYS, UDAT_SHORT_WEEKDAYS, UDAT_STANDALONE_WEEKDAYS, UDAT_STANDALONE_SHORT_WEEKDAYS}) {
    format.forEachWord(kind, [&](int, std::u16string_view word) { addWord(names, word, {DateWord::Skipped, 0}); });
  }
}

bool isFieldLetter(char16_t unit) { return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z'); }

// The words that a pattern has beside its fields, such as "de" and "г.": letters between apostrophes, and letters that
// stand for no field.
void addLiterals(std::u16string_view pattern, DateNames& names) {
  std::u16string word;
  bool quoted = false;
  const auto finish = [&] {
    addWord(names, word, {DateWord::Skipped, 0});
    word.clear();
  };
  for (const char16_t unit : pattern) {
    if (unit == u'\'') {
      quoted = !quoted;
    } else if (u_isalpha(unit) && (quoted || !isFieldLetter(unit))) {
      word += unit;
    } else {
      finish();
    }
  }
  finish();
}

std::u16string orderOf(std::u16string_view pattern) {
  std::u16string order;
  for (const char16_t unit : pattern) {
    const char16_t letter = unit == u'L' ? u'M' : unit == u'u' ? u'y' : unit;
    if ((letter == u'd' || letter == u'M' || letter == u'y') && order.find(letter) == std::u16string::npos) {
      order += letter;
    }
  }
  return order.size() == 3 ? order : u"Mdy";
}

void addLocale(const std::string& locale, DateNames& names) {
  for (const auto style : {UDAT_SHORT, UDAT_MEDIUM, UDAT_LONG, UDAT_FULL}) {
    const DateFormat dates(locale, UDAT_NONE, style);
    addLiterals(dates.pattern(), names);
    if (style == UDAT_SHORT) addSymbols(dates, names);
    if (style == UDAT_SHORT && names.order.empty()) names.order = orderOf(dates.pattern());
    addLiterals(DateFormat(locale, style, style).pattern(), names);
  }
}

std::string localeName(std::uint32_t number) {
  std::array<char, ULOC_FULLNAME_CAPACITY> name{};
  UErrorCode status = U_ZERO_ERROR;
  uloc_getLocaleForLCID(number, name.data(), ULOC_FULLNAME_CAPACITY, &status);
  return std::string(U_FAILURE(status) || name[0] == '\0' ? "en_US" : name.data()) + "@calendar=gregorian";
}

DateNames namesFromIcu(const std::string& locale) {
  DateNames names;
  addLocale(locale, names);
  addLocale("en_US@calendar=gregorian", names);
  names.words.emplace(u"t", DateWord{DateWord::Skipped, 0});  // Between date and time of ISO 8601.
  return names;
}

// The names of the locales that were asked for. What stands here is never moved or changed.
class KnownNames {
 public:
  const DateNames& of(std::uint32_t locale) {
    const std::lock_guard lock(mutex_);
    const auto last = std::find_if(lastAsked_.begin(), lastAsked_.end(), [locale](const Asked& asked) {
      return asked.names != nullptr && asked.locale == locale;
    });
    if (last != lastAsked_.end()) return *last->names;
    const DateNames& names = find(locale);
    lastAsked_[next_++ % lastAsked_.size()] = {locale, &names};
    return names;
  }

 private:
  struct Asked {
    std::uint32_t locale;
    const DateNames* names;
  };

  // Many numbers mean one locale, and some none.
  const DateNames& find(std::uint32_t locale) {
    const IcuSession session;
    if (!session.isReady()) throw std::bad_alloc();
    std::string name = localeName(locale);
    const auto known = byName_.find(name);
    if (known != byName_.end()) return known->second;
    DateNames names = namesFromIcu(name);
    return byName_.emplace(std::move(name), std::move(names)).first->second;
  }

  std::mutex mutex_;
  std::map<std::string, DateNames> byName_;
  std::array<Asked, 8> lastAsked_{};
  std::size_t next_ = 0;
};

}  // namespace

std::u16string plainWord(std::u16string_view word) {
  std::u16string plain;
  for (const char16_t unit : word) {
    if (unit != u'.' && !u_isUWhiteSpace(unit)) plain += lowerUnit(unit);
  }
  return plain;
}

const DateNames& dateNamesOf(std::uint32_t locale) {
  if (locale == kUsersLocale) locale = userLocale();
  if (locale == kUsersLocale) throw std::bad_alloc();
  static Lasting<KnownNames> known;
  return known.get().of(locale);
}

std::uint32_t userLocale() noexcept {
  static std::atomic<bool> icuHasDefault{false};
  if (icuHasDefault) return uloc_getLCID(uloc_getDefault());
  const IcuSession session;
  if (!session.isReady()) return kUsersLocale;
  const std::uint32_t locale = uloc_getLCID(uloc_getDefault());
  icuHasDefault = true;
  return locale;
}

}  // namespace quelplatform
