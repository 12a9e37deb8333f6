#include "quelplatform/qmEnv/QmStrFormatW.h"

#include <gtest/gtest.h>

#include "quelplatform/qmEnv/qmMessageTable.h"
#include "quelplatform/qmEnv/qmText.h"

namespace {

std::string textOf(std::uint32_t id) { return toNarrow(QmStrFormatW(id)); }

TEST(QmStrFormatW, IsTheTextOfEveryMessageOfTheTable) {
  EXPECT_EQ(textOf(0xC41D0006), "Within tolerance");
  EXPECT_EQ(textOf(0xC41D0007), "Out of tolerance");
  for (const auto& message : quelplatform::messageTable()) EXPECT_EQ(textOf(message.code), message.text);
}

TEST(QmStrFormatW, SaysSoForAnUnknownNumber) {
  EXPECT_EQ(textOf(0xC4FF1234), "There is no text for this message.");
  EXPECT_EQ(textOf(2), "The file was not found.");
}

}  // namespace
