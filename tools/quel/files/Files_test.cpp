// Files that the tool writes as a whole.
#include "files/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "files/Failure.h"
#include "testing/FileSizeLimit.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::writeFile;
using ::testing::HasSubstr;

class WriteWholeFile : public ::testing::Test {
 protected:
  auto filesThere() const { return std::distance(fs::directory_iterator(dir_.path()), {}); }

  /// What is said of a file that cannot be written; nothing where it was.
  static std::string refusal(const fs::path& file) try {
    writeWholeFile(file, "new");
    return {};
  } catch (const Failure& failure) {
    return failure.what();
  }

  quel::testing::TempDir dir_;
  const fs::path file_ = dir_.path() / "a.csv";
};

TEST_F(WriteWholeFile, MakesAFileOrReplacesItWithNothingElseLeft) {
  writeWholeFile(file_, "first");
  EXPECT_EQ(readFile(file_), "first");
  writeWholeFile(file_, "");
  EXPECT_TRUE(fs::exists(file_));
  EXPECT_EQ(readFile(file_), "");
  EXPECT_EQ(filesThere(), 1);
}

TEST_F(WriteWholeFile, LeavesRightsAsTheyAreAndHandsNoOwnersOn) {
  writeFile(file_, "old");
  fs::permissions(file_, static_cast<fs::perms>(04640));
  writeWholeFile(file_, "new");
  EXPECT_EQ(fs::status(file_).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(WriteWholeFile, WritesWhatALinkLeadsTo) {
  writeFile(dir_.path() / "b.csv", "old");
  fs::create_symlink("b.csv", file_);
  writeWholeFile(file_, "new");
  EXPECT_TRUE(fs::is_symlink(file_));
  EXPECT_EQ(readFile(dir_.path() / "b.csv"), "new");
}

TEST_F(WriteWholeFile, RemovesWhatAWriterLeftWhoDied) {
  writeFile(dir_.path() / ".quel-1-1.tmp", "half");
  writeWholeFile(file_, "new");
  EXPECT_EQ(filesThere(), 1);
}

TEST_F(WriteWholeFile, LeavesTheOldFileWhereTheDiskIsFull) {
  writeFile(file_, "old");
  {
    const quel::testing::FileSizeLimit limit(100);
    EXPECT_THROW(writeWholeFile(file_, std::string(1000, 'x')), Failure);
  }
  EXPECT_EQ(readFile(file_), "old");
  EXPECT_EQ(filesThere(), 1);
}

TEST_F(WriteWholeFile, WritesToADeviceAsItStands) {
  fs::create_symlink("/dev/null", file_);
  EXPECT_EQ(refusal(file_), "");
  EXPECT_TRUE(fs::is_character_file(file_));
}

TEST_F(WriteWholeFile, SaysWhichFileCannotBeWrittenAndWhy) {
  EXPECT_EQ(refusal(dir_.path() / "none" / "a"),
            (dir_.path() / "none" / "a").string() + ": cannot be written: No such file or directory");
  EXPECT_THAT(refusal(dir_.path()), HasSubstr("Is a directory"));
  EXPECT_THAT(refusal(""), HasSubstr("No such file"));
  EXPECT_THAT(refusal(std::string(5000, 'a')), HasSubstr("File name too long"));
  fs::create_symlink("a.csv", file_);
  EXPECT_THAT(refusal(file_), HasSubstr("Too many levels of symbolic links"));
}

TEST_F(WriteWholeFile, RefusesAPathThatWouldBeAnotherOneToTheLibraries) {
  for (const char* name : {"a\\b.csv", "\xFF.csv"})
    EXPECT_THAT(refusal(dir_.path() / name), HasSubstr("UTF-8")) << name;
  EXPECT_EQ(filesThere(), 0);
}

}  // namespace
}  // namespace queltool
