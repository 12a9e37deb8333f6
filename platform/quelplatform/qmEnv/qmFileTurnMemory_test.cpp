// A turn at a file where memory is exhausted: by itself, since the thread sanitizer has `new` to itself.
#include <gtest/gtest.h>

#include <filesystem>

#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::TempDir;
using quelplatform::FileTurn;

TEST(FileTurn, IsNoneWhereMemoryIsExhausted) {
  const TempDir dir;
  const qmWString path = dir.wide("a file with a name that is long enough for memory of its own");
  EXPECT_GT(quel::testing::failEachNew([&] { return FileTurn(path.c_str()).error(); },
                                       [&](std::uint32_t error, bool failed) {
                                         EXPECT_EQ(error, failed ? 8u : 0u);
                                         EXPECT_TRUE(fs::is_empty(dir.path()));
                                       }),
            1);
}

}  // namespace
