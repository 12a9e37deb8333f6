#include "quelplatform/ground/ini/IniFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "quelplatform/ground/text/iniNumber.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;
using quel::testing::writeFile;
using quelplatform::IniFile;
using quelplatform::IniLineKind;
using quelplatform::iniNumber;
using quelplatform::IniProblem;
using quelplatform::parseIniLine;
using quelplatform::parseIniText;
using quelplatform::readIniFile;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

auto Problem(int line, const std::string& part) {
  return AllOf(Field(&IniProblem::line, line), Field(&IniProblem::cause, HasSubstr(part)));
}

std::string valueOf(const IniFile& file, const std::string& section, const std::string& key) {
  const auto* found = file.find(section);
  if (found == nullptr) return "(no section)";
  const auto* entry = found->find(key);
  return entry == nullptr ? "(no entry)" : entry->value;
}

// The text as UTF-16 with its mark, low bytes first or last.
std::string utf16(std::u16string_view text, bool lowFirst) {
  std::string bytes;
  for (const char16_t unit : u"\uFEFF" + std::u16string(text)) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    bytes += lowFirst ? low : high;
    bytes += lowFirst ? high : low;
  }
  return bytes;
}

TEST(parseIniLine, TellsTheKindsOfLinesApart) {
  const auto kind = [](std::string_view text) { return parseIniLine(text).kind; };
  EXPECT_EQ(kind(""), IniLineKind::Blank);
  EXPECT_EQ(kind(" \t\r"), IniLineKind::Blank);
  EXPECT_EQ(kind("; a = b"), IniLineKind::Comment);
  EXPECT_EQ(kind("  # [a]"), IniLineKind::Comment);
  EXPECT_EQ(kind("[a]"), IniLineKind::Section);
  EXPECT_EQ(kind("[a"), IniLineKind::Other);
  EXPECT_EQ(kind("a = b"), IniLineKind::Entry);
  EXPECT_EQ(kind("a ="), IniLineKind::Entry);
  EXPECT_EQ(kind("= b"), IniLineKind::Other);
  EXPECT_EQ(kind("a"), IniLineKind::Other);
}

TEST(parseIniLine, DropsBlanksAroundNamesAndValuesOfEitherWidth) {
  const auto section = parseIniLine(std::string_view("  [ a b ] rest\r"));
  EXPECT_EQ(section.name, "a b");
  const auto entry = parseIniLine(std::u16string_view(u"\t k 1 =  v = ;w \r"));
  EXPECT_EQ(entry.kind, IniLineKind::Entry);
  EXPECT_EQ(entry.name, u"k 1");
  EXPECT_EQ(entry.value, u"v = ;w");
}

TEST(parseIniText, FindsEntriesBySectionAndKeyWithoutRegardToCase) {
  const IniFile file = parseIniText("top=0\n[One]\r\nKey = a \n[Two]\nkey=b\nlast=c");
  EXPECT_EQ(valueOf(file, "", "TOP"), "0");
  EXPECT_EQ(valueOf(file, "ONE", "kEY"), "a");
  EXPECT_EQ(valueOf(file, "two", "key"), "b");
  EXPECT_EQ(valueOf(file, "two", "last"), "c");
  EXPECT_EQ(valueOf(file, "two", "lasting"), "(no entry)");
  EXPECT_EQ(valueOf(file, "three", "key"), "(no section)");
  EXPECT_THAT(file.problems, IsEmpty());
}

TEST(parseIniText, LetsTheFirstOfEqualNamesWin) {
  const IniFile file = parseIniText("[a]\nk=1\nk=2\n[A]\nk=3\nm=4\n");
  EXPECT_EQ(valueOf(file, "a", "k"), "1");
  EXPECT_EQ(valueOf(file, "a", "m"), "(no entry)");
}

TEST(parseIniText, CountsLinesFromOneAndReportsThoseThatMeanNothing) {
  const IniFile file = parseIniText("# c\n\nwrong\n[a]\nk=1\n[open\n");
  EXPECT_EQ(file.find("a")->line, 4);
  EXPECT_EQ(file.find("a")->find("k")->line, 5);
  EXPECT_THAT(file.problems, ElementsAre(Problem(3, "neither"), Problem(6, "neither")));
}

TEST(parseIniText, ReadsEveryEncodingThatCarriesItsMark) {
  const std::u16string text = u"[a]\r\nk=\u00E9\U0001F600\r\n";
  const std::string value = "\xC3\xA9\xF0\x9F\x98\x80";
  EXPECT_EQ(valueOf(parseIniText("[a]\r\nk=" + value + "\r\n"), "a", "k"), value);
  EXPECT_EQ(valueOf(parseIniText("\xEF\xBB\xBF[a]\r\nk=" + value + "\r\n"), "a", "k"), value);
  EXPECT_EQ(valueOf(parseIniText(utf16(text, true)), "a", "k"), value);
  EXPECT_EQ(valueOf(parseIniText(utf16(text, false)), "a", "k"), value);
}

TEST(parseIniText, ReadsEveryBeginningOfAFileWithoutHarm) {
  const std::string whole = utf16(u"[Camera 42]\r\nName = Bench \U0001F600 head\r\nWidth=1920\n", true);
  for (std::size_t length = 0; length <= whole.size(); ++length) parseIniText(whole.substr(0, length));
  EXPECT_EQ(valueOf(parseIniText(whole.substr(0, whole.size() - 2)), "camera 42", "width"), "1920");
}

TEST(parseIniText, KeepsNulAndMalformedBytesOfValues) {
  const std::string text("[a]\nk=x\0y\xFFz\n", 12);
  EXPECT_EQ(valueOf(parseIniText(text), "a", "k"), std::string("x\0y\xFFz", 5));
}

TEST(parseIniText, TakesALineOfAMegabyte) {
  const std::string value(1 << 20, 'v');
  EXPECT_EQ(valueOf(parseIniText("[a]\nk=" + value + "\nm=1"), "a", "k"), value);
  EXPECT_THAT(parseIniText(value).problems, ElementsAre(Problem(1, "neither")));
}

TEST(parseIniText, ListsTwentyProblemsAndSaysThatThereAreMore) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "wrong\n";
  const IniFile file = parseIniText(text);
  ASSERT_EQ(file.problems.size(), 21u);
  EXPECT_THAT(file.problems[19], Problem(20, "neither"));
  EXPECT_THAT(file.problems[20], Problem(0, "further problems"));
}

TEST(readIniFile, TakesAMissingFileForAnEmptyOne) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  for (const auto& path : {dir.path() / "none", dir.path() / "none" / "none", dir.path() / "file" / "below"}) {
    const IniFile file = readIniFile(path.string());
    EXPECT_TRUE(file.sections.empty());
    EXPECT_THAT(file.problems, IsEmpty());
  }
  EXPECT_THAT(readIniFile("").problems, IsEmpty());
}

TEST(readIniFile, ReportsWhatCannotBeRead) {
  const TempDir dir;
  ASSERT_EQ(mkfifo((dir.path() / "pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop", dir.path() / "loop");
  EXPECT_THAT(readIniFile(dir.path().string()).problems, ElementsAre(Problem(0, "cannot be read: Is a directory")));
  EXPECT_THAT(readIniFile((dir.path() / "pipe").string()).problems, ElementsAre(Problem(0, "cannot be read: Invalid")));
  EXPECT_THAT(readIniFile((dir.path() / "loop").string()).problems,
              ElementsAre(Problem(0, "cannot be read: Too many")));
  EXPECT_THAT(readIniFile("/proc/self/mem").problems, ElementsAre(Problem(0, "cannot be read")));
}

TEST(readIniFile, RefusesAnEndlessFile) {
  EXPECT_THAT(readIniFile("/dev/zero").problems, ElementsAre(Problem(0, "File too large")));
  EXPECT_THAT(readIniFile("/dev/null").problems, IsEmpty());
}

TEST(readIniFile, ReadsAFileOfSeveralBlocks) {
  const TempDir dir;
  writeFile(dir.path() / "a.ini", "[a]\nk=" + std::string(200000, 'x') + "\nlast=1\n");
  EXPECT_EQ(valueOf(readIniFile((dir.path() / "a.ini").string()), "a", "last"), "1");
}

TEST(iniNumber, TakesTheWholeTextOrNothing) {
  EXPECT_EQ(iniNumber<double>("1.5"), 1.5);
  EXPECT_EQ(iniNumber<double>("+1e3"), 1000.0);
  EXPECT_EQ(iniNumber<double>("-.25"), -0.25);
  EXPECT_EQ(iniNumber<std::int32_t>("+7"), 7);
  EXPECT_EQ(iniNumber<std::int32_t>("-2147483648"), -2147483647 - 1);
  for (const char* text :
       {"", "+", "-", "+-1", "++1", "1,5", "1.5 ", " 1", "1x", "0x10", "inf", "nan", "1e999", "--1"}) {
    EXPECT_EQ(iniNumber<double>(text), std::nullopt) << text;
  }
  for (const char* text : {"", "1.0", "2147483648", "1e2", "1 "}) {
    EXPECT_EQ(iniNumber<std::int32_t>(text), std::nullopt) << text;
  }
}

}  // namespace
