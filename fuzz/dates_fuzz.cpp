// Dates as people write them. Input: a byte for the locale, then the text in UTF-8.
//
// Losses: fractions of a second; of a moment the way in which it was written.
#include <array>
#include <cmath>
#include <cstdio>

#include "fuzz/support/Fuzzing.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/dateText.h"
#include "quelplatform/windows/dates.h"

namespace {

/// English, German, French, Japanese, Arabic, Thai; and one that no system has.
constexpr std::array<LCID, 7> kLocales = {0x0409, 0x0407, 0x040C, 0x0411, 0x0401, 0x041E, 0xFFFF};

const quelplatform::DateNames& namesOf(std::size_t locale) {
  static const auto names = [] {
    std::array<quelplatform::DateNames, kLocales.size()> all;
    for (std::size_t i = 0; i < all.size(); ++i) all[i] = quelplatform::dateNamesOf(kLocales[i]);
    return all;
  }();
  return names[locale];
}

std::int64_t secondsOf(const SYSTEMTIME& time) { return time.wHour * 3600 + time.wMinute * 60 + time.wSecond; }

/// The fields of a date, written as year, month and day, read as the same date.
void requireTrip(double date, const quelplatform::DateNames& names) {
  SYSTEMTIME time = {};
  quelfuzz::require(VariantTimeToSystemTime(date, &time) == 1, "a date that was read has fields");
  quelfuzz::require(time.wYear >= 100 && time.wYear <= 9999 && time.wMonth >= 1 && time.wMonth <= 12 &&
                        time.wDay >= 1 && time.wDay <= 31 && time.wDayOfWeek <= 6 && secondsOf(time) < 86400,
                    "the fields are those of a calendar");
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", time.wYear, time.wMonth, time.wDay, time.wHour,
                time.wMinute, time.wSecond);
  const auto again = quelplatform::variantDateOf(toWide(text), names, 2026);
  quelfuzz::require(again.has_value(), "the fields of a date are a date");
  SYSTEMTIME same = {};
  VariantTimeToSystemTime(*again, &same);
  quelfuzz::require(same.wYear == time.wYear && same.wMonth == time.wMonth && same.wDay == time.wDay &&
                        same.wDayOfWeek == time.wDayOfWeek && secondsOf(same) == secondsOf(time),
                    "the fields of a date read as that date");
  FILETIME fileTime = {};
  quelfuzz::require((SystemTimeToFileTime(&time, &fileTime) == 1) == (time.wYear >= 1601), "file times begin in 1601");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quelfuzz::Input in(quelfuzz::bytesOf(data, size));
  const std::size_t locale = in.byte() % kLocales.size();
  const qmWString text = toWide(std::string(in.rest()).c_str());
  const quelplatform::DateNames& names = namesOf(locale);
  const quelfuzz::MemoryWatch watch;
  const auto date = quelplatform::variantDateOf(text, names, 2026);
  // A character of its own is a token, and a word has a normal form.
  watch.requireAtMost(quelfuzz::kTimesFile, 60, size);
  if (date) requireTrip(*date, names);
  if (!date) quelfuzz::require(!quelplatform::variantDateOf(text, names, 2026), "what is no date stays none");

  SYSTEMTIME time = {};
  const double any = in.real();
  if (VariantTimeToSystemTime(any, &time) == 1) requireTrip(any, names);
  return 0;
}
