// The Gregorian calendar, extended to all years.
#pragma once

#include <cstdint>

namespace quelplatform {

constexpr bool isLeapYear(std::int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

/// Days of a month, which counts from 1.
constexpr int daysOfMonth(std::int64_t year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

constexpr bool isDay(std::int64_t year, int month, int day) {
  return month >= 1 && month <= 12 && day >= 1 && day <= daysOfMonth(year, month);
}

/// Days from 30 December 1899 to a day of a year from 1 on.
constexpr std::int64_t variantDay(std::int64_t year, int month, int day) {
  const std::int64_t before = year - 1;
  std::int64_t days = before * 365 + before / 4 - before / 100 + before / 400;
  for (int m = 1; m < month; ++m) days += daysOfMonth(year, m);
  constexpr std::int64_t kFirst = 693593;  // 30 December 1899, counted from 1 January of the year 1.
  return days + day - 1 - kFirst;
}

inline constexpr std::int64_t kFirstYear = 100;
inline constexpr std::int64_t kLastYear = 9999;

static_assert(variantDay(1899, 12, 30) == 0 && variantDay(100, 1, 1) == -657434 && variantDay(9999, 12, 31) == 2958465);

}  // namespace quelplatform
