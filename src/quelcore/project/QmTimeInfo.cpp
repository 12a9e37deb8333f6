#include "quelcore/project/QmTimeInfo.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <new>

#include "quelplatform/windows/dates.h"

namespace {

/// The mask bits of the fields, in the order in which they are compared.
constexpr std::array<std::uint32_t, 6> kFieldBits = {64, 32, 16, 4, 2, 1};

/// Year, month, day, hour, minute, second.
using Fields = std::array<int, kFieldBits.size()>;

Fields fieldsOf(const SYSTEMTIME& time) {
  return {time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
}

Fields fieldsOf(const std::tm& time) {
  return {time.tm_year, time.tm_mon, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec};
}

template <typename Value>
std::int32_t compareValues(Value a, Value b) {
  return a == b ? 0 : a < b ? -1 : 1;
}

std::int32_t compareFields(const Fields& a, const Fields& b, std::uint32_t mask) {
  for (std::size_t i = 0; i < kFieldBits.size(); ++i) {
    if ((mask & kFieldBits[i]) != 0 && a[i] != b[i]) return compareValues(a[i], b[i]);
  }
  return 0;
}

bool isLeapYear(std::int32_t year) { return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0); }

constexpr int kMarch = 3;

}  // namespace

std::int32_t QmTimeInfo::Compare(const SYSTEMTIME& a, const SYSTEMTIME& b, std::uint32_t mask) {
  return compareFields(fieldsOf(a), fieldsOf(b), mask);
}

std::int32_t QmTimeInfo::Compare(const std::tm* a, const std::tm* b, std::uint32_t mask) {
  return a == nullptr || b == nullptr ? 0 : compareFields(fieldsOf(*a), fieldsOf(*b), mask);
}

std::int32_t QmTimeInfo::Compare(const std::int64_t* a, const std::int64_t* b) {
  return a == nullptr || b == nullptr ? 0 : compareValues(*a, *b);
}

std::int32_t QmTimeInfo::DayFromYearBegining(std::int32_t day, std::int32_t month, std::int32_t year) {
  constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  std::int64_t days = std::int64_t{day} - 1;
  for (int m = 1; m < month && m <= static_cast<int>(kDays.size()); ++m) {
    days += kDays[static_cast<std::size_t>(m) - 1];
    // Required: the leap day counts behind March, so dates in March lack it.
    if (m == kMarch && isLeapYear(year)) ++days;
  }
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(days, Limits::min(), Limits::max()));
}

std::int32_t QmTimeInfo::WeekFromYearBegining(std::int32_t first, const std::tm* time) {
  if (first != 1 || time == nullptr) return -1;
  if (time->tm_wday < 0 || time->tm_wday > 6 || time->tm_yday < 0 || time->tm_yday > 365) return -1;
  std::array<char, 8> week{};
  std::strftime(week.data(), week.size(), "%U", time);
  return std::atoi(week.data()) + 1;
}

void QmTimeInfo::SystemTimeToStructTM(const SYSTEMTIME& system, std::tm* time) {
  if (time == nullptr) return;
  time->tm_sec = system.wSecond;
  time->tm_min = system.wMinute;
  time->tm_hour = system.wHour;
  time->tm_mday = system.wDay;
  time->tm_mon = system.wMonth - 1;
  time->tm_wday = system.wDayOfWeek;
  time->tm_yday = DayFromYearBegining(system.wDay, system.wMonth, system.wYear);
  time->tm_year = system.wYear - 1900;
}

bool QmTimeInfo::StrDateTime2FileTime(const qmWChar* text, FILETIME& fileTime) {
  double date = 0.0;
  const std::int32_t result = VarDateFromStr(text, GetUserDefaultLCID(), 0, &date);
  if (result == E_OUTOFMEMORY) throw std::bad_alloc();
  if (result < 0) return false;
  SYSTEMTIME time;
  return VariantTimeToSystemTime(date, &time) != 0 && SystemTimeToFileTime(&time, &fileTime) != 0;
}
