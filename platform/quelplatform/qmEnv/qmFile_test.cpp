#include "quelplatform/qmEnv/qmFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;

constexpr std::array kAllModes = {u"rb", u"wb", u"ab", u"r", u"w"};

// `errno` of an open that must fail; the handle must be null afterwards.
int errorOfOpen(const qmWChar* path, const qmWChar* mode) {
  std::FILE* file = stdout;
  errno = 0;
  EXPECT_EQ(qmFileOpen(path, mode, &file), 0);
  EXPECT_EQ(file, nullptr);
  return errno;
}

void put(const qmWString& path, const qmWChar* mode, const std::string& text) {
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(path.c_str(), mode, &file), 1);
  EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
  EXPECT_EQ(qmFileClose(path.c_str(), &file), 1);
  EXPECT_EQ(file, nullptr);
}

TEST(qmFileOpen, WritesAppendsAndReads) {
  const TempDir dir;
  const qmWString path = dir.wide("a.bin");
  put(path, u"wb", "one");
  put(path, u"ab", "two");
  EXPECT_EQ(readFile(dir.path() / "a.bin"), "onetwo");
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(path.c_str(), u"rb", &file), 1);
  std::array<char, 8> text{};
  EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), 6u);
  EXPECT_STREQ(text.data(), "onetwo");
  EXPECT_EQ(qmFileClose(path.c_str(), &file), 1);
  put(path, u"w", "3");
  EXPECT_EQ(readFile(dir.path() / "a.bin"), "3");
}

TEST(qmFileOpen, HandsNoDescriptorToChildProcessesAndNeverLeavesOneNonBlocking) {
  const TempDir dir;
  for (const qmWChar* mode : {u"wb", u"ab", u"rb", u"w", u"r"}) {
    std::FILE* file = nullptr;
    ASSERT_EQ(qmFileOpen(dir.wide("a").c_str(), mode, &file), 1);
    EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(fcntl(fileno(file), F_GETFL) & O_NONBLOCK, 0);
    qmFileClose(nullptr, &file);
  }
}

TEST(qmFileOpen, FailsForNullPathModeAndHandle) {
  EXPECT_EQ(errorOfOpen(nullptr, u"rb"), EINVAL);
  EXPECT_EQ(errorOfOpen(u"/dev/null", nullptr), EINVAL);
  EXPECT_EQ(errorOfOpen(u"/dev/null", u"r+"), EINVAL);
  errno = 0;
  EXPECT_EQ(qmFileOpen(u"/dev/null", u"rb", nullptr), 0);
  EXPECT_EQ(errno, EINVAL);
}

TEST(qmFileOpen, RefusesDirectoriesPipesAndSocketsInEveryModeWithoutWaiting) {
  const TempDir dir;
  const std::string pipe = (dir.path() / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, (dir.path() / "socket").c_str(), sizeof(address.sun_path) - 1);
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);

  for (const qmWChar* mode : kAllModes) {
    EXPECT_EQ(errorOfOpen(dir.wide("").c_str(), mode), EISDIR);
    EXPECT_EQ(errorOfOpen(dir.wide("pipe").c_str(), mode), EINVAL);
    EXPECT_EQ(errorOfOpen(dir.wide("socket").c_str(), mode), EINVAL);
  }
  close(listener);
}

TEST(qmFileOpen, TellsWhatIsMissing) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  EXPECT_EQ(errorOfOpen(u"", u"rb"), ENOENT);
  EXPECT_EQ(errorOfOpen(dir.wide("none").c_str(), u"rb"), ENOENT);
  EXPECT_EQ(errorOfOpen(dir.wide("none/none").c_str(), u"wb"), ENOENT);
  EXPECT_EQ(errorOfOpen(dir.wide("file/below").c_str(), u"wb"), ENOTDIR);
  EXPECT_EQ(errorOfOpen(dir.wide(std::string(300, 'n')).c_str(), u"wb"), ENAMETOOLONG);
  EXPECT_EQ(errorOfOpen(u"/proc/none", u"wb"), ENOENT);
}

TEST(qmFileOpen, TakesBothSeparators) {
  const TempDir dir;
  fs::create_directory(dir.path() / "sub");
  qmWString path = dir.wide("sub") + u"\\a";
  put(path, u"wb", "x");
  EXPECT_EQ(readFile(dir.path() / "sub" / "a"), "x");
}

TEST(qmFileOpen, RootsALeadingBackslashInTheHomeDirectory) {
  const TempHome home;
  put(u"\\a.txt", u"w", "x");
  EXPECT_EQ(readFile(home.path() / "a.txt"), "x");
}

TEST(qmFileOpen, MakesTheHomeDirectoryAtTheFirstWriteOnly) {
  const TempHome home;
  const fs::path inner = home.path() / "deep" / "home";
  quelplatform::setHomeDirectory(inner.string());
  EXPECT_EQ(errorOfOpen(u"\\a", u"rb"), ENOENT);
  EXPECT_EQ(errorOfOpen(home.wide("deep/other").c_str(), u"wb"), ENOENT);
  EXPECT_FALSE(fs::exists(home.path() / "deep"));
  put(u"\\a", u"wb", "x");
  EXPECT_EQ(readFile(inner / "a"), "x");
  EXPECT_EQ(errorOfOpen(u"\\sub\\a", u"wb"), ENOENT);
}

TEST(qmFileOpen, ReplacesLoneSurrogatesInNames) {
  const TempDir dir;
  qmWString path = dir.wide("a");
  path.push_back(0xD800);
  put(path, u"wb", "x");
  EXPECT_EQ(readFile(dir.path() / "a\xEF\xBF\xBD"), "x");
}

TEST(qmFileClose, TellsThatBufferedDataFoundNoRoom) {
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(u"/dev/full", u"wb", &file), 1);
  EXPECT_EQ(std::fputc('x', file), 'x');
  errno = 0;
  EXPECT_EQ(qmFileClose(u"/dev/full", &file), 0);
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_EQ(file, nullptr);
}

TEST(qmFileClose, TellsThatAnEarlierWriteWasLost) {
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(u"/dev/full", u"wb", &file), 1);
  std::setvbuf(file, nullptr, _IONBF, 0);
  EXPECT_EQ(std::fputc('x', file), EOF);
  EXPECT_EQ(qmFileClose(u"/dev/full", &file), 0);
  EXPECT_EQ(errno, EIO);
}

TEST(qmFileClose, TakesNoReadErrorForAFailure) {
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(u"/proc/self/mem", u"rb", &file), 1);  // Address 0 cannot be read.
  EXPECT_EQ(std::fgetc(file), EOF);
  ASSERT_NE(std::ferror(file), 0);
  EXPECT_EQ(qmFileClose(nullptr, &file), 1);
}

TEST(qmFileClose, LeavesNullAlone) {
  EXPECT_EQ(qmFileClose(u"a", nullptr), 1);
  std::FILE* file = nullptr;
  EXPECT_EQ(qmFileClose(nullptr, &file), 1);
}

TEST(qmEnvFlip, TouchesNothingOnThisHost) {
  std::array<std::uint8_t, 8> bytes = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto before = bytes;
  EXPECT_EQ(qmEnvFlip(bytes.data(), 1000000, 8), 1);
  EXPECT_EQ(bytes, before);
}

TEST(QmFileExist, IsTrueForAnythingButADirectory) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  fs::create_symlink("nowhere", dir.path() / "dangling");
  EXPECT_TRUE(QmFileExist(dir.wide("file").c_str()));
  EXPECT_TRUE(QmFileExist(u"/dev/null"));
  EXPECT_FALSE(QmFileExist(dir.wide("").c_str()));
  EXPECT_FALSE(QmFileExist(dir.path().u16string().c_str()));
  EXPECT_FALSE(QmFileExist(dir.wide("none").c_str()));
  EXPECT_FALSE(QmFileExist(dir.wide("dangling").c_str()));
  EXPECT_FALSE(QmFileExist(u""));
  EXPECT_FALSE(QmFileExist(nullptr));
}

TEST(QmFileExist, IsFalseForAPathThatEndsInASeparator) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  EXPECT_FALSE(QmFileExist((dir.wide("file") + u"/").c_str()));
  EXPECT_FALSE(QmFileExist((dir.wide("file") + u"\\").c_str()));
}

TEST(QmDirectoryExist, IsTrueForDirectoriesOnly) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  EXPECT_TRUE(QmDirectoryExist(dir.path().u16string().c_str()));
  EXPECT_TRUE(QmDirectoryExist((dir.path().u16string() + u"\\").c_str()));
  EXPECT_FALSE(QmDirectoryExist(dir.wide("file").c_str()));
  EXPECT_FALSE(QmDirectoryExist(dir.wide("none").c_str()));
  EXPECT_FALSE(QmDirectoryExist(u""));
  EXPECT_FALSE(QmDirectoryExist(nullptr));
}

TEST(QmMakeDirectory, MakesParentsAndIsTrueForADirectoryThatIsThere) {
  const TempDir dir;
  const qmWString path = dir.wide("a\\b/c");
  EXPECT_TRUE(QmMakeDirectory(path.c_str()));
  EXPECT_TRUE(fs::is_directory(dir.path() / "a" / "b" / "c"));
  EXPECT_TRUE(QmMakeDirectory(path.c_str()));
  EXPECT_TRUE(QmMakeDirectory((dir.wide("d") + u"\\").c_str()));
  EXPECT_TRUE(fs::is_directory(dir.path() / "d"));
}

TEST(QmMakeDirectory, IsTrueForTheEmptyPathAndFalseForNull) {
  EXPECT_TRUE(QmMakeDirectory(u""));
  EXPECT_FALSE(QmMakeDirectory(nullptr));
}

TEST(QmMakeDirectory, FailsWhereAFileIsInTheWay) {
  const TempDir dir;
  writeFile(dir.path() / "file", "x");
  EXPECT_FALSE(QmMakeDirectory(dir.wide("file").c_str()));
  EXPECT_FALSE(QmMakeDirectory(dir.wide("file/below").c_str()));
  EXPECT_FALSE(QmMakeDirectory(u"/proc/none"));
  EXPECT_EQ(readFile(dir.path() / "file"), "x");
}

qmWString fileNameOf(const qmWChar* path, std::int32_t size = 16) {
  std::vector<qmWChar> buffer(static_cast<std::size_t>(size) + 1, u'#');
  const std::int32_t length = GetFileName(path, buffer.data(), size);
  EXPECT_EQ(buffer.back(), u'#');
  const qmWString text(buffer.data());
  EXPECT_EQ(static_cast<std::int32_t>(text.size()), length);
  return text;
}

TEST(GetFileName, IsWhatFollowsTheLastSeparator) {
  EXPECT_EQ(fileNameOf(u"/a/b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"a\\b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"a\\c/b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"b.txt"), u"b.txt");
  EXPECT_EQ(fileNameOf(u"a/"), u"");
  EXPECT_EQ(fileNameOf(u""), u"");
  EXPECT_EQ(fileNameOf(nullptr), u"");
}

TEST(GetFileName, IsCutToFit) {
  EXPECT_EQ(fileNameOf(u"/abcdef", 7), u"abcdef");
  EXPECT_EQ(fileNameOf(u"/abcdef", 6), u"abcde");
  EXPECT_EQ(fileNameOf(u"/abcdef", 1), u"");
  EXPECT_EQ(GetFileName(u"a", nullptr, 5), 0);
  qmWChar unit = u'x';
  EXPECT_EQ(GetFileName(u"a", &unit, 0), 0);
  EXPECT_EQ(unit, u'x');
}

qmWString fullPathOf(const qmWChar* path, std::int32_t limit = 16) {
  std::vector<qmWChar> buffer(static_cast<std::size_t>(limit) + 2, u'#');
  const std::int32_t length = GetFullPath(path, buffer.data(), limit);
  EXPECT_EQ(buffer.back(), u'#');
  const qmWString text(buffer.data());
  EXPECT_EQ(static_cast<std::int32_t>(text.size()), length);
  return text;
}

TEST(GetFullPath, IsTheDirectoryWithoutItsLastSeparatorUnlessThatIsTheRoot) {
  EXPECT_EQ(fullPathOf(u"/a/b/c.txt"), u"/a/b");
  EXPECT_EQ(fullPathOf(u"a\\b"), u"a");
  EXPECT_EQ(fullPathOf(u"a/"), u"a");
  EXPECT_EQ(fullPathOf(u"/a"), u"/");
  EXPECT_EQ(fullPathOf(u"\\a"), u"\\");
  EXPECT_EQ(fullPathOf(u"a"), u"");
  EXPECT_EQ(fullPathOf(u""), u"");
  EXPECT_EQ(fullPathOf(nullptr), u"");
}

TEST(GetFullPath, IsEmptyWhenItDoesNotFit) {
  EXPECT_EQ(fullPathOf(u"abcd/x", 4), u"abcd");
  EXPECT_EQ(fullPathOf(u"abcd/x", 3), u"");
  EXPECT_EQ(GetFullPath(u"a/b", nullptr, 5), 0);
  qmWChar unit = u'x';
  EXPECT_EQ(GetFullPath(u"a/b", &unit, -1), 0);
  EXPECT_EQ(unit, u'x');
  EXPECT_EQ(GetFullPath(u"a/b", &unit, 0), 0);
  EXPECT_EQ(unit, u'\0');
}

TEST(directoryOf, KnowsBareNamesAndTheRoot) {
  EXPECT_EQ(quelplatform::directoryOf("a"), ".");
  EXPECT_EQ(quelplatform::directoryOf("/a"), "/");
  EXPECT_EQ(quelplatform::directoryOf("/a/b"), "/a");
}

// `errno` of a whole write; 0 when it took.
int errorOfWholeWrite(const qmWString& path, const std::string& content) {
  errno = 0;
  return qmFileWriteWhole(path.c_str(), content.data(), content.size()) == 1 ? 0 : errno;
}

TEST(qmFileWriteWhole, MakesAndReplacesAFileAndLeavesNothingBeside) {
  const TempDir dir;
  const std::string content = std::string(300000, 'x') + std::string("\0end", 4);
  for (const std::string& text : {content, std::string("short"), std::string()}) {
    EXPECT_EQ(errorOfWholeWrite(dir.wide("file"), text), 0);
    EXPECT_EQ(readFile(dir.path() / "file"), text);
  }
  EXPECT_EQ(qmFileWriteWhole(dir.wide("file").c_str(), nullptr, 0), 1);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1);
}

TEST(qmFileWriteWhole, MakesTheHomeDirectory) {
  const TempHome home;
  quelplatform::setHomeDirectory((home.path() / "new").string());
  EXPECT_EQ(errorOfWholeWrite(u"\\file", "x"), 0);
  EXPECT_EQ(readFile(home.path() / "new/file"), "x");
}

TEST(qmFileWriteWhole, WritesWhatALinkLeadsToAndKeepsPermissions) {
  const TempDir dir;
  writeFile(dir.path() / "file", "old");
  fs::permissions(dir.path() / "file", fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
  fs::create_symlink("file", dir.path() / "link");
  EXPECT_EQ(errorOfWholeWrite(dir.wide("link"), "new"), 0);
  EXPECT_EQ(readFile(dir.path() / "file"), "new");
  EXPECT_TRUE(fs::is_symlink(dir.path() / "link"));
  EXPECT_NE(fs::status(dir.path() / "file").permissions() & fs::perms::others_read, fs::perms::none);
}

TEST(qmFileWriteWhole, TellsWhyItFailsAndLeavesTheOldFile) {
  const TempDir dir;
  EXPECT_EQ(errorOfWholeWrite(dir.wide(""), "x"), EISDIR);
  EXPECT_EQ(errorOfWholeWrite(dir.path().u16string(), "x"), EISDIR);
  EXPECT_EQ(errorOfWholeWrite(dir.wide("none/file"), "x"), ENOENT);
  EXPECT_EQ(errorOfWholeWrite(u"", "x"), ENOENT);
  EXPECT_EQ(errorOfWholeWrite(u"/dev/null", "x"), EINVAL);
  writeFile(dir.path() / "locked", "old");
  fs::permissions(dir.path() / "locked", fs::perms::owner_read);
  EXPECT_EQ(errorOfWholeWrite(dir.wide("locked"), "x"), EACCES);
  EXPECT_EQ(readFile(dir.path() / "locked"), "old");
  errno = 0;
  EXPECT_EQ(qmFileWriteWhole(nullptr, "x", 1), 0);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(qmFileWriteWhole(dir.wide("file").c_str(), nullptr, 1), 0);
  EXPECT_FALSE(fs::exists(dir.path() / "file"));
}

}  // namespace
