#include "files/WideText.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

TEST(WideText, IsTakenInTheOrderThatItsMarkSays) {
  EXPECT_EQ(utf8OfText(std::string("\xFF\xFE"
                                   "a\0\xB5\0",
                                   6)),
            "a\xC2\xB5");
  EXPECT_EQ(utf8OfText(std::string("\xFE\xFF"
                                   "\0a\0\xB5",
                                   6)),
            "a\xC2\xB5");
}

TEST(WideText, IsUtf8WithoutSuchAMark) {
  EXPECT_EQ(utf8OfText("\xEF\xBB\xBF"
                       "a\xC2\xB5"),
            "a\xC2\xB5");
  EXPECT_EQ(utf8OfText("plain"), "plain");
  EXPECT_EQ(utf8OfText(""), "");
}

TEST(WideText, EndsWithItsLastWholeUnit) { EXPECT_EQ(utf8OfUnits(std::string("a\0b", 3), false), "a"); }

}  // namespace
}  // namespace queltool
