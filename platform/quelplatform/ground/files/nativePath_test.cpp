#include "quelplatform/ground/files/nativePath.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;

TEST(makeDirectories, LeavesTheirRightsToTheMaskOfTheProcess) {
  for (const mode_t mask : {mode_t{0}, mode_t{027}}) {
    const TempDir dir;
    const mode_t before = umask(mask);
    const int error = quelplatform::makeDirectories((dir.path() / "a" / "b").string());
    umask(before);
    ASSERT_EQ(error, 0);
    for (const char* made : {"a", "a/b"}) {
      struct stat status {};
      ASSERT_EQ(stat((dir.path() / made).c_str(), &status), 0);
      EXPECT_EQ(status.st_mode & 07777, 0777U & ~mask) << made;
    }
  }
}

}  // namespace
