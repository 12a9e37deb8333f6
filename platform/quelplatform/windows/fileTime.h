// Times as the Windows-named services give and take them.
#pragma once

#include <cstdint>

/// A point in time: 100-nanosecond steps since the first moment of 1601, UTC, in two halves.
struct FILETIME {
  std::uint32_t dwLowDateTime;
  std::uint32_t dwHighDateTime;
};

/// A date and a time of day in fields. Months and days count from 1, days of the week from 0, which is Sunday.
struct SYSTEMTIME {
  std::uint16_t wYear;
  std::uint16_t wMonth;
  std::uint16_t wDayOfWeek;
  std::uint16_t wDay;
  std::uint16_t wHour;
  std::uint16_t wMinute;
  std::uint16_t wSecond;
  std::uint16_t wMilliseconds;
};

static_assert(sizeof(FILETIME) == 8 && sizeof(SYSTEMTIME) == 16);
