#include "quelcore/presentation/clock.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

namespace {

using quelcore::localTimeText;

class Clock : public testing::Test {
 protected:
  Clock() { zone("UTC0"); }
  ~Clock() override {
    quelcore::stopClock(std::nullopt);
    unsetenv("TZ");
    tzset();
  }

  static void zone(const char* name) {
    setenv("TZ", name, 1);
    tzset();
  }
};

TEST_F(Clock, RunsUntilItIsStopped) {
  const std::time_t before = std::time(nullptr);
  const std::time_t now = quelcore::presentTime();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::time(nullptr));
  quelcore::stopClock(12345);
  EXPECT_EQ(quelcore::presentTime(), 12345);
}

TEST_F(Clock, TellsLocalTimeInEnglish) {
  EXPECT_EQ(localTimeText(0), u"Thu Jan 01 00:00:00 1970");
  EXPECT_EQ(localTimeText(951782400), u"Tue Feb 29 00:00:00 2000");
  zone("EST5");
  EXPECT_EQ(localTimeText(0), u"Wed Dec 31 19:00:00 1969");
}

TEST_F(Clock, HasNoTextForATimeThatNoCalendarHolds) {
  EXPECT_EQ(localTimeText(std::numeric_limits<std::time_t>::max()), u"");
}

}  // namespace
