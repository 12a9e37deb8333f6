#include "quelcore/base/problems.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "quelplatform/qmEnv/CMarkupSTL.h"

namespace {

using quelcore::beginReading;
using quelcore::Place;
using quelcore::ProblemText;
using quelcore::refuse;
using quelcore::remark;
using ::testing::StartsWith;
using ::testing::StrEq;

std::string textOf(const QmProblem* problem) {
  if (problem == nullptr) return "none";
  char line[2048];
  const std::int32_t length = qmProblemText(*problem, line, sizeof(line));
  EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(line));
  return line;
}

std::string lastText() { return textOf(qmLastProblem()); }

TEST(qmLastProblem, IsNoneForASoundReading) {
  beginReading(u"a.txt");
  refuse({}, "", "x");
  beginReading(u"b.txt");
  EXPECT_EQ(qmLastProblem(), nullptr);
  EXPECT_EQ(qmLastRemark(0), nullptr);
}

TEST(qmLastProblem, KeepsTheFirstCauseOfAReading) {
  beginReading(u"a.txt");
  EXPECT_FALSE(refuse({.line = 3, .column = 7}, "row 2", ProblemText::quoted(u"x"), "a number"));
  refuse({}, "", "later");
  quelcore::refuseForMemory();
  EXPECT_EQ(lastText(), "a.txt, line 3, column 7, row 2: expected a number, found \"x\"");
}

TEST(qmLastProblem, TellsBytesAndLinesAndFilesThatAreKnown) {
  beginReading(nullptr);
  refuse({.offset = 0}, "count", "-1", "no negative number");
  EXPECT_EQ(lastText(), "offset 0, count: expected no negative number, found -1");
  beginReading(nullptr);
  refuse({}, "", "no file is named");
  EXPECT_EQ(lastText(), "no file is named");
  beginReading(u"a");
  refuse({.line = 2}, "", "x");
  EXPECT_EQ(lastText(), "a, line 2: x");
}

TEST(qmLastProblem, IsEachThreadsOwn) {
  beginReading(u"mine");
  refuse({}, "", "here");
  std::thread([] {
    EXPECT_EQ(qmLastProblem(), nullptr);
    beginReading(u"yours");
    refuse({}, "", "there");
    EXPECT_EQ(lastText(), "yours: there");
  }).join();
  EXPECT_EQ(lastText(), "mine: here");
}

TEST(qmLastRemark, KeepsTheFirstEightInTheirOrder) {
  beginReading(u"a");
  for (int i = 1; i <= 12; ++i) remark({.line = i}, "", "x");
  for (int i = 0; i < 8; ++i) EXPECT_EQ(textOf(qmLastRemark(i)), "a, line " + std::to_string(i + 1) + ": x");
  EXPECT_EQ(qmLastRemark(8), nullptr);
  EXPECT_EQ(qmLastRemark(-1), nullptr);
  EXPECT_EQ(qmLastProblem(), nullptr);
  EXPECT_FALSE(quelcore::hasRoomForRemark());
}

TEST(qmLastRemark, IsAboutTheFurtherFileThatWasGoneOnWith) {
  beginReading(u"a");
  quelcore::goOnReading(u"b");
  remark({}, "", "x");
  EXPECT_EQ(textOf(qmLastRemark(0)), "b: x");
}

TEST(qmProblemText, IsCutToTheBufferAndReturnsTheWholeLength) {
  beginReading(u"file");
  refuse({.line = 1, .column = 2}, "part", "found", "expected");
  const std::string whole = lastText();
  const QmProblem& problem = *qmLastProblem();
  EXPECT_EQ(qmProblemText(problem, nullptr, 0), static_cast<std::int32_t>(whole.size()));
  for (std::size_t size = 0; size <= whole.size() + 2; ++size) {
    std::string buffer(whole.size() + 3, '#');
    EXPECT_EQ(qmProblemText(problem, buffer.data(), static_cast<std::int32_t>(size)),
              static_cast<std::int32_t>(whole.size()));
    if (size > 0) {
      EXPECT_EQ(std::string(buffer.c_str()), whole.substr(0, size - 1)) << size;
    }
    EXPECT_EQ(buffer[size], '#') << size;
  }
}

TEST(ProblemText, CitesAsUtf8AndCutsWhatIsLong) {
  EXPECT_THAT(ProblemText::quoted(u"\u00FC\u92FC\U0001F600").text, StrEq("\"\xC3\xBC\xE9\x8B\xBC\xF0\x9F\x98\x80\""));
  EXPECT_THAT(ProblemText::quoted(u"\xD800x\xDC00\n").text, StrEq("\"\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD\""));
  EXPECT_THAT(ProblemText::quoted(std::u16string(1000, u'\u92FC')).text, StartsWith("\"\xE9\x8B\xBC"));
  EXPECT_EQ(std::strlen(ProblemText::quoted(std::u16string(1000, u'\u92FC')).text), 122u);
  EXPECT_EQ(std::strlen(ProblemText::plain(std::u16string(1000, u'\u92FC')).text), 189u);  // Whole characters only.
  EXPECT_EQ(std::strlen(ProblemText(std::string(1000, 'x').c_str()).text), 191u);
}

TEST(refuseUnreadable, HasWordsForWhatASystemReports) {
  const auto wordsFor = [](int error) {
    beginReading(u"f");
    quelcore::refuseUnreadable(error);
    return lastText();
  };
  EXPECT_EQ(wordsFor(ENOENT), "f: there is no such file");
  EXPECT_EQ(wordsFor(ENOTDIR), "f: there is no such file");
  EXPECT_EQ(wordsFor(EACCES), "f: the file may not be read");
  EXPECT_EQ(wordsFor(EISDIR), "f: it is a directory");
  EXPECT_EQ(wordsFor(ENOMEM), "f: memory is exhausted");
  EXPECT_EQ(wordsFor(EIO), "f: it cannot be read: system error " + std::to_string(EIO));
}

TEST(refuseXml, TakesThePlaceOutOfTheDocumentsWords) {
  beginReading(u"f");
  CMarkupSTL xml;
  ASSERT_FALSE(xml.SetDoc(u"<a>\n  <b></a>"));
  EXPECT_FALSE(quelcore::refuseXml(xml));
  ASSERT_NE(qmLastProblem(), nullptr);
  EXPECT_EQ(qmLastProblem()->line, 2);
  EXPECT_GT(qmLastProblem()->column, 0);
  EXPECT_THAT(qmLastProblem()->found, ::testing::Not(StartsWith("line")));
  beginReading(u"f");
  quelcore::refuseXmlError(u"line up, please");
  EXPECT_EQ(lastText(), "f: line up, please");
  beginReading(u"f");
  quelcore::refuseXmlError(u"");
  EXPECT_EQ(lastText(), "f: memory is exhausted");
}

TEST(reading, TellsExhaustedMemoryWhereNoCauseIsKnown) {
  EXPECT_EQ(quelcore::reading(u"f", false, [] { return true; }), true);
  EXPECT_EQ(qmLastProblem(), nullptr);
  EXPECT_EQ(quelcore::reading(u"f", -1, []() -> int { throw std::bad_alloc(); }), -1);
  EXPECT_EQ(lastText(), "f: memory is exhausted");
  quelcore::reading(u"f", false, [] { return false; });
  EXPECT_EQ(lastText(), "f: memory is exhausted");
  quelcore::reading(u"f", false, [] { return refuse({}, "", "x"); });
  EXPECT_EQ(lastText(), "f: x");
}

}  // namespace
