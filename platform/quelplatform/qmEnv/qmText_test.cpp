#include "quelplatform/qmEnv/qmText.h"

#include <gtest/gtest.h>
#include <unicode/unistr.h>

#include "testing/Numbers.h"

namespace {

TEST(toWide, ConvertsEveryLengthOfSequence) {
  EXPECT_EQ(toWide("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E9\u20AC\U0001F600");
}

TEST(toWide, GivesEmptyTextForNull) { EXPECT_EQ(toWide(static_cast<const char*>(nullptr)), u""); }

TEST(toWide, KeepsNulCharactersOfAView) { EXPECT_EQ(toWide(std::string_view("a\0b", 3)), qmWString(u"a\0b", 3)); }

TEST(toWide, ReplacesEachMalformedSequenceByOneCharacter) {
  EXPECT_EQ(toWide("\x80"), u"\uFFFD");                                // a continuation without a beginning
  EXPECT_EQ(toWide("\xC0\xAF"), u"\uFFFD\uFFFD");                      // an overlong slash
  EXPECT_EQ(toWide("\xE2\x82"), u"\uFFFD");                            // ends too early
  EXPECT_EQ(toWide("\xE2\x82y"), u"\uFFFDy");                          // broken off by a letter
  EXPECT_EQ(toWide("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");            // a surrogate
  EXPECT_EQ(toWide("\xF4\x90\x80\x80"), u"\uFFFD\uFFFD\uFFFD\uFFFD");  // beyond the last character
  EXPECT_EQ(toWide("\xFF"), u"\uFFFD");
}

TEST(toNarrow, ConvertsEveryLengthOfSequence) {
  EXPECT_EQ(toNarrow(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(toNarrow, GivesEmptyTextForNull) { EXPECT_EQ(toNarrow(static_cast<const qmWChar*>(nullptr)), ""); }

TEST(toNarrow, KeepsNulUnitsOfAView) { EXPECT_EQ(toNarrow(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3)); }

TEST(toNarrow, ReplacesLoneSurrogates) {
  EXPECT_EQ(toNarrow(qmWString{0xD800}), "\xEF\xBF\xBD");
  EXPECT_EQ(toNarrow(qmWString{0xDC00, u'x'}), "\xEF\xBF\xBDx");
  EXPECT_EQ(toNarrow(qmWString{0xD83D, 0xD83D, 0xDE00}), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

// ICU reads UTF-8 by the same rule: one replacement for each longest part of a sequence.
TEST(toWide, AgreesWithIcuOnRandomBytes) {
  auto random = quel::testing::testRandom();
  constexpr unsigned char kLikely[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC1, 0xC2, 0xDF,
                                       0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
  for (int round = 0; round < 20000; ++round) {
    std::string bytes(random() % 12, '\0');
    for (char& c : bytes) c = static_cast<char>(kLikely[random() % std::size(kLikely)]);
    const auto icu = icu::UnicodeString::fromUTF8(bytes);
    ASSERT_EQ(toWide(std::string_view(bytes)), qmWString(icu.getBuffer(), static_cast<std::size_t>(icu.length())));
  }
}

TEST(toNarrow, AgreesWithIcuOnRandomUnits) {
  auto random = quel::testing::testRandom();
  for (int round = 0; round < 20000; ++round) {
    qmWString units(random() % 8, u'\0');
    for (qmWChar& unit : units) unit = static_cast<qmWChar>(random() % 2 == 0 ? random() : 0xD700 + random() % 0xA00);
    std::string icu;
    icu::UnicodeString(units.data(), static_cast<std::int32_t>(units.size())).toUTF8String(icu);
    ASSERT_EQ(toNarrow(units), icu);
  }
}

TEST(toNarrow, IsUndoneByToWideForEveryCharacter) {
  for (char32_t character = 0; character < 0x110000; ++character) {
    if (character == 0xD800) character = 0xE000;
    const qmWString wide = character < 0x10000 ? qmWString(1, static_cast<qmWChar>(character))
                                               : qmWString{static_cast<qmWChar>(0xD7C0 + (character >> 10)),
                                                           static_cast<qmWChar>(0xDC00 + (character & 0x3FF))};
    ASSERT_EQ(toWide(toNarrow(wide)), wide) << static_cast<std::uint32_t>(character);
  }
}

}  // namespace
