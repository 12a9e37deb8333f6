#include "quelplatform/windows/tempFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>
#include <string>

#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/windows.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::failEachNew;
using quel::testing::TempDir;

using Buffer = std::array<qmWChar, 260>;

class TemporaryDirectory {
 public:
  explicit TemporaryDirectory(const char* value) {
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    value == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", value, 1);
  }
  ~TemporaryDirectory() { old_ ? setenv("TMPDIR", old_->c_str(), 1) : unsetenv("TMPDIR"); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

 private:
  std::optional<std::string> old_;
};

qmWString temporaryDirectory() {
  Buffer buffer{};
  const std::uint32_t length = GetTempPathW(260, buffer.data());
  EXPECT_EQ(length, qmWString(buffer.data()).size());
  return buffer.data();
}

TEST(GetTempPathW, IsTheAbsoluteDirectoryOfTheEnvironmentOrTmp) {
  for (const auto& [value, expected] : {std::pair<const char*, const char16_t*>{"/some/where", u"/some/where/"},
                                        {"/ends/", u"/ends/"},
                                        {"relative", u"/tmp/"},
                                        {"", u"/tmp/"},
                                        {nullptr, u"/tmp/"}}) {
    const TemporaryDirectory chosen(value);
    EXPECT_EQ(temporaryDirectory(), expected);
  }
}

TEST(GetTempPathW, NeedsRoomForTheTerminator) {
  const TemporaryDirectory chosen("/abc");
  Buffer buffer{u'x'};
  EXPECT_EQ(GetTempPathW(5, buffer.data()), 6u);
  EXPECT_EQ(buffer[0], u'x');
  EXPECT_EQ(GetTempPathW(0, nullptr), 6u);
  EXPECT_EQ(GetTempPathW(6, buffer.data()), 5u);
  EXPECT_EQ(qmWString(buffer.data()), u"/abc/");
}

TEST(GetTempFileNameW, MakesAnEmptyFileOfItsOwnEachTime) {
  const TempDir dir;
  std::set<qmWString> paths;
  for (int i = 0; i < 100; ++i) {
    Buffer buffer{};
    EXPECT_NE(GetTempFileNameW(dir.wide("").c_str(), u"qm_", 0, buffer.data()), 0u);
    paths.insert(buffer.data());
    const fs::path path = toNarrow(buffer.data());
    EXPECT_EQ(fs::file_size(path), 0u);
    EXPECT_TRUE(path.filename().string().starts_with("qm_"));
    EXPECT_EQ(path.extension(), ".tmp");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  }
  EXPECT_EQ(paths.size(), 100u);
}

TEST(GetTempFileNameW, TakesThreeUnitsOfThePrefixAndDoublesNoSeparator) {
  for (const qmWChar* directory : {u"/d", u"/d/"}) {
    Buffer buffer{};
    EXPECT_EQ(GetTempFileNameW(directory, u"prefix", 0x1002F, buffer.data()), 0x1002Fu);
    EXPECT_EQ(qmWString(buffer.data()), u"/d/pre2f.tmp");
  }
  Buffer buffer{};
  EXPECT_EQ(GetTempFileNameW(u"/d", nullptr, 0x10000, buffer.data()), 0x10000u);
  EXPECT_EQ(qmWString(buffer.data()), u"/d/0.tmp");
}

TEST(GetTempFileNameW, MakesNoFileForANumberThatIsGiven) {
  const TempDir dir;
  Buffer buffer{};
  EXPECT_EQ(GetTempFileNameW(dir.wide("").c_str(), u"qm_", 7, buffer.data()), 7u);
  EXPECT_TRUE(fs::is_empty(dir.path()));
}

TEST(GetTempFileNameW, TellsWhyItFailsWithEmptyText) {
  const TempDir dir;
  Buffer buffer{};
  const auto errorOf = [&](const qmWChar* directory) {
    buffer[0] = u'x';
    EXPECT_EQ(GetTempFileNameW(directory, u"qm_", 0, buffer.data()), 0u);
    EXPECT_EQ(buffer[0], u'\0');
    return GetLastError();
  };
  EXPECT_EQ(errorOf(nullptr), 87u);
  EXPECT_EQ(errorOf(u""), 87u);
  EXPECT_EQ(errorOf((u"/" + qmWString(246, u'd')).c_str()), 111u);
  EXPECT_EQ(errorOf((u"/" + qmWString(245, u'd')).c_str()), 267u);
  EXPECT_EQ(errorOf(dir.wide("none").c_str()), 267u);
  EXPECT_EQ(GetTempFileNameW(u"/tmp", u"qm_", 0, nullptr), 0u);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(GetTempFileNameW, FailsWhenEveryNumberIsTaken) {
  const TempDir dir;
  for (int number = 1; number <= 0xFFFF; ++number) {
    char name[16];
    std::snprintf(name, sizeof(name), "qm_%x.tmp", static_cast<unsigned>(number));
    if (number == 0x1234) continue;
    ASSERT_EQ(symlink("nowhere", (dir.path() / name).c_str()), 0);
  }
  Buffer buffer{};
  EXPECT_EQ(GetTempFileNameW(dir.wide("").c_str(), u"qm_", 0, buffer.data()), 0x1234u);
  EXPECT_EQ(GetTempFileNameW(dir.wide("").c_str(), u"qm_", 0, buffer.data()), 0u);
  EXPECT_EQ(GetLastError(), 80u);
}

TEST(GetTempFileNameW, FailsCleanlyAtEveryAllocation) {
  const TempDir dir;
  const qmWString directory = dir.wide("");
  const auto failures = failEachNew(
      [&] {
        Buffer buffer{u'x'};
        return std::pair(GetTempFileNameW(directory.c_str(), u"qm_", 0, buffer.data()) != 0, buffer[0]);
      },
      [](const std::pair<bool, qmWChar>& result, bool failed) {
        EXPECT_EQ(result.first, !failed);
        EXPECT_EQ(result.second, failed ? u'\0' : u'/');
      });
  EXPECT_GT(failures, 3);
}

}  // namespace
