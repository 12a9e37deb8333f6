#include "quelplatform/ground/text/asciiCase.h"

#include <gtest/gtest.h>

#include <cctype>
#include <clocale>

namespace {

using quelplatform::asciiLower;
using quelplatform::asciiLowered;
using quelplatform::asciiUpper;
using quelplatform::sameButAsciiCase;

// The C locale knows the letters of ASCII and no others.
TEST(AsciiCase, IsThatOfThePlainLocaleForEveryByte) {
  ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C");
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    EXPECT_EQ(asciiLower(c), static_cast<char>(std::tolower(byte))) << byte;
    EXPECT_EQ(asciiUpper(c), static_cast<char>(std::toupper(byte))) << byte;
  }
}

TEST(AsciiCase, LeavesWideUnitsAloneWhoseLowerByteIsALetter) {
  EXPECT_EQ(asciiLower(u'\u0141'), u'\u0141');
  EXPECT_EQ(asciiUpper(u'\u0161'), u'\u0161');
  EXPECT_EQ(asciiLower(u'Q'), u'q');
}

TEST(AsciiCase, TakesTextsForTheSameThatDifferInCaseAlone) {
  EXPECT_TRUE(sameButAsciiCase("", ""));
  EXPECT_TRUE(sameButAsciiCase("MachineID", "machineid"));
  EXPECT_FALSE(sameButAsciiCase("Machine", "MachineID"));
  EXPECT_FALSE(sameButAsciiCase("[", "{"));  // They differ in the bit that tells the cases of letters apart.
  EXPECT_FALSE(sameButAsciiCase("\xC3\x84", "\xC3\xA4"));
}

TEST(AsciiCase, LowersWholeTexts) { EXPECT_EQ(asciiLowered("UTF-16 \xC3\x84Z"), "utf-16 \xC3\x84z"); }

}  // namespace
