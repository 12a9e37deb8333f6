#include "quelplatform/windows/dates.h"

#include <cmath>
#include <ctime>
#include <new>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/calendar.h"
#include "quelplatform/windows/dateText.h"
#include "quelplatform/windows/fileTicks.h"

namespace {

constexpr LCID kEnglishUnitedStates = 0x0409;
constexpr LCID kPlainLocale = 0x007F;
constexpr std::int64_t kSecondsPerDay = 86400;

int currentYear() {
  const std::time_t now = std::time(nullptr);
  std::tm fields{};
  localtime_r(&now, &fields);
  return fields.tm_year + 1900;
}

// Day and seconds since its midnight, to the nearest second; a last second that rounds up is the next day.
struct Moment {
  std::int64_t day;
  std::int64_t second;
};

Moment momentOf(double date) {
  const double day = std::trunc(date);
  Moment moment{static_cast<std::int64_t>(day), std::llround(std::abs(date - day) * kSecondsPerDay)};
  if (moment.second == kSecondsPerDay) moment = {moment.day + 1, 0};
  return moment;
}

// The year that the day lies in: an estimate, mended.
std::int64_t yearOf(std::int64_t day) {
  using quelplatform::variantDay;
  std::int64_t year = 1899 + day / 366;
  while (variantDay(year, 1, 1) > day) --year;
  while (variantDay(year + 1, 1, 1) <= day) ++year;
  return year;
}

SYSTEMTIME fieldsOf(const Moment& moment) {
  const std::int64_t year = yearOf(moment.day);
  int month = 1;
  while (month < 12 && quelplatform::variantDay(year, month + 1, 1) <= moment.day) ++month;
  SYSTEMTIME time{};
  time.wYear = static_cast<std::uint16_t>(year);
  time.wMonth = static_cast<std::uint16_t>(month);
  time.wDay = static_cast<std::uint16_t>(moment.day - quelplatform::variantDay(year, month, 1) + 1);
  time.wDayOfWeek = static_cast<std::uint16_t>(((moment.day + 6) % 7 + 7) % 7);  // Day 0 was a Saturday.
  time.wHour = static_cast<std::uint16_t>(moment.second / 3600);
  time.wMinute = static_cast<std::uint16_t>(moment.second / 60 % 60);
  time.wSecond = static_cast<std::uint16_t>(moment.second % 60);
  return time;
}

bool isFileTime(const SYSTEMTIME& time) {
  return time.wYear >= 1601 && time.wYear <= 30827 && quelplatform::isDay(time.wYear, time.wMonth, time.wDay) &&
         time.wHour <= 23 && time.wMinute <= 59 && time.wSecond <= 59 && time.wMilliseconds <= 999;
}

}  // namespace

LCID GetUserDefaultLCID() noexcept {
  const LCID locale = quelplatform::userLocale();
  return locale == 0 || locale == kPlainLocale ? kEnglishUnitedStates : locale;
}

std::int32_t VarDateFromStr(const qmWChar* text, LCID locale, std::uint32_t flags, double* date) noexcept try {
  if (date == nullptr || flags != 0) return E_INVALIDARG;
  if (text == nullptr) return DISP_E_TYPEMISMATCH;
  const auto found = quelplatform::variantDateOf(text, quelplatform::dateNamesOf(locale), currentYear());
  if (!found) return DISP_E_TYPEMISMATCH;
  *date = *found;
  return S_OK;
} catch (const std::bad_alloc&) {
  return E_OUTOFMEMORY;
}

std::int32_t VariantTimeToSystemTime(double date, SYSTEMTIME* time) noexcept {
  constexpr auto kFirst = static_cast<double>(quelplatform::variantDay(quelplatform::kFirstYear, 1, 1));
  constexpr auto kEnd = static_cast<double>(quelplatform::variantDay(quelplatform::kLastYear, 12, 31) + 1);
  if (time == nullptr || !(date > kFirst - 1 && date < kEnd)) return 0;
  const Moment moment = momentOf(date);
  if (moment.day > quelplatform::variantDay(quelplatform::kLastYear, 12, 31)) return 0;
  *time = fieldsOf(moment);
  return 1;
}

std::int32_t SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime) noexcept {
  if (time == nullptr || fileTime == nullptr || !isFileTime(*time)) {
    quelplatform::setLastError(quelplatform::kErrorInvalidParameter);
    return 0;
  }
  const std::int64_t days =
      quelplatform::variantDay(time->wYear, time->wMonth, time->wDay) - quelplatform::variantDay(1601, 1, 1);
  const std::int64_t seconds = days * kSecondsPerDay + time->wHour * 3600 + time->wMinute * 60 + time->wSecond;
  *fileTime = quelplatform::fileTimeOf(seconds * quelplatform::kTicksPerSecond + time->wMilliseconds * 10'000);
  return 1;
}
