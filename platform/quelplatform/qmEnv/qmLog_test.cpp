#include "quelplatform/qmEnv/qmLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/LogText.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::Line;
using quel::testing::Message;
using quel::testing::NumberedError;
using quel::testing::RecordingLog;
using quelplatform::LogCall;
using quelplatform::LogRecord;
using ::testing::ElementsAre;
using ::testing::SizeIs;

template <typename... Args>
std::string formatted(const char* format, const Args&... args) {
  RecordingLog log;
  writeLogF(0, 1, "m", "d", format, args...);
  const std::vector<LogRecord> records = log.records();
  return records.size() == 1 ? records[0].text : "(not one record)";
}

TEST(writeLogF, PrintsIntegersOfEveryWidth) {
  EXPECT_EQ(formatted("%d %i %d", 1, -2, std::numeric_limits<std::int64_t>::min()), "1 -2 -9223372036854775808");
  EXPECT_EQ(formatted("%d %u %i", std::int8_t{-3}, std::uint64_t{18446744073709551615u}, std::uint16_t{7}),
            "-3 18446744073709551615 7");
  EXPECT_EQ(formatted("%x %X %o", 255, 0xC43D0003u, 8), "ff C43D0003 10");
  EXPECT_EQ(formatted("%x", -1), "ffffffff");
  EXPECT_EQ(formatted("%5d|%-5d|%05d|%+d", 42, 42, 42, 42), "   42|42   |00042|+42");
  EXPECT_EQ(formatted("%d", true), "1");
}

TEST(writeLogF, PrintsDoublesAsPrintfDoes) {
  for (const double value : {0.1, -1.5, 1e300, 123456.789, 1e-7, 0.0}) {
    for (const char* format : {"%f", "%.3f", "%g", "%e", "%10.2f|", "%.17g"}) {
      char expected[512];
      std::snprintf(expected, sizeof(expected), format, value);
      EXPECT_EQ(formatted(format, value), expected);
    }
  }
}

TEST(writeLogF, PrintsNarrowAndWideTextAlike) {
  EXPECT_EQ(formatted("%s-%s", "\xC3\xA9", u"\u00E9\U0001F600"), "\xC3\xA9-\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(formatted("%s %s", std::string("a"), qmWString(u"b")), "a b");
  EXPECT_EQ(formatted("%6s|%-6s|%.2s", "abc", u"abc", "abc"), "   abc|abc   |ab");
  EXPECT_EQ(formatted("%s", qmWString{u'a', 0xD800}), "a\xEF\xBF\xBD");
}

TEST(writeLogF, PrintsNullText) {
  EXPECT_EQ(formatted("%s %s", static_cast<const char*>(nullptr), static_cast<const qmWChar*>(nullptr)),
            "(null) (null)");
}

TEST(writeLogF, PrintsPercentAndIgnoresSurplusArguments) {
  EXPECT_EQ(formatted("100%%"), "100%");
  EXPECT_EQ(formatted("%d", 1, 2, "three"), "1");
}

TEST(writeLogF, PrintsAFormatThatDoesNotFitAsItStands) {
  EXPECT_EQ(formatted("%d and %d", 1), "%d and %d");
  EXPECT_EQ(formatted("%s"), "%s");
  EXPECT_EQ(formatted("%d", "text"), "%d");
  EXPECT_EQ(formatted("%d", 1.5), "%d");
  EXPECT_EQ(formatted("100%"), "100%");
  EXPECT_EQ(formatted("%99999999999999999999d", 1), "%99999999999999999999d");
  EXPECT_EQ(formatted("%y", 1), "%y");
}

TEST(writeLogF, NeverTakesArgumentsForFormats) { EXPECT_EQ(formatted("%s|%s", "%s%n%d", u"{}%"), "%s%n%d|{}%"); }

TEST(writeLogF, KeepsALineOfAMegabyte) {
  const std::string text(1 << 20, 'x');
  EXPECT_EQ(formatted("%s", text), text);
}

TEST(writeLogF, TakesANullFormatForABareTrace) {
  RecordingLog log;
  writeLogF(1, 12, "module", "date", nullptr);
  const std::vector<LogRecord> records = log.records();
  ASSERT_THAT(records, ElementsAre(BareTrace("module")));
  EXPECT_EQ(records[0].line, 12);
  EXPECT_EQ(records[0].buildDate, "date");
  EXPECT_EQ(records[0].text, "");
  EXPECT_EQ(records[0].message, "");
}

TEST(writeLogF, ToleratesNullPlaces) {
  RecordingLog log;
  writeLogF(5, 1, nullptr, nullptr, "text");
  qmWriteLogArgsF(5, 1, "m", "d", "%d", nullptr, 3);
  qmWriteLogArgsI(5, 1, "m", "d", 0xC43D001E, nullptr, 3);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, "", "text"), Line(5, "m", "%d"), Message(5, "m", 0xC43D001E, "")));
}

TEST(writeLogI, RecordsCodeArgumentsAndSentence) {
  RecordingLog log;
  writeLogI(5, 3, "module", "date", 0xC4010026, u"/a\u00E9", "no room", -4, 2.5, std::uint64_t{18446744073709551615u});
  const std::vector<LogRecord> records = log.records();
  ASSERT_THAT(records, ElementsAre(Message(5, "module", 0xC4010026, "/a\xC3\xA9|no room|-4|2.5|18446744073709551615")));
  EXPECT_EQ(records[0].message,
            "The file '/a\xC3\xA9' could not be copied: no room [-4, 2.5, 18446744073709551615] (0xC4010026)");
  EXPECT_FALSE(records[0].bare);
}

TEST(sendError, RecordsCodeAndSentence) {
  RecordingLog log;
  sendError(5, 3, "module", "date", 0xC41D0002);
  const std::vector<LogRecord> records = log.records();
  ASSERT_THAT(records, ElementsAre(NumberedError(5, "module", 0xC41D0002)));
  EXPECT_EQ(records[0].text, "");
  EXPECT_EQ(records[0].message, "A block of the configuration names no lens. (0xC41D0002)");
}

TEST(addLogReceiver, ServesSeveralUntilTheyAreRemoved) {
  RecordingLog first;
  {
    RecordingLog second;
    writeLogF(0, 1, "m", "d", "both");
    EXPECT_THAT(second.records(), SizeIs(1));
  }
  writeLogF(0, 1, "m", "d", "one");
  EXPECT_THAT(first.records(), ElementsAre(Line(0, "m", "both"), Line(0, "m", "one")));
  quelplatform::removeLogReceiver(-1);
}

TEST(addLogReceiver, SuffersNothingFromAReceiverThatThrowsOrIsEmpty) {
  const std::int32_t bad = quelplatform::addLogReceiver([](const LogRecord&) { throw std::runtime_error("no"); });
  const std::int32_t empty = quelplatform::addLogReceiver({});
  RecordingLog log;
  writeLogF(0, 1, "m", "d", "text");
  quelplatform::removeLogReceiver(bad);
  quelplatform::removeLogReceiver(empty);
  EXPECT_THAT(log.records(), ElementsAre(Line(0, "m", "text")));
}

TEST(addLogReceiver, GetsEachLineOfManyThreadsWholeAndInTheOrderOfItsThread) {
  constexpr int kThreads = 4;
  constexpr int kLines = 500;
  RecordingLog log;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < kLines; ++i) writeLogF(2, t, "m", "d", "%d", i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<int> next(kThreads, 0);
  for (const LogRecord& record : log.records()) {
    EXPECT_EQ(record.text, std::to_string(next[static_cast<std::size_t>(record.line)]++));
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kLines));
}

TEST(fileLine, NamesLevelPlaceAndBuildDateAndIndentsFurtherLines) {
  LogRecord record{LogCall::WriteLogF, 5, 12, "qmX", "Nov 21 2026", false, 0, "", "one\r\n\ttwo\nthree\n"};
  EXPECT_EQ(quelplatform::fileLine(record), "error qmX:12 (Nov 21 2026): one\n    \ttwo\n    three");
  EXPECT_EQ(quelplatform::consoleLine(record), "error qmX:12: one\n    \ttwo\n    three");
  record.bare = true;
  record.level = 1;
  EXPECT_EQ(quelplatform::fileLine(record), "trace qmX:12 (Nov 21 2026)");
}

TEST(fileLine, NamesEveryLevel) {
  std::string names;
  for (std::int32_t level = -1; level < 7; ++level) {
    names += quelplatform::consoleLine({LogCall::WriteLogF, level, 1, "m", "d", false, 0, "", "t"}) + '\n';
  }
  EXPECT_EQ(names,
            "level -1 m:1: t\ninfo m:1: t\ntrace m:1: t\nprogress m:1: t\nwarning m:1: t\nnote m:1: t\nerror m:1: t\n"
            "level 6 m:1: t\n");
}

}  // namespace
