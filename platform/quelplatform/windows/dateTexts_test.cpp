// Texts that are dates in one locale or another, and texts that are none.
#include <gmock/gmock.h>
#include <unicode/udat.h>
#include <unicode/uloc.h>

#include <array>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/calendar.h"
#include "quelplatform/windows/dates.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::testRandom;

constexpr LCID kGerman = 0x0407, kAmerican = 0x0409, kBritish = 0x0809, kFrench = 0x040C, kSpanish = 0x0C0A,
               kJapanese = 0x0411, kChinese = 0x0804, kKorean = 0x0412, kRussian = 0x0419, kFinnish = 0x040B,
               kHungarian = 0x040E, kSwedish = 0x041D, kNorwegian = 0x0414;

std::optional<double> read(const qmWString& text, LCID locale) {
  double date = 0.25;
  if (VarDateFromStr(text.c_str(), locale, 0, &date) == S_OK) return date;
  EXPECT_EQ(date, 0.25);
  return std::nullopt;
}

double moment(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  const auto days = static_cast<double>(quelplatform::variantDay(year, month, day));
  const double part = ((hour * 60 + minute) * 60 + second) / 86400.0;
  return days < 0 ? days - part : days + part;
}

int thisYear() {
  const std::time_t now = std::time(nullptr);
  return std::localtime(&now)->tm_year + 1900;
}

TEST(VarDateFromStr, ReadsThreeNumbersInTheOrderOfTheLocale) {
  EXPECT_EQ(read(u"03.04.2026", kGerman), moment(2026, 4, 3));
  EXPECT_EQ(read(u"03/04/2026", kBritish), moment(2026, 4, 3));
  EXPECT_EQ(read(u"03/04/2026", kAmerican), moment(2026, 3, 4));
  EXPECT_EQ(read(u"26-03-04", kSwedish), moment(2026, 3, 4));
  EXPECT_EQ(read(u"2026. 03. 04.", kHungarian), moment(2026, 3, 4));
  EXPECT_EQ(read(u"2026/03/04", kJapanese), moment(2026, 3, 4));
}

TEST(VarDateFromStr, TakesAFirstNumberOfThreeDigitsOrMoreForTheYear) {
  for (const LCID locale : {kGerman, kAmerican, kFrench, kChinese}) {
    EXPECT_EQ(read(u"2026-03-04", locale), moment(2026, 3, 4));
    EXPECT_EQ(read(u"2026-03-04T05:06:07", locale), moment(2026, 3, 4, 5, 6, 7));
  }
}

TEST(VarDateFromStr, TriesOtherOrdersWhereThatOfTheLocaleGivesNoDate) {
  EXPECT_EQ(read(u"25/04/2026", kAmerican), moment(2026, 4, 25));
  EXPECT_EQ(read(u"04.25.2026", kGerman), moment(2026, 4, 25));
  EXPECT_EQ(read(u"31.12.99", kSwedish), moment(1999, 12, 31));
  EXPECT_EQ(read(u"31.04.2026", kGerman), std::nullopt);
}

TEST(VarDateFromStr, ReadsMonthsByName) {
  EXPECT_EQ(read(u"21. November 2026", kGerman), moment(2026, 11, 21));
  EXPECT_EQ(read(u"samstag, 21. märz 2026", kGerman), moment(2026, 3, 21));
  EXPECT_EQ(read(u"Mär 21 2026", kGerman), moment(2026, 3, 21));
  EXPECT_EQ(read(u"21-Nov-2026", kGerman), moment(2026, 11, 21));
  EXPECT_EQ(read(u"March 4, 2026", kRussian), moment(2026, 3, 4));
  EXPECT_EQ(read(u"4 de marzo de 2026", kSpanish), moment(2026, 3, 4));
  EXPECT_EQ(read(u"4 марта 2026 г.", kRussian), moment(2026, 3, 4));
  EXPECT_EQ(read(u"1 févr. 2026", kFrench), moment(2026, 2, 1));
  EXPECT_EQ(read(u"2026 Nov 21", kAmerican), moment(2026, 11, 21));
  EXPECT_EQ(read(u"NOVEMBER 2026", kAmerican), moment(2026, 11, 1));
  EXPECT_EQ(read(u"21 Nov", kAmerican), moment(thisYear(), 11, 21));
}

TEST(VarDateFromStr, ReadsEastAsianDates) {
  EXPECT_EQ(read(u"2026年11月21日", kJapanese), moment(2026, 11, 21));
  EXPECT_EQ(read(u"2026年11月21日 下午3:05", kChinese), moment(2026, 11, 21, 15, 5));
  EXPECT_EQ(read(u"2026. 11. 21. 오후 3:05:07", kKorean), moment(2026, 11, 21, 15, 5, 7));
  EXPECT_EQ(read(u"２０２６/１１/２１", kJapanese), moment(2026, 11, 21));
}

TEST(VarDateFromStr, ReadsTimesAloneAndWithDates) {
  EXPECT_EQ(read(u"14:03", kGerman), moment(1899, 12, 30, 14, 3));
  EXPECT_EQ(read(u"2:03:07 PM", kAmerican), moment(1899, 12, 30, 14, 3, 7));
  EXPECT_EQ(read(u"2 pm", kAmerican), moment(1899, 12, 30, 14));
  EXPECT_EQ(read(u"12:30 AM", kAmerican), moment(1899, 12, 30, 0, 30));
  EXPECT_EQ(read(u"12:30 p.m.", kAmerican), moment(1899, 12, 30, 12, 30));
  EXPECT_EQ(read(u"3:05 p. m.", kSpanish), moment(1899, 12, 30, 15, 5));
  EXPECT_EQ(read(u"21.11.2026 14:03:07", kGerman), moment(2026, 11, 21, 14, 3, 7));
  EXPECT_EQ(read(u"14:03 21.11.2026", kGerman), moment(2026, 11, 21, 14, 3));
  EXPECT_EQ(read(u"21.11.2026 klo 14.03.07", kFinnish), moment(2026, 11, 21, 14, 3, 7));
  EXPECT_EQ(read(u"  21.11.2026   14:03  ", kGerman), moment(2026, 11, 21, 14, 3));
  EXPECT_EQ(read(u"1.1.1600 6:00", kGerman), moment(1600, 1, 1, 6));
}

TEST(VarDateFromStr, FillsInTheCurrentYearOrTheFirstDay) {
  EXPECT_EQ(read(u"21.11.", kGerman), moment(thisYear(), 11, 21));
  EXPECT_EQ(read(u"11/21", kAmerican), moment(thisYear(), 11, 21));
  EXPECT_EQ(read(u"21/11", kAmerican), moment(thisYear(), 11, 21));
  EXPECT_EQ(read(u"11/2026", kAmerican), moment(2026, 11, 1));
  EXPECT_EQ(read(u"2026-11", kAmerican), moment(2026, 11, 1));
}

TEST(VarDateFromStr, PutsYearsOfTwoDigitsBetween1930And2029) {
  EXPECT_EQ(read(u"1.2.29", kGerman), moment(2029, 2, 1));
  EXPECT_EQ(read(u"1.2.30", kGerman), moment(1930, 2, 1));
  EXPECT_EQ(read(u"1.2.00", kGerman), moment(2000, 2, 1));
  EXPECT_EQ(read(u"1.2.0029", kGerman), std::nullopt);  // The year 29 is too early.
  EXPECT_EQ(read(u"1.2.0100", kGerman), moment(100, 2, 1));
}

TEST(VarDateFromStr, RefusesTextsThatAreNoDates) {
  for (const qmWChar* text : {u"",
                              u" ",
                              u"hello",
                              u"5",
                              u"2026",
                              u"29.02.2026",
                              u"32.1.2026",
                              u"0.1.2026",
                              u"1.13.2026 x",
                              u"24:00",
                              u"12:60",
                              u"12:00:60",
                              u"13:00 AM",
                              u"1.2.3.4",
                              u"1.2.2026 5",
                              u"1.2.2026 25.00",
                              u"1.2.20266",
                              u"99999999999999999999",
                              u"1.2.2026 14:03 15:04",
                              u"14:03:07:09",
                              u":",
                              u"14:",
                              u"Nov Dec 2026",
                              u"Nov",
                              u"PM",
                              u"1.2.2026 PM",
                              u"1.2.2026 14:03 AM PM",
                              u"1+2+2026",
                              u"1.2.2026;",
                              u"\xD800",
                              u"1.2.\xDC00",
                              u"1.2.2026 \U0001F600",
                              u"Novembre21 2026",
                              u"21 xNov 2026",
                              u"1.2.2026 14:03Z",
                              u"0,5",
                              u"0x10"}) {
    EXPECT_EQ(read(text, kGerman), std::nullopt) << toNarrow(text);
  }
}

TEST(VarDateFromStr, RefusesArgumentsThatAreNone) {
  double date = 0.25;
  EXPECT_EQ(VarDateFromStr(nullptr, kGerman, 0, &date), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(VarDateFromStr(u"1.2.2026", kGerman, 1, &date), E_INVALIDARG);
  EXPECT_EQ(VarDateFromStr(u"1.2.2026", kGerman, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(date, 0.25);
}

TEST(VarDateFromStr, TakesEnglishForALocaleThatThereIsNot) {
  for (const LCID locale : {0u, 0x007Fu, 0xFFFFFFFFu}) EXPECT_EQ(read(u"3/4/2026", locale), moment(2026, 3, 4));
}

qmWString formatted(const std::string& locale, UDateFormatStyle time, UDateFormatStyle date, double at) {
  UErrorCode status = U_ZERO_ERROR;
  const UChar zone[] = u"UTC";
  UDateFormat* format = udat_open(time, date, (locale + "@calendar=gregorian").c_str(), zone, 3, nullptr, 0, &status);
  std::array<UChar, 256> text{};
  const double milliseconds = (at - 25569.0) * 86400000.0;
  const std::int32_t length = udat_format(format, std::round(milliseconds), text.data(), 256, nullptr, &status);
  udat_close(format);
  EXPECT_TRUE(U_SUCCESS(status));
  return qmWString(text.data(), static_cast<std::size_t>(length));
}

// What the locale's own formats write is read back, in every style that has the whole year.
TEST(VarDateFromStr, ReadsWhatLocalesWrite) {
  auto random = testRandom();
  const int cases = quel::testing::kSanitized ? 5 : 40;
  for (const char* locale : {"de_DE", "en_US", "en_GB", "fr_FR", "es_ES", "it_IT", "pt_BR", "nl_NL", "pl_PL", "cs_CZ",
                             "ru_RU", "ja_JP", "zh_CN", "ko_KR", "fi_FI", "hu_HU", "sv_SE", "da_DK", "tr_TR"}) {
    const LCID number = uloc_getLCID(locale);
    for (int i = 0; i < cases; ++i) {
      const int year = 1931 + static_cast<int>(random() % 99), month = 1 + static_cast<int>(random() % 12);
      const double at = moment(year, month, 1 + static_cast<int>(random() % 28), static_cast<int>(random() % 24),
                               static_cast<int>(random() % 60), static_cast<int>(random() % 60));
      for (const auto style : {UDAT_SHORT, UDAT_MEDIUM, UDAT_LONG, UDAT_FULL}) {
        const qmWString date = formatted(locale, UDAT_NONE, style, at);
        EXPECT_EQ(read(date, number), std::floor(at)) << locale << ": " << toNarrow(date);
        const qmWString both = date + u" " + formatted(locale, UDAT_MEDIUM, UDAT_NONE, at);
        EXPECT_EQ(read(both, number), at) << locale << ": " << toNarrow(both);
      }
    }
  }
}

TEST(VarDateFromStr, EndsOnWhateverUnitsItIsGiven) {
  auto random = testRandom();
  const qmWString letters = u"0123456789.:/-, NovAMPTxä年月日\xD83D\xDE00\x00E9";
  for (int i = 0; i < (quel::testing::kSanitized ? 50 : 400); ++i) {
    qmWString text;
    for (std::size_t n = random() % 30; n > 0; --n) text += letters[random() % letters.size()];
    double date = 0.0;
    if (VarDateFromStr(text.c_str(), kGerman, 0, &date) != S_OK) continue;
    SYSTEMTIME time{};
    EXPECT_EQ(VariantTimeToSystemTime(date, &time), 1) << toNarrow(text);
  }
  EXPECT_EQ(read(qmWString(100000, u'1'), kGerman), std::nullopt);
  EXPECT_EQ(read(qmWString(100000, u'x'), kGerman), std::nullopt);
  EXPECT_EQ(read(qmWString(100000, u' ') + u"1.2.2026", kGerman), moment(2026, 2, 1));
}

TEST(VarDateFromStr, TellsOfExhaustedMemory) {
  double date = 0.25;
  const auto failures =
      failEachNew([&] { return VarDateFromStr(u"21. november 2026", kNorwegian, 0, &date); },  // not asked before
                  [](std::int32_t result, bool failed) { EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK); });
  EXPECT_GT(failures, 20);
}

}  // namespace
