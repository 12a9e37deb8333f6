#include "quelplatform/qmEnv/qmParam.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLog.h"
#include "testing/NoDescriptors.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::Line;
using quel::testing::NoDescriptors;
using quel::testing::RecordingLog;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Value of `key`, read with the default -1.
double number(const char* key, std::int32_t expectedResult) {
  double value = 99.0;
  EXPECT_EQ(qmEnvGetParam2double(key, -1.0, &value), expectedResult) << key;
  return value;
}

// The flag of `key`, preset with 77.
_qmBool flag(const char* key, std::int32_t expectedResult) {
  _qmBool value = 77;
  EXPECT_EQ(qmEnvGetParam2qmBool(key, 0, &value), expectedResult) << key;
  return value;
}

TEST(qmEnvGetParam2double, GivesTheDefaultWithoutAFileAndCreatesNone) {
  const TempHome home;
  EXPECT_EQ(number("any", 0), -1.0);
  EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST(qmEnvGetParam2double, TakesAFileThatCannotBeReadForTheMomentForNoEmptyOne) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "a=1\n");
  writeLogF(0, 1, "test", "d", "%s:%s", "as the warning", "is formatted");
  const RecordingLog log;
  {
    const NoDescriptors none;
    EXPECT_EQ(number("a", 0), -1.0);
    EXPECT_EQ(number("a", 0), -1.0);
  }
  EXPECT_THAT(
      log.records(),
      ElementsAre(Line(3, "qmParam", (home.path() / "params.ini").string() + ": cannot be read: Too many open files")));
  EXPECT_EQ(number("a", 1), 1.0);
  writeFile(home.path() / "params.ini", "a=25\n");
  {
    const NoDescriptors none;
    EXPECT_EQ(number("a", 1), 1.0);
  }
  EXPECT_EQ(number("a", 1), 25.0);
}

TEST(qmEnvGetParam2double, ReadsTheWholeValueWithoutRegardToCaseOfTheKey) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "# c\n a.1 = 1.5\n; c\nA.2=-2e-3\nb=0.1\nb=0.2\n");
  EXPECT_EQ(number("a.1", 1), 1.5);
  EXPECT_EQ(number("a.2", 1), -2e-3);
  EXPECT_EQ(number("B", 1), 0.1);
  EXPECT_EQ(number("a", 0), -1.0);
}

TEST(qmEnvGetParam2double, GivesTheDefaultForTextThatIsNoNumber) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "a=1,5\nb=\nc=one\nd=nan\ne=1e999\nf=0x1\n");
  for (const char* key : {"a", "b", "c", "d", "e", "f"}) EXPECT_EQ(number(key, 0), -1.0);
}

TEST(qmEnvGetParam2double, DeliversAnyDefaultBitForBit) {
  const TempHome home;
  for (const double value : {-0.0, 1e-310, std::numeric_limits<double>::infinity()}) {
    double result = 5.0;
    qmEnvGetParam2double("none", value, &result);
    EXPECT_THAT(result, quel::testing::SameBits(value));
  }
}

TEST(qmEnvGetParam2double, TakesNoNoticeOfTheLocale) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "a=1.5\n");
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* locale : {"de_DE.UTF-8", "C.UTF-8"}) {
    std::setlocale(LC_ALL, locale);
    EXPECT_EQ(number("a", 1), 1.5);
  }
  std::setlocale(LC_ALL, before.c_str());
}

TEST(qmEnvGetParam2double, ToleratesNull) {
  const TempHome home;
  EXPECT_EQ(number(nullptr, 0), -1.0);
  EXPECT_EQ(qmEnvGetParam2double("a", 1.0, nullptr), 0);
}

TEST(qmEnvGetParam2qmBool, KnowsEightWordsInAnyCase) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "a=1\nb=True\nc=YES\nd=on\ne=0\nf=false\ng=No\nh=oFF\n");
  for (const char* key : {"a", "b", "c", "d"}) EXPECT_EQ(flag(key, 1), 1) << key;
  for (const char* key : {"e", "f", "g", "h"}) EXPECT_EQ(flag(key, 1), 0) << key;
}

TEST(qmEnvGetParam2qmBool, LeavesTheFlagAloneForAnythingElse) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "a=2\nb=\nc=maybe\n");
  for (const char* key : {"a", "b", "c", "none"}) EXPECT_EQ(flag(key, 0), 77) << key;
  EXPECT_EQ(flag(nullptr, 0), 77);
  EXPECT_EQ(qmEnvGetParam2qmBool("a", 0, nullptr), 0);
}

TEST(params, AreReadAgainWhenTheFileOrTheHomeDirectoryChanges) {
  const TempHome home;
  const fs::path path = home.path() / "params.ini";
  EXPECT_EQ(number("a", 0), -1.0);
  writeFile(path, "a=1\n");
  EXPECT_EQ(number("a", 1), 1.0);
  writeFile(path, "a=22\n");
  EXPECT_EQ(number("a", 1), 22.0);
  fs::remove(path);
  EXPECT_EQ(number("a", 0), -1.0);
  writeFile(path, "a=3\n");
  EXPECT_EQ(number("a", 1), 3.0);
  {
    const TempHome other;
    writeFile(other.path() / "params.ini", "a=4\n");
    EXPECT_EQ(number("a", 1), 4.0);
  }
  EXPECT_EQ(number("a", 1), 3.0);
}

TEST(params, ReportEachBadLineOnceForEachReadingAndKeepTheOthers) {
  const TempHome home;
  const RecordingLog log;
  const std::string path = (home.path() / "params.ini").string();
  writeFile(path, "a=1\nwrong\n[section]\nb=2\n");
  EXPECT_EQ(number("a", 1), 1.0);
  EXPECT_EQ(number("b", 1), 2.0);
  EXPECT_THAT(log.records(),
              ElementsAre(Line(3, "qmParam", path + ":2: neither a comment nor a section nor a key with a value"),
                          Line(3, "qmParam", path + ":3: there are no sections in this file; the line is ignored")));
}

TEST(params, ReportADirectoryOrPipeInTheirPlaceOnceAndGiveDefaults) {
  const TempHome home;
  RecordingLog log;
  const std::string path = (home.path() / "params.ini").string();
  fs::create_directory(path);
  EXPECT_EQ(number("a", 0), -1.0);
  EXPECT_EQ(number("a", 0), -1.0);
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmParam", path + ": cannot be read: Is a directory")));
  fs::remove(path);
  log.clear();
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(number("a", 0), -1.0);
  EXPECT_THAT(log.records(), ElementsAre(Line(3, "qmParam", path + ": cannot be read: Invalid argument")));
}

TEST(params, AreSilentlyAbsentWhenTheHomeDirectoryIsAFile) {
  const TempHome home;
  const RecordingLog log;
  writeFile(home.path() / "file", "");
  quelplatform::setHomeDirectory((home.path() / "file").string());
  EXPECT_EQ(number("a", 0), -1.0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(params, MayBeReadByManyThreadsWhileTheFileChanges) {
  const TempHome home;
  const fs::path path = home.path() / "params.ini";
  writeFile(path, "a=1\n");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 300; ++i) {
        double value = 0.0;
        qmEnvGetParam2double("a", 1.0, &value);
        EXPECT_EQ(value, 1.0);
      }
    });
  }
  for (int i = 0; i < 100; ++i) writeFile(path, "a=1\n" + std::string(static_cast<std::size_t>(i), '\n'));
  for (std::thread& thread : threads) thread.join();
}

// Value of `key`, read with the default -1.
std::int32_t integer(const char* key, std::int32_t expectedResult) {
  std::int32_t value = 99;
  EXPECT_EQ(qmEnvGetParam2int(key, -1, &value), expectedResult) << key;
  return value;
}

TEST(qmEnvGetParam2int, ReadsWholeIntegersOf32BitsAndGivesTheDefaultForAllElse) {
  const TempHome home;
  writeFile(home.path() / "params.ini",
            "a=12\nb=-2147483648\nc=+7\nd=2147483648\ne=1.0\nf=0x1\ng=\nh=1 2\nQmMappingBlock.NumberOfBlocks=3\n");
  EXPECT_EQ(integer("A", 1), 12);
  EXPECT_EQ(integer("b", 1), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(integer("c", 1), 7);
  EXPECT_EQ(integer("QmMappingBlock.NumberOfBlocks", 1), 3);
  for (const char* key : {"d", "e", "f", "g", "h", "absent", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(integer(key, 0), -1);
  }
  EXPECT_EQ(qmEnvGetParam2int("a", 5, nullptr), 0);
}

TEST(qmEnvGetParam2float, RoundsOnceToSinglePrecision) {
  const TempHome home;
  // Half way between two floats but for a digit that a double does not hold.
  writeFile(home.path() / "params.ini", "a=0.1\nb=1.00000005960464477540\nc=1e39\nd=5,5\n");
  const auto read = [](const char* key, std::int32_t expectedResult) {
    float value = 99.0f;
    EXPECT_EQ(qmEnvGetParam2float(key, 5.0f, &value), expectedResult) << key;
    return value;
  };
  EXPECT_EQ(read("a", 1), 0.1f);
  EXPECT_EQ(read("b", 1), 1.00000011920928955078125f);
  EXPECT_EQ(read("c", 0), 5.0f);
  EXPECT_EQ(read("d", 0), 5.0f);
  EXPECT_EQ(read("QmApp.XSCOPPointSize", 0), 5.0f);
  EXPECT_EQ(read(nullptr, 0), 5.0f);
  EXPECT_EQ(qmEnvGetParam2float("a", 5.0f, nullptr), 0);
}

TEST(qmEnvGetParam2qmString, TellsAnAbsentKeyFromAnEmptyValue) {
  const TempHome home;
  writeFile(home.path() / "params.ini", "empty=\nlenses= 1;2 \n");
  qmString text("before");
  EXPECT_EQ(qmEnvGetParam2qmString("LENSES", "", text), 1);
  EXPECT_STREQ(text.c_str(), "1;2");
  EXPECT_EQ(qmEnvGetParam2qmString("empty", "default", text), 1);
  EXPECT_FALSE(text.isNull());
  EXPECT_STREQ(text, "");
  for (const char* none : {"", static_cast<const char*>(nullptr)}) {
    text = qmString("before");
    EXPECT_EQ(qmEnvGetParam2qmString("absent", none, text), 0);
    EXPECT_TRUE(text.isNull());
    EXPECT_EQ(text.c_str(), nullptr);
  }
  EXPECT_EQ(qmEnvGetParam2qmString("absent", "default", text), 0);
  EXPECT_STREQ(text.c_str(), "default");
  EXPECT_EQ(qmEnvGetParam2qmString(nullptr, "", text), 0);
  EXPECT_TRUE(text.isNull());
}

TEST(qmString, IsNullUnlessItIsMadeFromText) {
  EXPECT_TRUE(qmString().isNull());
  EXPECT_TRUE(qmString(static_cast<const char*>(nullptr)).isNull());
  EXPECT_FALSE(qmString("").isNull());
  EXPECT_STREQ(qmString(std::string("text")), "text");
}

}  // namespace
