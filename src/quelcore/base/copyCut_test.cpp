#include "quelcore/base/copyCut.h"

#include <gtest/gtest.h>

namespace {

using quelcore::copyCut;

TEST(copyCut, CopiesWhatFitsWithItsNulAndTellsTheFullLength) {
  for (const std::int32_t size : {1, 3, 5, 6, 8}) {
    char16_t buffer[9] = u"????????";
    EXPECT_EQ(copyCut(std::u16string(u"abcde"), buffer, size), 5);
    const std::size_t length = size < 6 ? static_cast<std::size_t>(size) - 1 : 5;
    EXPECT_EQ(std::u16string(buffer), std::u16string(u"abcde").substr(0, length)) << size;
    EXPECT_EQ(buffer[length + 1], u'?') << size;
  }
}

TEST(copyCut, WritesNothingWithoutRoom) {
  char buffer[2] = {'?', '?'};
  for (const std::int32_t size : {0, -1, -2147483647}) {
    EXPECT_EQ(copyCut(std::string("abc"), buffer, size), 3);
    EXPECT_EQ(buffer[0], '?');
  }
  EXPECT_EQ(copyCut(std::string("abc"), static_cast<char*>(nullptr), 2), 3);
  EXPECT_EQ(copyCut(std::string(), static_cast<char*>(nullptr), 0), 0);
}

}  // namespace
