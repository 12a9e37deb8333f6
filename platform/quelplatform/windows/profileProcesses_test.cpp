// Profile files written by several processes, by processes that are killed, and when disk or memory run out.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/ground/files/WriterLock.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/ground/ini/ProfileFile.h"
#include "quelplatform/windows/profile.h"
#include "quelplatform/windows/windows.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::failEachNew;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::writeFile;

qmWString wide(const std::string& ascii) { return qmWString(ascii.begin(), ascii.end()); }

// Runs `work` in a process of its own, which ends with what it returns.
template <typename Work>
pid_t start(const Work& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  return child;
}

int statusOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return status;
}

std::set<std::string> namesIn(const fs::path& directory) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path().filename().string());
  return names;
}

// Promise 6 of profile.h.
TEST(profileProcesses, LoseNoEntryWhenTheyWriteDifferentKeysAtTheSameTime) {
  const TempDir dir;
  const qmWString path = dir.wide("p.ini");
  constexpr int kProcesses = 4, kKeys = 25;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    children.push_back(start([&] {
      int failures = 0;
      for (int k = 0; k < kKeys; ++k) {
        const qmWString key = wide(std::string("k").append(std::to_string(p)) + "." + std::to_string(k));
        failures += WritePrivateProfileStringW(u"S", key.c_str(), u"v", path.c_str()) != 1;
      }
      return failures;
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  quelplatform::ProfileFile file;
  ASSERT_EQ(readProfile((dir.path() / "p.ini").string(), file), 0);
  EXPECT_EQ(file.keyNames(u"S").size(), std::size_t{kProcesses * kKeys});
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"p.ini"}));
}

// Promise 5 of profile.h.
TEST(profileProcesses, LeaveTheOldFileOrTheNewOneWhenTheyAreKilled) {
  const TempDir dir;
  const qmWString path = dir.wide("p.ini");
  const std::string filling(200000, 'f');
  const auto content = [&](int n) {
    return std::string("[S]\nN=").append(std::to_string(n)) + "\n; " + filling + "\n";
  };
  writeFile(dir.path() / "p.ini", content(0));
  int last = 0;
  for (int round = 0; round < 40; ++round) {
    const pid_t child = start([&]() -> int {
      for (int n = last + 1;; ++n)
        WritePrivateProfileStringW(u"S", u"N", wide(std::to_string(n)).c_str(), path.c_str());
    });
    std::this_thread::sleep_for(std::chrono::microseconds(500 + 397 * round));
    // However slow the machine is, some are killed after they wrote.
    while (round % 8 == 7 && static_cast<int>(GetPrivateProfileIntW(u"S", u"N", -1, path.c_str())) == last) {
      std::this_thread::yield();
    }
    kill(child, SIGKILL);
    statusOf(child);
    const auto found = static_cast<int>(GetPrivateProfileIntW(u"S", u"N", -1, path.c_str()));
    ASSERT_GE(found, last);
    ASSERT_EQ(readFile(dir.path() / "p.ini"), content(found));
    last = found;
  }
  EXPECT_GT(last, 0);
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"N", u"7", path.c_str()), 1);
  EXPECT_EQ(readFile(dir.path() / "p.ini"), content(7));
  EXPECT_FALSE(fs::exists(dir.path() / ".quel-ini.lock"));
}

// Promise 6 of profile.h.
TEST(profileProcesses, AreNotHinderedByALockFileThatAKilledWriterLeft) {
  const TempDir dir;
  writeFile(dir.path() / ".quel-ini.lock", "");
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"N", u"7", dir.wide("p.ini").c_str()), 1);
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"p.ini"}));
}

// Promise 6 of profile.h.
TEST(profileProcesses, GiveUpOnAWriterThatDoesNotFinish) {
  const TempDir dir;
  quelplatform::WriterLock first, second;
  ASSERT_EQ(first.acquire(dir.path().string()), 0);
  EXPECT_EQ(second.acquire(dir.path().string(), 20), EBUSY);
  EXPECT_EQ(quelplatform::windowsError(EBUSY), 32u);
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{".quel-ini.lock"}));
}

TEST(profileProcesses, HoldTheLockOfTheFileInPlaceAfterWaitingForOneThatWasRemoved) {
  const TempDir dir;
  const pid_t holder = start([&] {
    quelplatform::WriterLock lock;
    if (lock.acquire(dir.path().string()) != 0) return 1;
    writeFile(dir.path() / "held", "");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    return 0;
  });
  while (!fs::exists(dir.path() / "held")) std::this_thread::yield();
  quelplatform::WriterLock mine;
  EXPECT_EQ(mine.acquire(dir.path().string()), 0);
  EXPECT_EQ(statusOf(holder), 0);
  const quelplatform::Descriptor other(quelplatform::openFile((dir.path() / ".quel-ini.lock").string(), O_RDONLY));
  ASSERT_TRUE(other.isOpen());
  EXPECT_EQ(flock(other.get(), LOCK_EX | LOCK_NB), -1);
}

// Promise 5 of profile.h.
TEST(profileProcesses, LeaveTheOldFileWhenTheDiskIsFull) {
  const TempDir dir;
  const std::string content = std::string("[S]\nN=1\n; ").append(std::string(100000, 'f')) + "\n";
  writeFile(dir.path() / "p.ini", content);
  const pid_t child = start([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight{70000, 70000};
    if (setrlimit(RLIMIT_FSIZE, &tight) != 0) return 1;
    if (WritePrivateProfileStringW(u"S", u"N", u"2", dir.wide("p.ini").c_str()) != 0) return 2;
    return GetLastError() == 223 ? 0 : 3;
  });
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(readFile(dir.path() / "p.ini"), content);
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"p.ini"}));
}

// Promise 4 of profile.h.
TEST(profileProcesses, RefuseFilesBeyondTheLimit) {
  const TempDir dir;
  writeFile(dir.path() / "p.ini", "[S]\nN=1\n");
  fs::resize_file(dir.path() / "p.ini", (std::uintmax_t{64} << 20) + 1);
  EXPECT_EQ(GetPrivateProfileIntW(u"S", u"N", 5, dir.wide("p.ini").c_str()), 5u);
  EXPECT_EQ(WritePrivateProfileStringW(u"S", u"N", u"2", dir.wide("p.ini").c_str()), 0);
  EXPECT_EQ(GetLastError(), 223u);
}

TEST(profileProcesses, KeepTheOldFileAndGiveDefaultsWhenMemoryIsExhausted) {
  const TempDir dir;
  const qmWString path = dir.wide("a file whose name is long enough.ini");
  const fs::path file = dir.path() / "a file whose name is long enough.ini";
  const std::string old = "[A section with a long name]\nA key with a long name=1\n";
  const qmWChar* const section = u"A section with a long name";
  const qmWChar* const key = u"A key with a long name";
  writeFile(file, old);
  const auto errorWhenFailed = [](bool failed) {
    if (failed) {
      EXPECT_EQ(GetLastError(), 8u);
    }
  };
  EXPECT_GT(failEachNew([&] { return GetPrivateProfileIntW(section, key, 9, path.c_str()); },
                        [&](std::uint32_t value, bool failed) {
                          EXPECT_EQ(value, failed ? 9u : 1u);
                          errorWhenFailed(failed);
                        }),
            0);
  qmWChar buffer[50];
  for (const qmWChar* asked : {key, static_cast<const qmWChar*>(nullptr)}) {
    EXPECT_GT(
        failEachNew([&] { return GetPrivateProfileStringW(section, asked, u"default", buffer, 50, path.c_str()); },
                    [&](std::uint32_t, bool failed) {
                      const qmWString defaulted = asked == nullptr ? u"" : u"default";
                      EXPECT_EQ(qmWString(buffer), failed ? defaulted : asked == nullptr ? key : u"1");
                      errorWhenFailed(failed);
                    }),
        0);
  }
  EXPECT_GT(failEachNew(
                [&] { return WritePrivateProfileStringW(section, u"Another long name of a key", u"2", path.c_str()); },
                [&](std::int32_t result, bool failed) {
                  EXPECT_EQ(result, failed ? 0 : 1);
                  EXPECT_EQ(readFile(file), failed ? old : old + "Another long name of a key=2\n");
                  EXPECT_EQ(namesIn(dir.path()).size(), 1u);
                  errorWhenFailed(failed);
                }),
            0);
}

}  // namespace
