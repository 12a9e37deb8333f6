#include "quelcore/base/wideNumber.h"

#include <gtest/gtest.h>

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

}  // namespace
