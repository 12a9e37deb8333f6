#include "quelcore/project/QmTimeInfo.h"

#include <gmock/gmock.h>
#include <unicode/uloc.h>

#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::testRandom;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

/// The bits of year, month, day, hour, minute, second.
constexpr std::array<std::uint32_t, 6> kBits = {64, 32, 16, 4, 2, 1};

using Fields = std::array<int, 6>;

SYSTEMTIME systemTime(const Fields& fields) {
  SYSTEMTIME time{};
  std::uint16_t* const places[] = {&time.wYear, &time.wMonth, &time.wDay, &time.wHour, &time.wMinute, &time.wSecond};
  for (std::size_t i = 0; i < 6; ++i) *places[i] = static_cast<std::uint16_t>(fields[i]);
  return time;
}

std::tm calendarTime(const Fields& fields) {
  std::tm time{};
  int* const places[] = {&time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec};
  for (std::size_t i = 0; i < 6; ++i) *places[i] = fields[i];
  return time;
}

std::int32_t compareBoth(const Fields& a, const Fields& b, std::uint32_t mask) {
  const std::tm first = calendarTime(a), second = calendarTime(b);
  const std::int32_t result = QmTimeInfo::Compare(&first, &second, mask);
  EXPECT_EQ(QmTimeInfo::Compare(systemTime(a), systemTime(b), mask), result);
  return result;
}

TEST(Compare, LooksAtEachFieldUnderItsBit) {
  for (std::size_t field = 0; field < 6; ++field) {
    Fields smaller = {10, 10, 10, 10, 10, 10}, larger = smaller;
    ++larger[field];
    for (std::uint32_t mask = 0; mask < 256; ++mask) {
      const bool selected = (mask & kBits[field]) != 0;
      EXPECT_EQ(compareBoth(smaller, larger, mask), selected ? -1 : 0);
      EXPECT_EQ(compareBoth(larger, smaller, mask), selected ? 1 : 0);
    }
  }
}

TEST(Compare, SelectsNothingByBit8AndBitsBeyondTheFields) {
  EXPECT_EQ(compareBoth({1, 1, 1, 1, 1, 1}, {2, 2, 2, 2, 2, 2}, 8 | ~0x7Fu), 0);
}

TEST(Compare, LetsTheFirstSelectedFieldThatDiffersDecide) {
  auto random = testRandom();
  for (int i = 0; i < 20000; ++i) {
    Fields a, b;
    for (std::size_t field = 0; field < 6; ++field) {
      a[field] = static_cast<int>(random() % 3);
      b[field] = static_cast<int>(random() % 3);
    }
    const auto mask = static_cast<std::uint32_t>(random() % 128);
    Fields selectedA{}, selectedB{};  // Fields that do not count are equal; arrays compare field by field.
    for (std::size_t field = 0; field < 6; ++field) {
      if ((mask & kBits[field]) == 0) continue;
      selectedA[field] = a[field];
      selectedB[field] = b[field];
    }
    ASSERT_EQ(compareBoth(a, b, mask), selectedA < selectedB ? -1 : selectedB < selectedA ? 1 : 0);
  }
}

TEST(Compare, LooksAtNoOtherField) {
  SYSTEMTIME a = systemTime({1, 1, 1, 1, 1, 1}), b = a;
  a.wDayOfWeek = 3;
  a.wMilliseconds = 9;
  EXPECT_EQ(QmTimeInfo::Compare(a, b, 0xFFFFFFFF), 0);
  std::tm c = calendarTime({1, 1, 1, 1, 1, 1}), d = c;
  c.tm_wday = c.tm_yday = c.tm_isdst = 1;
  EXPECT_EQ(QmTimeInfo::Compare(&c, &d, 0xFFFFFFFF), 0);
}

TEST(Compare, ComparesNegativeFieldsAsTheyStand) {
  const std::tm a = calendarTime({-5, 0, 0, 0, 0, 0}), b = calendarTime({3, 0, 0, 0, 0, 0});
  EXPECT_EQ(QmTimeInfo::Compare(&a, &b, 64), -1);
}

TEST(Compare, Compares64Bits) {
  const std::int64_t least = std::numeric_limits<std::int64_t>::min(), most = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(QmTimeInfo::Compare(&least, &most), -1);
  EXPECT_EQ(QmTimeInfo::Compare(&most, &least), 1);
  EXPECT_EQ(QmTimeInfo::Compare(&most, &most), 0);
}

TEST(Compare, Gives0ForNull) {
  const std::tm time{};
  const std::tm* noTime = nullptr;
  const std::int64_t number = 5, *noNumber = nullptr;
  EXPECT_EQ(QmTimeInfo::Compare(noTime, &time, 127), 0);
  EXPECT_EQ(QmTimeInfo::Compare(&time, noTime, 127), 0);
  EXPECT_EQ(QmTimeInfo::Compare(noNumber, &number), 0);
  EXPECT_EQ(QmTimeInfo::Compare(&number, noNumber), 0);
}

TEST(DayFromYearBegining, CountsFrom0) {
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 1, 2016), 0);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 3, 2016), 59);  // The calendar has 60.
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 4, 2016), 91);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 3, 2015), 59);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(31, 12, 1900), 364);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(31, 12, 2000), 365);
}

TEST(DayFromYearBegining, IsTheCalendarsDayButInMarchOfLeapYears) {
  int leapDays = 0;
  for (int year = 1600; year <= 2400; ++year) {
    std::tm day{};
    day.tm_year = year - 1900;
    day.tm_mday = 1;
    for (std::time_t at = timegm(&day);; at += 86400) {
      std::tm calendar{};
      gmtime_r(&at, &calendar);
      if (calendar.tm_year + 1900 != year) break;
      std::tm last{};
      last.tm_year = calendar.tm_year;
      last.tm_mon = 11;
      last.tm_mday = 31;
      static int knownYear = 0, knownLength = 0;
      if (knownYear != year) {
        const std::time_t end = timegm(&last);
        gmtime_r(&end, &last);
        knownYear = year;
        knownLength = last.tm_yday + 1;
      }
      const bool late = knownLength == 366 && calendar.tm_mon == 2;
      leapDays += late ? 1 : 0;
      ASSERT_EQ(QmTimeInfo::DayFromYearBegining(calendar.tm_mday, calendar.tm_mon + 1, year),
                calendar.tm_yday - (late ? 1 : 0))
          << year << "-" << calendar.tm_mon + 1 << "-" << calendar.tm_mday;
    }
  }
  EXPECT_EQ(leapDays, 195 * 31);
}

TEST(DayFromYearBegining, TakesAnyNumbers) {
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 13, 2015), 365);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 14, 2015), 365);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, kMost, 2016), 366);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(5, 0, 2015), 4);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(5, kLeast, kLeast), 4);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(-3, 2, 2015), 27);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(kLeast, 1, 2015), kLeast);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(kMost, 12, 2015), kMost);
  EXPECT_EQ(QmTimeInfo::DayFromYearBegining(1, 4, -4), 91);
}

TEST(WeekFromYearBegining, CountsSundaysBeforeIt) {
  for (int year = 1990; year < 2030; ++year) {
    std::tm first{};
    first.tm_year = year - 1900;
    first.tm_mday = 1;
    std::time_t at = timegm(&first);
    for (int day = 0, sundays = 0; day < 366; ++day, at += 86400) {
      std::tm time{};
      gmtime_r(&at, &time);
      if (time.tm_yday != day) break;
      if (time.tm_wday == 0) ++sundays;
      ASSERT_EQ(QmTimeInfo::WeekFromYearBegining(1, &time), sundays + 1) << year << " day " << day;
    }
  }
}

TEST(WeekFromYearBegining, IsMinus1ForAnythingElse) {
  const std::tm sound{};
  for (const std::int32_t first : {0, 2, -1, kMost, kLeast}) {
    EXPECT_EQ(QmTimeInfo::WeekFromYearBegining(first, &sound), -1);
  }
  EXPECT_EQ(QmTimeInfo::WeekFromYearBegining(1, nullptr), -1);
  for (const auto& [weekday, yearday] :
       {std::pair(-1, 0), {7, 0}, {0, -1}, {0, 366}, {kMost, kMost}, {kLeast, kLeast}}) {
    std::tm wrong{};
    wrong.tm_wday = weekday;
    wrong.tm_yday = yearday;
    EXPECT_EQ(QmTimeInfo::WeekFromYearBegining(1, &wrong), -1) << weekday << " " << yearday;
  }
}

TEST(SystemTimeToStructTM, FillsItsFieldsAndLeavesTheOthers) {
  std::tm time;
  std::memset(&time, 0x5A, sizeof(time));
  const int isdst = time.tm_isdst;
  const SYSTEMTIME system = {2016, 3, 2, 1, 13, 14, 15, 999};
  QmTimeInfo::SystemTimeToStructTM(system, &time);
  EXPECT_EQ(time.tm_year, 116);
  EXPECT_EQ(time.tm_mon, 2);
  EXPECT_EQ(time.tm_mday, 1);
  EXPECT_EQ(time.tm_wday, 2);
  EXPECT_EQ(time.tm_hour, 13);
  EXPECT_EQ(time.tm_min, 14);
  EXPECT_EQ(time.tm_sec, 15);
  EXPECT_EQ(time.tm_yday, 59);
  EXPECT_EQ(time.tm_isdst, isdst);
  QmTimeInfo::SystemTimeToStructTM(system, nullptr);
}

TEST(SystemTimeToStructTM, TakesFieldsThatAreNoDate) {
  std::tm time{};
  QmTimeInfo::SystemTimeToStructTM({0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, &time);
  EXPECT_EQ(time.tm_mon, 0xFFFE);
  EXPECT_EQ(time.tm_yday, 365 + 0xFFFE);
  QmTimeInfo::SystemTimeToStructTM({}, &time);
  EXPECT_EQ(time.tm_mon, -1);
  EXPECT_EQ(time.tm_yday, -1);
}

/// The user's locale while it lives.
class UserLocale {
 public:
  explicit UserLocale(const char* name) : before_(uloc_getDefault()) { set(name); }
  ~UserLocale() { set(before_.c_str()); }
  UserLocale(const UserLocale&) = delete;
  UserLocale& operator=(const UserLocale&) = delete;

 private:
  static void set(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(name, &status);
  }
  std::string before_;
};

// Seconds since 1970 of the file time; -1 when the text is no date.
std::int64_t secondsOf(const qmWChar* text) {
  FILETIME time{7, 7};
  if (!QmTimeInfo::StrDateTime2FileTime(text, time)) {
    EXPECT_EQ(time.dwLowDateTime, 7u);
    EXPECT_EQ(time.dwHighDateTime, 7u);
    return -1;
  }
  const std::uint64_t ticks = (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
  EXPECT_EQ(ticks % 10000000, 0u);
  return static_cast<std::int64_t>(ticks / 10000000) - 11644473600;
}

TEST(StrDateTime2FileTime, ReadsDatesOfTheUsersLocale) {
  constexpr std::int64_t kMarch4 = 1772582400;  // 2026-03-04 00:00:00
  constexpr std::int64_t kApril3 = 1775174400;
  {
    const UserLocale locale("de_DE");
    EXPECT_EQ(secondsOf(u"04.03.2026"), kMarch4);
    EXPECT_EQ(secondsOf(u"4. März 2026 14:03:07"), kMarch4 + 50587);
  }
  {
    const UserLocale locale("en_US");
    EXPECT_EQ(secondsOf(u"04/03/2026"), kApril3);
    EXPECT_EQ(secondsOf(u"3/4/2026 2:03:07 PM"), kMarch4 + 50587);
  }
  {
    const UserLocale locale("ja_JP");
    EXPECT_EQ(secondsOf(u"2026/03/04 14:03:07"), kMarch4 + 50587);
    EXPECT_EQ(secondsOf(u"2026年3月4日"), kMarch4);
  }
}

TEST(StrDateTime2FileTime, RefusesTextsThatAreNoDatesAndDatesBefore1601) {
  for (const qmWChar* text : {static_cast<const qmWChar*>(nullptr), u"", u"yesterday", u"2026-02-30", u"1600-12-31",
                              u"12345678901234567890"}) {
    EXPECT_EQ(secondsOf(text), -1);
  }
  EXPECT_EQ(secondsOf(u"1601-01-01"), -11644473600);
}

TEST(StrDateTime2FileTime, ThrowsWhenMemoryIsExhausted) {
  const UserLocale locale("nb_NO");  // whose words are not known yet
  EXPECT_GT(failEachNew(
                [] {
                  FILETIME time{};
                  try {
                    return QmTimeInfo::StrDateTime2FileTime(u"2026-03-04", time);
                  } catch (const std::bad_alloc&) {
                    return false;
                  }
                },
                [](bool result, bool failed) { EXPECT_EQ(result, !failed); }),
            10);
}

}  // namespace
