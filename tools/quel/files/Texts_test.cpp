#include "files/Texts.h"

#include <gmock/gmock.h>

#include <cmath>

namespace queltool {
namespace {

using ::testing::ElementsAre;

TEST(PartsOf, SplitsAtEverySeparator) {
  EXPECT_THAT(partsOf("1,2,,3", ','), ElementsAre("1", "2", "", "3"));
  EXPECT_THAT(partsOf(",1", ','), ElementsAre("", "1"));
}

TEST(PartsOf, TakesASeparatorAtTheEndForNoFurtherPart) { EXPECT_THAT(partsOf("1,2,", ','), ElementsAre("1", "2")); }

TEST(PartsOf, GivesOneEmptyPartOfAnEmptyText) {
  EXPECT_THAT(partsOf("", ','), ElementsAre(""));
  EXPECT_THAT(partsOf(",", ','), ElementsAre(""));
}

TEST(Joined, PutsTheSeparatorBetweenParts) {
  EXPECT_EQ(joined({"1", "", "3"}, ','), "1,,3");
  EXPECT_EQ(joined({}, ','), "");
}

TEST(NumberOf, ReadsAWholeTextOrNothing) {
  EXPECT_EQ(numberOf("-2.5e3"), -2500.0);
  EXPECT_EQ(numberOf("0x10"), 16.0);
  EXPECT_TRUE(std::isinf(numberOf("inf").value()));
  EXPECT_TRUE(std::isnan(numberOf("nan").value()));
  for (const char* text : {"", " ", "x", "1x", "1 ", "1,5"}) EXPECT_EQ(numberOf(text), std::nullopt) << text;
}

TEST(WhyNoWholeNumber, RefusesWhatWouldBeReadOtherwiseThanItIsMeant) {
  for (const char* text : {"0", "7", "-1", "+12", "2147483647"}) EXPECT_EQ(whyNoWholeNumber(text), "") << text;
  for (const char* text : {"010", "-017", "+01", "00", "0x1", "0b1"}) {
    EXPECT_EQ(whyNoWholeNumber(text),
              "takes whole numbers such as 12, without a zero in front, and is \"" + std::string(text) + "\"")
        << text;
  }
}

}  // namespace
}  // namespace queltool
