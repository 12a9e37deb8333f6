#include "quelplatform/ground/text/blanks.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>

namespace {

using quelplatform::isBlank;
using quelplatform::isBlankOrLineFeed;
using quelplatform::trimmed;
using quelplatform::withoutTrailingBlanks;

TEST(Blanks, AreWhiteSpaceOfThePlainLocaleWithoutTheLineFeed) {
  ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    EXPECT_EQ(isBlankOrLineFeed(c), std::isspace(byte) != 0) << byte;
    EXPECT_EQ(isBlank(c), std::isspace(byte) != 0 && c != '\n') << byte;
  }
}

TEST(Blanks, AreTheSameInWideTextAndNoOthers) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const bool plain = unit < 0x80 && isBlank(static_cast<char>(unit));
    ASSERT_EQ(isBlank(static_cast<char16_t>(unit)), plain) << unit;
  }
}

TEST(Blanks, AreTrimmedFromTheEndsOnly) {
  EXPECT_EQ(trimmed(std::string_view(" \t a b\r")), "a b");
  EXPECT_EQ(trimmed(std::u16string_view(u" \v ")), u"");
  EXPECT_EQ(trimmed(std::string_view("\n a")), "\n a");
  EXPECT_EQ(withoutTrailingBlanks(std::u16string_view(u" a \f")), u" a");
}

}  // namespace
