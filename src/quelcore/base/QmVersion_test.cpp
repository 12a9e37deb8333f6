#include "quelcore/base/QmVersion.h"

#include <gmock/gmock.h>

namespace {

TEST(CoreVersion, IsThreeNumbersWithPoints) {
  EXPECT_THAT(qmCoreVersion(), ::testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

}  // namespace
