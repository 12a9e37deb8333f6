#include "files/NearestWord.h"

#include <gtest/gtest.h>

namespace queltool {
namespace {

TEST(NearestWord, CountsSlips) {
  EXPECT_EQ(slipsBetween("info", "info"), 0u);
  EXPECT_EQ(slipsBetween("inof", "info"), 1u);
  EXPECT_EQ(slipsBetween("colors", "colours"), 1u);
  EXPECT_EQ(slipsBetween("colours", "colors"), 1u);
  EXPECT_EQ(slipsBetween("fit", "fat"), 1u);
  EXPECT_EQ(slipsBetween("", "fit"), 3u);
  EXPECT_EQ(slipsBetween("kitten", "sitting"), 3u);
}

TEST(NearestWord, IsTheOneOfFewestSlips) {
  const std::vector<std::string> words = {"index", "info", "fit", "feature"};
  EXPECT_EQ(nearestWord("inof", words), "info");
  EXPECT_EQ(nearestWord("indx", words), "index");
  EXPECT_EQ(nearestWord("feat", words), "feature");
  EXPECT_EQ(nearestWord("fi", words), "fit");
  EXPECT_EQ(nearestWord("INDEX", words), "index");
}

TEST(NearestWord, IsNoneThatIsFarOff) {
  EXPECT_EQ(nearestWord("measure", {"index", "info"}), std::nullopt);
  EXPECT_EQ(nearestWord("x", {"index"}), std::nullopt);
  EXPECT_EQ(nearestWord("info", {}), std::nullopt);
  EXPECT_EQ(nearestWord("fxx", {"fit"}), std::nullopt);
  EXPECT_EQ(nearestWord("xxviation", {"deviation"}), "deviation");
}

}  // namespace
}  // namespace queltool
