// Comparing times field by field, and making one form of a time from another.
#pragma once

#include <cstdint>
#include <ctime>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/windows/fileTime.h"

class QUELCORE_API QmTimeInfo {
 public:
  /// Compares the fields that `mask` selects, in this order: year (64), month (32), day of the month (16), hour (4),
  /// minute (2), second (1). No other bit selects anything. -1 when the first one that differs is smaller in `a`, 1
  /// when it is larger; 0 when none differs. Fields are compared as they stand.
  static std::int32_t Compare(const SYSTEMTIME& a, const SYSTEMTIME& b, std::uint32_t mask);
  /// 0 when one of the two is null.
  static std::int32_t Compare(const std::tm* a, const std::tm* b, std::uint32_t mask);

  /// -1, 0 or 1, as `*a` is smaller than, equal to or larger than `*b`; 0 when one of the two is null.
  static std::int32_t Compare(const std::int64_t* a, const std::int64_t* b);

  /// The day of the year, counted from 0, of a day and a month counted from 1. Any numbers may be given: months beyond
  /// 13 count as 13, those below 1 as 1, and the result is the nearest that 32 bits hold. Required: in leap years a
  /// date in March gives one day less than the calendar; all other months are right.
  static std::int32_t DayFromYearBegining(std::int32_t day, std::int32_t month, std::int32_t year);

  /// For `first` 1 the week of the year in which the time lies, by its days of the week and of the year: weeks begin on
  /// Sunday, and the days before the first Sunday are week 1. -1 for any other `first`, for null, and for a day of the
  /// week or of the year that is none.
  static std::int32_t WeekFromYearBegining(std::int32_t first, const std::tm* time);

  /// Fills second, minute, hour, the days of month, week and year, month and year; the day of the year is that of
  /// `DayFromYearBegining`. Other fields stay. Null does nothing.
  static void SystemTimeToStructTM(const SYSTEMTIME& system, std::tm* time);

  /// Reads a date, a time or both, as people of the user's locale write them (`VarDateFromStr`); no time zone plays in.
  /// False, with `fileTime` as it was, for any other text and for years before 1601.
  /// Required: throws std::bad_alloc when memory is exhausted.
  static bool StrDateTime2FileTime(const qmWChar* text, FILETIME& fileTime);
};
