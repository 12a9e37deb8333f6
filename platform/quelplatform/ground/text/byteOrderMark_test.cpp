#include "quelplatform/ground/text/byteOrderMark.h"

#include <gtest/gtest.h>

namespace {

using quelplatform::isUtf16Mark;
using quelplatform::kUtf16BigMark;
using quelplatform::kUtf16LittleMark;
using quelplatform::kUtf8Mark;
using quelplatform::markOf;

TEST(ByteOrderMark, IsFoundAtTheHeadOnly) {
  EXPECT_EQ(markOf("\xEF\xBB\xBFtext"), kUtf8Mark);
  EXPECT_EQ(markOf("\xFF\xFEt"), kUtf16LittleMark);
  EXPECT_EQ(markOf("\xFE\xFF"), kUtf16BigMark);
  EXPECT_EQ(markOf("t\xEF\xBB\xBF"), "");
  EXPECT_EQ(markOf(""), "");
}

TEST(ByteOrderMark, IsNoneWhenItIsCut) {
  EXPECT_EQ(markOf("\xEF\xBB"), "");
  EXPECT_EQ(markOf("\xFF"), "");
}

TEST(ByteOrderMark, TellsWhetherUnitsFollow) {
  EXPECT_TRUE(isUtf16Mark(markOf("\xFF\xFE")));
  EXPECT_TRUE(isUtf16Mark(markOf("\xFE\xFF")));
  EXPECT_FALSE(isUtf16Mark(markOf("\xEF\xBB\xBF")));
  EXPECT_FALSE(isUtf16Mark(markOf("")));
}

}  // namespace
