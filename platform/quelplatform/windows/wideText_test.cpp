#include "quelplatform/windows/wideText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cwchar>
#include <cwctype>
#include <limits>
#include <string>
#include <type_traits>

namespace {

TEST(wtoi, TakesASignAndDigitsBehindBlanks) {
  EXPECT_EQ(_wtoi(u"42"), 42);
  EXPECT_EQ(_wtoi(u" \t\r\n-7x"), -7);
  EXPECT_EQ(_wtoi(u"+3.9"), 3);
  EXPECT_EQ(_wtoi(u"007"), 7);
  EXPECT_EQ(_wtoi(u"0x10"), 0);
}

TEST(wtoi, GivesZeroForTextThatIsNoNumber) {
  for (const qmWChar* text : {u"", u" ", u"abc", u"-", u"+-1", u"- 1", u"١"}) EXPECT_EQ(_wtoi(text), 0);
  EXPECT_EQ(_wtoi(nullptr), 0);
}

TEST(wtoi, StopsAtTheLimitsOf32Bits) {
  EXPECT_EQ(_wtoi(u"2147483647"), 2147483647);
  EXPECT_EQ(_wtoi(u"2147483648"), 2147483647);
  EXPECT_EQ(_wtoi(u"-2147483648"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(_wtoi(u"-2147483649"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(_wtoi(u"99999999999999999999999999"), 2147483647);
}

TEST(wtof, ReadsTheNumberInFront) {
  EXPECT_EQ(_wtof(u"1.5"), 1.5);
  EXPECT_EQ(_wtof(u" \t-0.1e1 mm"), -1.0);
  EXPECT_EQ(_wtof(u"+.5"), 0.5);
  EXPECT_EQ(_wtof(u"5."), 5.0);
  EXPECT_EQ(_wtof(u"2e"), 2.0);
  EXPECT_EQ(_wtof(u"2e+"), 2.0);
  EXPECT_EQ(_wtof(u"2E-3"), 0.002);
  EXPECT_EQ(_wtof(u"1,5"), 1.0);
  EXPECT_EQ(_wtof(u"0x10"), 0.0);
  EXPECT_TRUE(std::signbit(_wtof(u"-0")));
}

TEST(wtof, RoundsCorrectly) {
  EXPECT_EQ(_wtof(u"0.1"), 0.1);
  EXPECT_EQ(_wtof(u"123456789012345678"), 123456789012345678.0);
  EXPECT_EQ(_wtof(u"9007199254740993"), 9007199254740992.0);
  EXPECT_EQ(_wtof(u"9007199254740993.0000000000000000000000000001"), 9007199254740994.0);
  EXPECT_EQ(_wtof(u"4.9406564584124654e-324"), std::numeric_limits<double>::denorm_min());
}

TEST(wtof, GivesInfinityAndZeroBeyondTheRange) {
  EXPECT_EQ(_wtof(u"1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(_wtof(u"-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(_wtof(u"1e-999"), 0.0);
}

TEST(wtof, GivesZeroForTextThatIsNoNumber) {
  for (const qmWChar* text : {u"", u"inf", u"nan", u"-infinity", u".", u"-.e5", u"e5", u"text"}) {
    EXPECT_EQ(_wtof(text), 0.0);
  }
  EXPECT_EQ(_wtof(nullptr), 0.0);
}

TEST(wtof, DoesNotDependOnTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) std::setlocale(LC_ALL, name);
  EXPECT_EQ(_wtof(u"1.5"), 1.5);
  std::setlocale(LC_ALL, before.c_str());
}

TEST(towlower, MapsSingleUnitsAndLeavesTheRest) {
  EXPECT_EQ(towlower(u'A'), u'a');
  EXPECT_EQ(towlower(u'z'), u'z');
  EXPECT_EQ(towlower(u'['), u'[');
  EXPECT_EQ(towlower(u'Ä'), u'ä');
  EXPECT_EQ(towlower(u'Ω'), u'ω');
  EXPECT_EQ(towlower(u'Д'), u'д');
  EXPECT_EQ(towlower(u'ß'), u'ß');
  EXPECT_EQ(towlower(u'\xD801'), u'\xD801');
  EXPECT_EQ(towlower(u'\0'), u'\0');
}

TEST(towlower, LeavesTheStandardLibrarysFunctionToItsOwnType) {
  static_assert(std::is_same_v<decltype(towlower(u'A')), qmWChar>);
  static_assert(std::is_same_v<decltype(towlower(std::wint_t{0})), std::wint_t>);
  EXPECT_EQ(towlower(L'A'), std::wint_t{'a'});
}

TEST(wcsicmp, ComparesWithoutRegardToCase) {
  EXPECT_EQ(_wcsicmp(u"Block Ä1", u"bLOCK ä1"), 0);
  EXPECT_LT(_wcsicmp(u"a", u"B"), 0);
  EXPECT_GT(_wcsicmp(u"C", u"b"), 0);
  EXPECT_LT(_wcsicmp(u"ab", u"ABC"), 0);
  EXPECT_GT(_wcsicmp(u"abc", u"AB"), 0);
  EXPECT_GT(_wcsicmp(u"a", u"_"), 0);
  EXPECT_EQ(_wcsicmp(u"", u""), 0);
}

TEST(wcsicmp, PutsNullInFrontOfAllText) {
  EXPECT_EQ(_wcsicmp(nullptr, nullptr), 0);
  EXPECT_LT(_wcsicmp(nullptr, u""), 0);
  EXPECT_GT(_wcsicmp(u"", nullptr), 0);
}

}  // namespace
