#include "quelplatform/ground/text/utf16.h"

#include <gtest/gtest.h>

namespace {

using quelplatform::appendUtf16;
using quelplatform::appendUtf16Bytes;
using quelplatform::kReplacementCharacter;
using quelplatform::takeUtf16;
using quelplatform::utf16Units;

TEST(Utf16, GivesEveryCharacterBack) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    if (character == 0xD800) character = 0xE000;
    std::u16string text;
    appendUtf16(text, character);
    std::u16string_view rest(text);
    ASSERT_EQ(takeUtf16(rest), character);
    ASSERT_TRUE(rest.empty());
  }
}

TEST(Utf16, TakesALoneSurrogateAloneForTheReplacement) {
  for (const std::u16string& lone :
       {std::u16string{0xD800}, std::u16string{0xDC00, 0xDC00}, std::u16string{0xDBFF, u'a'}}) {
    std::u16string_view rest(lone);
    EXPECT_EQ(takeUtf16(rest), kReplacementCharacter);
    EXPECT_EQ(rest.size(), lone.size() - 1);
  }
}

TEST(Utf16, HasItsBytesInTheOrderAskedFor) {
  std::string bytes = ">";
  appendUtf16Bytes(bytes, u"\u0102", false);
  appendUtf16Bytes(bytes, u"\u0102", true);
  EXPECT_EQ(bytes, ">\x02\x01\x01\x02");
  EXPECT_EQ(utf16Units("\x02\x01", false), u"\u0102");
  EXPECT_EQ(utf16Units("\x01\x02", true), u"\u0102");
}

TEST(Utf16, LeavesOutHalfAUnitAtTheEnd) { EXPECT_EQ(utf16Units(std::string_view("A\0B", 3), false), u"A"); }

}  // namespace
