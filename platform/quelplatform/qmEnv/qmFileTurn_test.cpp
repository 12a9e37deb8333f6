#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/QmRegKey.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "testing/AsNobody.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quelplatform::FileTurn;

int addedOnce(const qmWString& path) {
  const FileTurn turn(path.c_str());
  if (!turn.isMine()) return 1;
  QmRegKey key;
  key.AttachIniFile(path.c_str());
  key.Branch(u"S", true, QmRegKey::kReadWrite);
  const std::int32_t count = key[u"Count"];
  std::this_thread::yield();
  key[u"Count"] = count + 1;
  return key.LastError() == 0 ? 0 : 2;
}

std::int32_t countIn(const qmWString& path) {
  QmRegKey key;
  key.AttachIniFile(path.c_str());
  key.Branch(u"S", false, QmRegKey::kRead);
  return key[u"Count"];
}

TEST(FileTurn, KeepsWhatWasReadTrueUntilItIsWrittenBetweenProcesses) {
  const TempDir dir;
  const qmWString path = dir.wide("p.ini");
  std::vector<pid_t> children;
  for (int i = 0; i < 8; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      int failed = 0;
      for (int n = 0; n < 10; ++n) failed += addedOnce(path);
      _exit(failed);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(countIn(path), 80);
}

TEST(FileTurn, KeepsWhatWasReadTrueUntilItIsWrittenBetweenThreads) {
  const TempDir dir;
  const qmWString path = dir.wide("p.ini");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 10; ++n) EXPECT_EQ(addedOnce(path), 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(countIn(path), 40);
}

TEST(FileTurn, IsOneForAFileAndALinkToIt) {
  const TempDir dir;
  fs::create_directory(dir.path() / "a");
  std::ofstream(dir.path() / "a" / "file").put('x');
  fs::create_symlink("a/file", dir.path() / "link");
  const FileTurn turn(dir.wide("link").c_str());
  EXPECT_TRUE(turn.isMine());
  EXPECT_TRUE(fs::exists(dir.path() / "a" / ".quel-ini.lock"));
  EXPECT_TRUE(FileTurn(dir.wide("a/other").c_str()).isMine());
}

TEST(FileTurn, MakesTheHomeDirectoryAndLeavesNothingElse) {
  const TempHome home;
  quelplatform::setHomeDirectory((home.path() / "new").string());
  { EXPECT_TRUE(FileTurn(home.wide("new/SetupMap.txt").c_str()).isMine()); }
  EXPECT_TRUE(fs::is_empty(home.path() / "new"));
}

TEST(FileTurn, IsNoneWhereOthersTakeLongerThanItsPatience) {
  const TempDir dir;
  const qmWString path = dir.wide("file");
  const FileTurn first(path.c_str());
  std::uint32_t atOnce = 0, soon = 0;
  std::thread([&] {
    atOnce = FileTurn(path.c_str(), 0).error();
    soon = FileTurn(path.c_str(), 5).error();
  }).join();
  EXPECT_EQ(atOnce, 32u);
  EXPECT_EQ(soon, 32u);
  EXPECT_TRUE(first.isMine());
}

TEST(FileTurn, TellsWhyThereIsNone) {
  const TempDir dir;
  EXPECT_EQ(FileTurn(dir.wide("none/file").c_str()).error(), 3u);
  EXPECT_EQ(FileTurn(nullptr).error(), 3u);
  fs::permissions(dir.path(), static_cast<fs::perms>(0555));
  EXPECT_TRUE(quel::testing::holdsAsNobody([&] { EXPECT_EQ(FileTurn(dir.wide("file").c_str()).error(), 5u); }));
  fs::permissions(dir.path(), static_cast<fs::perms>(0755));
}

}  // namespace
