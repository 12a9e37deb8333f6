#include "quelplatform/qmEnv/qmHead.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace {

TEST(OpticalHeads, HaveNamesOfTheirOwn) {
  std::set<qmWString> names;
  for (std::int32_t head = 1; head <= 6; ++head) names.insert(getOH_Name(static_cast<OPTICAL_HEAD>(head)));
  EXPECT_EQ(names.size(), 6u);
  EXPECT_EQ(qmWString(getOH_Name(OPTICAL_HEAD_100)), u"100");
  EXPECT_EQ(qmWString(getOH_Name(OPTICAL_HEAD_2002_A)), u"2002 A");
}

TEST(OpticalHeads, AreUnknownBeyondTheTable) {
  for (const std::int32_t head : {0, -1, 7, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(qmWString(getOH_Name(static_cast<OPTICAL_HEAD>(head))), u"Unknown") << head;
  }
}

TEST(Lenses, AreNamedByTheirFocalLength) {
  EXPECT_EQ(getLensName(QM_LENS_50), u"50 mm");
  EXPECT_EQ(getLensName(static_cast<QmLens>(105)), u"105 mm");
  EXPECT_EQ(getLensName(QM_LENS_NONE), u"None");
  EXPECT_EQ(getLensName(static_cast<QmLens>(-3)), u"None");
}

}  // namespace
