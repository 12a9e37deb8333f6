#include "quelcore/project/WideLines.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<qmWString> linesOf(const std::string& content, std::size_t most = 4095) {
  const TempDir dir;
  writeFile(dir.path() / "file", content);
  std::FILE* file = nullptr;
  EXPECT_EQ(qmFileOpen(dir.wide("file").c_str(), u"r", &file), 1);
  quelcore::WideLines lines(file, most);
  std::vector<qmWString> all;
  for (std::u16string_view line; lines.next(line);) all.emplace_back(line);
  EXPECT_FALSE(lines.failed());
  qmFileClose(u"", &file);
  return all;
}

// By a road of its own: the whole text at once, then unit by unit.
std::vector<qmWString> expectedLines(const std::string& content, std::size_t most) {
  std::vector<qmWString> all;
  bool open = false;
  for (const qmWChar unit : toWide(std::string_view(content))) {
    if (!open) all.emplace_back();
    all.back() += unit;
    open = unit != u'\n' && all.back().size() < most;
  }
  return all;
}

TEST(WideLines, GivesLinesWithTheirLineFeeds) {
  EXPECT_THAT(linesOf(""), IsEmpty());
  EXPECT_THAT(linesOf("a\n\nb"), ElementsAre(u"a\n", u"\n", u"b"));
  EXPECT_THAT(linesOf("a\r\nb\n"), ElementsAre(u"a\r\n", u"b\n"));
}

TEST(WideLines, GivesLongLinesInPieces) {
  EXPECT_THAT(linesOf("abcde\nf", 3), ElementsAre(u"abc", u"de\n", u"f"));
  EXPECT_THAT(linesOf("abc\nd", 4), ElementsAre(u"abc\n", u"d"));
  EXPECT_THAT(linesOf("abc\nd", 3), ElementsAre(u"abc", u"\n", u"d"));
}

TEST(WideLines, PassesOverAMarkAtTheBeginningOnly) {
  EXPECT_THAT(linesOf("\xEF\xBB\xBF"
                      "a\n\xEF\xBB\xBF"
                      "b"),
              ElementsAre(u"a\n", u"\uFEFFb"));
  EXPECT_THAT(linesOf("\xEF\xBB\xBF"), IsEmpty());
}

TEST(WideLines, AgreesWithTheWholeTextWhereverItIsCut) {
  auto random = testRandom();
  const std::vector<std::string> pieces = {
      "a",    "\n",       "\xC3\xA4",     "\xE6\xB8\xAC", "\xF0\x9F\x98\x80",   "\x80",
      "\xC3", "\xE6\xB8", "\xF0\x9F\x98", "\xFF",         std::string("\0", 1), "\x80\x80\x80\x80"};
  for (int i = 0; i < 40; ++i) {
    std::string content(65536 - 10 - random() % 10, 'x');
    for (int n = 0; n < 30; ++n) content += pieces[random() % pieces.size()];
    const std::size_t most = 1 + random() % 70000;
    ASSERT_EQ(linesOf(content, most), expectedLines(content, most)) << i;
  }
}

TEST(WideLines, TakesNoLoneContinuationForAscii) {
  EXPECT_THAT(linesOf("\x80"), ElementsAre(u"\uFFFD"));
  EXPECT_THAT(linesOf(std::string("\x7F\0", 2)), ElementsAre(qmWString(u"\x7F\0", 2)));
}

TEST(WideLines, TellsOfAFileThatCannotBeRead) {
  const TempDir dir;
  std::FILE* file = nullptr;
  ASSERT_EQ(qmFileOpen(dir.wide("file").c_str(), u"w", &file), 1);  // Opened for writing: reading fails.
  quelcore::WideLines lines(file, 10);
  std::u16string_view line;
  EXPECT_FALSE(lines.next(line));
  EXPECT_TRUE(lines.failed());
  qmFileClose(u"", &file);
}

}  // namespace
