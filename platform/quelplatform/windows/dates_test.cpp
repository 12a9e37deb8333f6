#include "quelplatform/windows/dates.h"

#include <gmock/gmock.h>
#include <unicode/uloc.h>

#include <cmath>
#include <ctime>
#include <limits>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/calendar.h"
#include "quelplatform/windows/windows.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::testRandom;

SYSTEMTIME fields(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int milliseconds = 0) {
  const auto word = [](int value) { return static_cast<std::uint16_t>(value); };
  return {word(year), word(month), 0, word(day), word(hour), word(minute), word(second), word(milliseconds)};
}

std::uint64_t ticks(const FILETIME& time) { return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; }

// The C library's idea of a moment.
std::time_t unixTime(const SYSTEMTIME& time) {
  std::tm fieldsOfC{};
  fieldsOfC.tm_year = time.wYear - 1900;
  fieldsOfC.tm_mon = time.wMonth - 1;
  fieldsOfC.tm_mday = time.wDay;
  fieldsOfC.tm_hour = time.wHour;
  fieldsOfC.tm_min = time.wMinute;
  fieldsOfC.tm_sec = time.wSecond;
  return timegm(&fieldsOfC);
}

TEST(VariantTimeToSystemTime, AgreesWithTheCLibraryOnEveryDay) {
  for (std::int64_t day = -657434; day <= 2958465; ++day) {
    SYSTEMTIME time{};
    ASSERT_EQ(VariantTimeToSystemTime(static_cast<double>(day), &time), 1) << day;
    const std::time_t seconds = (day - 25569) * 86400;
    std::tm expected{};
    gmtime_r(&seconds, &expected);
    ASSERT_EQ(time.wYear, expected.tm_year + 1900) << day;
    ASSERT_EQ(time.wMonth, expected.tm_mon + 1) << day;
    ASSERT_EQ(time.wDay, expected.tm_mday) << day;
    ASSERT_EQ(time.wDayOfWeek, expected.tm_wday) << day;
    ASSERT_EQ(time.wHour + time.wMinute + time.wSecond + time.wMilliseconds, 0) << day;
  }
}

TEST(VariantTimeToSystemTime, CountsTheTimeOfDayForwardInDaysBeforeTheFirst) {
  SYSTEMTIME time{};
  EXPECT_EQ(VariantTimeToSystemTime(-1.25, &time), 1);
  EXPECT_EQ(time.wYear, 1899);
  EXPECT_EQ(time.wDay, 29);
  EXPECT_EQ(time.wHour, 6);
  EXPECT_EQ(VariantTimeToSystemTime(1.25, &time), 1);
  EXPECT_EQ(time.wDay, 31);
  EXPECT_EQ(time.wHour, 6);
}

TEST(VariantTimeToSystemTime, GivesEverySecondOfADayBack) {
  for (const int day : {-657434, -1, 0, 1, 46347, 2958465}) {
    for (int second = 0; second < 86400; ++second) {
      const double part = second / 86400.0;
      SYSTEMTIME time{};
      ASSERT_EQ(VariantTimeToSystemTime(day < 0 ? day - part : day + part, &time), 1);
      ASSERT_EQ((time.wHour * 60 + time.wMinute) * 60 + time.wSecond, second) << day;
    }
  }
}

TEST(VariantTimeToSystemTime, RoundsToTheNearestSecondAcrossMidnight) {
  SYSTEMTIME time{};
  EXPECT_EQ(VariantTimeToSystemTime(46347 - 0.4 / 86400, &time), 1);
  EXPECT_EQ(time.wSecond, 0);
  EXPECT_EQ(time.wHour, 0);
  EXPECT_EQ(VariantTimeToSystemTime(46347 - 0.6 / 86400, &time), 1);
  EXPECT_EQ(time.wSecond, 59);
  EXPECT_EQ(VariantTimeToSystemTime(-1 - (1 - 0.4 / 86400), &time), 1);  // A moment before midnight of 30 December.
  EXPECT_EQ(time.wDay, 30);
}

TEST(VariantTimeToSystemTime, RefusesWhatLiesOutside) {
  for (const double date :
       {-657435.0, 2958466.0, 2958465.9999999, 1e300, -1e300, std::nan(""), std::numeric_limits<double>::infinity()}) {
    SYSTEMTIME time = fields(1, 2, 3);
    EXPECT_EQ(VariantTimeToSystemTime(date, &time), 0) << date;
    EXPECT_EQ(time.wDay, 3);
  }
  EXPECT_EQ(VariantTimeToSystemTime(0.0, nullptr), 0);
}

TEST(SystemTimeToFileTime, CountsFrom1601) {
  FILETIME time{1, 1};
  const SYSTEMTIME first = fields(1601, 1, 1);
  EXPECT_EQ(SystemTimeToFileTime(&first, &time), 1);
  EXPECT_EQ(ticks(time), 0u);
  const SYSTEMTIME epoch = fields(1970, 1, 1, 0, 0, 0, 1);
  EXPECT_EQ(SystemTimeToFileTime(&epoch, &time), 1);
  EXPECT_EQ(ticks(time), 116444736000010000u);
}

TEST(SystemTimeToFileTime, AgreesWithTheCLibraryOnRandomMoments) {
  auto random = testRandom();
  const auto below = [&](unsigned end) { return static_cast<int>(random() % end); };
  for (int i = 0; i < 20000; ++i) {
    const SYSTEMTIME time = fields(1601 + below(28000), 1 + below(12), 1 + below(28), below(24), below(60), below(60));
    FILETIME result{};
    ASSERT_EQ(SystemTimeToFileTime(&time, &result), 1);
    ASSERT_EQ(static_cast<std::int64_t>(ticks(result) / 10000000) - 11644473600, unixTime(time));
  }
}

TEST(SystemTimeToFileTime, RefusesFieldsThatAreNoMoment) {
  for (const SYSTEMTIME& wrong :
       {fields(1600, 12, 31), fields(30828, 1, 1), fields(2001, 0, 1), fields(2001, 13, 1), fields(2001, 2, 29),
        fields(2001, 4, 31), fields(2001, 1, 0), fields(2001, 1, 1, 24), fields(2001, 1, 1, 0, 60),
        fields(2001, 1, 1, 0, 0, 60), fields(2001, 1, 1, 0, 0, 0, 1000), fields(0, 0, 0)}) {
    FILETIME time{7, 7};
    quelplatform::setLastError(0);
    EXPECT_EQ(SystemTimeToFileTime(&wrong, &time), 0) << wrong.wYear << " " << wrong.wMonth << " " << wrong.wDay;
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(time.dwLowDateTime, 7u);
  }
  const SYSTEMTIME right = fields(2000, 2, 29, 23, 59, 59, 999);
  FILETIME time{};
  EXPECT_EQ(SystemTimeToFileTime(&right, &time), 1);
  EXPECT_EQ(SystemTimeToFileTime(nullptr, &time), 0);
  EXPECT_EQ(SystemTimeToFileTime(&right, nullptr), 0);
}

TEST(GetUserDefaultLCID, IsThatOfTheUsersLocale) {
  const std::string before = uloc_getDefault();
  for (const auto& [name, number] : {std::pair("de_DE", 0x0407u),
                                     {"en_US", 0x0409u},
                                     {"ja_JP", 0x0411u},
                                     {"fr_FR", 0x040Cu},
                                     {"en_US_POSIX", 0x0409u}}) {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(name, &status);
    EXPECT_EQ(GetUserDefaultLCID(), number) << name;
  }
  UErrorCode status = U_ZERO_ERROR;
  uloc_setDefault(before.c_str(), &status);
}

}  // namespace
