#include "quelcore/base/wideNumber.h"

#include <gtest/gtest.h>

#include "quelplatform/qmEnv/qmText.h"

#include <cstring>
#include <sstream>

namespace {

using quelcore::decimalText;
using quelcore::leadingUnsigned;

TEST(DecimalText, WritesDigitsAlone) {
  EXPECT_EQ(decimalText(0), u"0");
  EXPECT_EQ(decimalText(1234567), u"1234567");
  EXPECT_EQ(decimalText(4294967295u), u"4294967295");
}

TEST(LeadingUnsigned, TakesDigitsUpToTheFirstOtherUnit) {
  EXPECT_EQ(leadingUnsigned(u"159"), 159u);
  EXPECT_EQ(leadingUnsigned(u"007"), 7u);
  EXPECT_EQ(leadingUnsigned(u"12x9"), 12u);
  EXPECT_EQ(leadingUnsigned(u"3\n14"), 3u);
}

TEST(LeadingUnsigned, IsZeroForTextThatBeginsWithNoDigit) {
  for (const char16_t* text : {u"", u"x1", u"-1", u" 1", u"\u0661"}) EXPECT_EQ(leadingUnsigned(text), 0u);
}

TEST(LeadingUnsigned, StopsAtTheLargestNumber) {
  EXPECT_EQ(leadingUnsigned(u"4294967295"), 4294967295u);
  EXPECT_EQ(leadingUnsigned(u"4294967296"), 4294967295u);
  EXPECT_EQ(leadingUnsigned(std::u16string(1000, u'9')), 4294967295u);
}

TEST(ExtractedUnsigned, IsWhatAStandardStreamExtracts) {
  for (const char* text : {"",
                           " ",
                           "7",
                           "  7",
                           "\t\n\v\f\r7",
                           "+7",
                           "-7",
                           "- 7",
                           "+-7",
                           "x7",
                           "7x",
                           "007",
                           "4294967295",
                           "4294967296",
                           "-4294967295",
                           "-4294967296",
                           "99999999999999999999999",
                           "-0",
                           "+",
                           "-"}) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    std::uint32_t value = 0;
    in >> value;
    const auto expected = in.fail() ? std::nullopt : std::optional(value);
    EXPECT_EQ(quelcore::extractedUnsigned(std::u16string(text, text + std::strlen(text))), expected) << text;
  }
}

TEST(IsWholeNumber, TakesSignDigitsAndBlanksAroundThemWithin32Bits) {
  for (const auto* text : {u"0", u"5", u" \t5 \t", u"+7", u"-7", u"4294967295", u"-2147483648", u"007"}) {
    EXPECT_TRUE(quelcore::isWholeNumber(text)) << toNarrow(text);
  }
  for (const auto* text :
       {u"", u" ", u"+", u"--1", u"5x", u"x5", u"1 2", u"1.5", u"1e3", u"4294967296", u"-2147483649"}) {
    EXPECT_FALSE(quelcore::isWholeNumber(text)) << toNarrow(text);
  }
}

TEST(IsRealNumber, TakesDigitsWithPointAndExponentAndBlanksAroundThem) {
  for (const auto* text : {u"1", u"1.", u".5", u" -1.25 \t", u"+2e3", u"2.5E-3", u"1e+0"}) {
    EXPECT_TRUE(quelcore::isRealNumber(text)) << toNarrow(text);
  }
  for (const auto* text : {u"", u" ", u".", u"+", u"-.e1", u"1e", u"1e+", u"1,5", u"1.2.3", u"1 2", u"nan", u"0x1"}) {
    EXPECT_FALSE(quelcore::isRealNumber(text)) << toNarrow(text);
  }
}

}  // namespace
