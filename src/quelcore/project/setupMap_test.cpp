// The setup map as a file: what is read, what is written, and what becomes of it when something fails.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iterator>
#include <thread>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/project/QmSetupNumbersManager_fixture.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::testRandom;
using quelcore::testing::Row;
using quelcore::testing::rowsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
namespace fs = std::filesystem;

class SetupMapFile : public quelcore::testing::SetupMap {
 protected:
  std::size_t filesInHome() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(home_.path()), fs::directory_iterator()));
  }
};

TEST_F(SetupMapFile, IsWrittenInColumns) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.AddItem(17, u"/data/doors/left/s1", 3), 0);
  EXPECT_EQ(numbers.AddItem(2147483647, u"", -2147483647 - 1), 0);
  EXPECT_EQ(numbers.AddItem(123456789, u"ä\u6E2C\xD83D\xDE00\xD800", -1), 0);
  EXPECT_EQ(numbers.Uninitialize(), 0);
  EXPECT_EQ(map(),
            "17        3         /data/doors/left/s1\n"
            "2147483647-2147483648\n"
            "123456789 -1        \xC3\xA4\xE6\xB8\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD\n");
  EXPECT_EQ(numbers.GetItemCount(), 0);
}

TEST_F(SetupMapFile, IsReadByPiecesNotByColumns) {
  EXPECT_THAT(read("5 6 a\n\t 7\t8  b rest\r\n  9 10 c"), ElementsAre(Row(5, 6, "a"), Row(7, 8, "b"), Row(9, 10, "c")));
}

TEST_F(SetupMapFile, HasPathsThatEndWhereALineOfWindowsEnds) {
  EXPECT_THAT(read("3 4 a\r\n5 6 b\r\n"), ElementsAre(Row(3, 4, "a"), Row(5, 6, "b")));
}

TEST_F(SetupMapFile, CutsAPathAtItsFirstBlankWhenItIsReadBack) {
  {
    QmSetupNumbersManager numbers;
    EXPECT_EQ(numbers.AddItem(3, u"/two words/x", 1), 0);
  }
  EXPECT_EQ(map(), "3         1         /two words/x\n");
  EXPECT_THAT(read(map()), ElementsAre(Row(3, 1, "/two")));
}

TEST_F(SetupMapFile, JoinsANumberThatFillsItsColumnWithTheNext) {
  {
    QmSetupNumbersManager numbers;
    EXPECT_EQ(numbers.AddItem(1234567890, u"path", 5), 0);
  }
  EXPECT_EQ(map(), "12345678905         path\n");
  EXPECT_THAT(read(map()), ElementsAre(Row(2147483647, 0, "")));
}

TEST_F(SetupMapFile, RepeatsWhatALineMisses) {
  EXPECT_THAT(read("5 6 a\n\n7\n8 9\n10 11 b\n"),
              ElementsAre(Row(5, 6, "a"), Row(5, 6, "a"), Row(7, 6, "a"), Row(8, 9, "a"), Row(10, 11, "b")));
}

TEST_F(SetupMapFile, BeginsWithoutNumbersAndPathWhereTheFirstLineMissesThem) {
  EXPECT_THAT(read("\n"), ElementsAre(Row(-1, -1, "")));
  EXPECT_THAT(read("5\n"), ElementsAre(Row(5, -1, "")));
  EXPECT_THAT(read("5 6"), ElementsAre(Row(5, 6, "")));
  EXPECT_THAT(read(""), IsEmpty());
}

TEST_F(SetupMapFile, TakesNumbersAsFarAsTheyGo) {
  EXPECT_THAT(read("12x -7.5 a\nx +3 b\n0x10 99999999999 c\n"),
              ElementsAre(Row(12, -7, "a"), Row(0, 3, "b"), Row(0, 2147483647, "c")));
}

TEST_F(SetupMapFile, TakesNumbersBeyondAllForTheOutermost) {
  EXPECT_THAT(read("999999999 -999999999 a\n9999999999 -9999999999 b\n2147483647 -2147483648 c\n"),
              ElementsAre(Row(999999999, -999999999, "a"), Row(2147483647, -2147483647 - 1, "b"),
                          Row(2147483647, -2147483647 - 1, "c")));
}

TEST_F(SetupMapFile, RefusesNothing) {
  EXPECT_THAT(read("1 0 a\n1 0 a\n-5 0 b\n"), ElementsAre(Row(1, 0, "a"), Row(1, 0, "a"), Row(-5, 0, "b")));
}

TEST_F(SetupMapFile, MayHaveAMarkAndMalformedBytes) {
  EXPECT_THAT(read("\xEF\xBB\xBF"
                   "5 6 a\n7 8 \xFF\xC3\n"),
              ElementsAre(Row(5, 6, "a"), Row(7, 8, "\xEF\xBF\xBD\xEF\xBF\xBD")));
}

TEST_F(SetupMapFile, EndsALineAtItsNul) {
  EXPECT_THAT(read(std::string("5 6 a\0b 7\n8 \0 9\n", 16)), ElementsAre(Row(5, 6, "a"), Row(8, 6, "a")));
}

TEST_F(SetupMapFile, TakesALineOfMoreThan4095UnitsForTwo) {
  const std::string fits = "5 6 " + std::string(4090, 'p');  // 4094 units, and the line feed.
  EXPECT_THAT(read(fits + "\n7 8 b\n"), ElementsAre(Row(5, 6, std::string(4090, 'p')), Row(7, 8, "b")));
  EXPECT_THAT(read("5 6 " + std::string(4091, 'p') + "9 10 c\n"),
              ElementsAre(Row(5, 6, std::string(4091, 'p')), Row(9, 10, "c")));
  // The line feed alone is a further line.
  EXPECT_THAT(read(fits + "p\n"), ElementsAre(Row(5, 6, std::string(4091, 'p')), Row(5, 6, std::string(4091, 'p'))));
}

TEST_F(SetupMapFile, SurvivesDamageOfEveryKind) {
  auto random = testRandom();
  const std::string sound = "17        3         /data/a\n18        4         /data/b\n19        -1        \xC3\xA4\n";
  for (std::size_t length = 0; length <= sound.size(); ++length) {
    const auto lines = static_cast<std::size_t>(std::count(sound.begin(), sound.begin() + length, '\n'));
    const bool endsOpen = length > 0 && sound[length - 1] != '\n';
    EXPECT_THAT(read(sound.substr(0, length)), SizeIs(lines + (endsOpen ? 1 : 0))) << length;
  }
  for (int i = 0; i < 300; ++i) {
    std::string damaged = sound;
    for (int n = 0; n < 5; ++n) damaged[random() % damaged.size()] = static_cast<char>(random());
    EXPECT_THAT(read(damaged), SizeIs(::testing::Le(damaged.size())));
  }
}

TEST_F(SetupMapFile, IsNotThereAtFirstAndMadeByTheFirstItem) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  EXPECT_EQ(numbers.GetItemCount(), 0);
  EXPECT_EQ(numbers.AddItem(3, u"a", 0), 0);
  EXPECT_EQ(numbers.Uninitialize(), 0);
  EXPECT_EQ(map(), "3         0         a\n");
}

TEST_F(SetupMapFile, EmptiesTheListWhenItCannotBeRead) {
  writeMap("5 6 a\n");
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), 0);
  fs::remove(file());
  fs::create_directory(file());
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  EXPECT_EQ(numbers.GetItemCount(), 0);
}

TEST_F(SetupMapFile, IsReadAfreshEachTime) {
  QmSetupNumbersManager numbers;
  writeMap("5 6 a\n");
  EXPECT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.AddItem(7, u"b", 0), 0);
  EXPECT_EQ(numbers.Initialize(), 0);  // Forgets the item and that there was a change.
  EXPECT_EQ(numbers.GetItemCount(), 1);
  EXPECT_EQ(numbers.Uninitialize(), 0);
  EXPECT_EQ(map(), "5 6 a\n");
}

TEST_F(SetupMapFile, IsWrittenByEverySaveOnceSomethingChanged) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.AddItem(7, u"b", 0), 0);
  for (int save = 0; save < 2; ++save) {
    writeMap("old");
    EXPECT_EQ(numbers.SaveSetupList(), 0);
    EXPECT_EQ(map(), "7         0         b\n");
  }
}

TEST_F(SetupMapFile, IsEmptyWhereNoItemHasANumber) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.AddItem(7, u"b", 0), 0);
  EXPECT_EQ(numbers.CleanSetupNumber(7), 0);
  EXPECT_EQ(numbers.SaveSetupList(), 0);
  EXPECT_TRUE(fs::exists(file()));
  EXPECT_EQ(map(), "");
}

TEST_F(SetupMapFile, StaysWhenItCannotBeWritten) {
  writeMap("old");
  fs::permissions(file(), fs::perms::owner_read);
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.AddItem(7, u"b", 0), 0);
  EXPECT_EQ(numbers.SaveSetupList(), SETUPNUM_E_FILE);
  EXPECT_EQ(numbers.Uninitialize(), SETUPNUM_E_FILE);
  EXPECT_EQ(numbers.GetItemCount(), 0);
  EXPECT_EQ(map(), "old");
  EXPECT_EQ(filesInHome(), 1u);
}

TEST_F(SetupMapFile, CannotBeWhereItsPathDoesNotFit) {
  const std::string deep = (home_.path() / std::string(250, 'd')).string();
  quelplatform::setHomeDirectory(deep);
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  EXPECT_EQ(numbers.AddItem(7, u"b", 0), 0);
  EXPECT_EQ(numbers.SaveSetupList(), SETUPNUM_E_FILE);
}

TEST_F(SetupMapFile, StaysWhenTheDiskIsFull) {
  writeMap("old");
  const pid_t child = fork();
  if (child == 0) {  // A limit on file sizes fails as a full disk does, after some bytes.
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{50, 50};
    setrlimit(RLIMIT_FSIZE, &small);
    QmSetupNumbersManager numbers;
    for (std::int32_t n = 3; n < 10; ++n) numbers.AddItem(n, qmWString(n, u'p').c_str(), 0);
    _exit(numbers.SaveSetupList() == SETUPNUM_E_FILE ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(map(), "old");
  EXPECT_EQ(filesInHome(), 1u);
}

TEST_F(SetupMapFile, IsTheOldOneOrTheNewOneWhenAProcessIsKilled) {
  const auto mapOf = [](std::int32_t number, int items) {
    std::string content;
    for (int i = 0; i < items; ++i) {
      std::string line = std::to_string(number + i);
      line.resize(10, ' ');
      content += line + "0         /a/long/path/to/setup/" + std::to_string(number + i) + "\n";
    }
    return content;
  };
  constexpr int kItems = 2000;
  const std::string first = mapOf(100000, kItems), second = mapOf(200000, kItems);
  auto random = testRandom();
  for (int round = 0; round < (quel::testing::kSanitized ? 5 : 25); ++round) {
    writeMap(first);
    const pid_t child = fork();
    if (child == 0) {
      for (std::int32_t which = 2;; which = 3 - which) {
        QmSetupNumbersManager numbers;
        numbers.Initialize();
        const std::int32_t number = which * 100000 + (kItems - 1);
        for (std::int32_t i = 0; i < kItems; ++i) {
          const qmWString path = u"/a/long/path/to/setup/" + toWide(std::to_string(number - i).c_str());
          const std::int32_t newNumber = number - i;
          numbers.UpdateItem(kItems - 1 - i, &newNumber, nullptr, path.c_str());
        }
        numbers.SaveSetupList();
      }
    }
    usleep(static_cast<useconds_t>(5000 + random() % 60000));
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const std::string now = map();
    EXPECT_TRUE(now == first || now == second) << now.size();
  }
}

TEST_F(SetupMapFile, IsWholeWhenSeveralProcessesSave) {
  std::vector<pid_t> children;
  for (int p = 1; p <= 4; ++p) {
    children.push_back(fork());
    if (children.back() == 0) {
      QmSetupNumbersManager numbers;
      for (std::int32_t n = 0; n < 50; ++n) numbers.AddItem(p * 1000 + n, toWide(std::to_string(n).c_str()).c_str(), p);
      int failures = 0;
      for (int save = 0; save < 30; ++save) failures += numbers.SaveSetupList() != 0;
      _exit(failures);
    }
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  const std::vector<Row> rows = read(map());
  ASSERT_THAT(rows, SizeIs(50));
  for (const Row& row : rows) EXPECT_EQ(std::get<1>(row), std::get<1>(rows[0]));
}

TEST_F(SetupMapFile, ReadsBackWhatItWroteOfRandomItems) {
  auto random = testRandom();
  for (int round = 0; round < 30; ++round) {
    std::vector<Row> expected;
    {
      QmSetupNumbersManager numbers;
      for (int i = 0; i < 40; ++i) {
        qmWString path = toWide(std::to_string(i).c_str());
        for (std::size_t n = random() % 40; n > 0; --n) {
          const auto unit = static_cast<qmWChar>(random() % 3 == 0 ? 0x21 + random() % 0xD700 : 0x21 + random() % 90);
          path += unit;
        }
        const auto number = static_cast<std::int32_t>(3 + static_cast<std::uint32_t>(i) * 25000000 + random() % 1000);
        const auto cycle = static_cast<std::int32_t>(random() % 1000000000) - 1;
        ASSERT_EQ(numbers.AddItem(number, path.c_str(), cycle), 0);
        expected.emplace_back(number, cycle, toNarrow(path));
      }
    }
    QmSetupNumbersManager numbers;
    EXPECT_EQ(numbers.Initialize(), 0);
    EXPECT_EQ(rowsOf(numbers), expected);
  }
}

TEST_F(SetupMapFile, HoldsAMillionLines) {
  const int lines = quel::testing::kSanitized ? 20000 : 1000000;
  std::string content;
  for (int i = 0; i < lines; ++i) {
    std::string line = std::to_string(i + 3);
    line.resize(10, ' ');
    content += line + "0         /data/project/part/setup-" + std::to_string(i) + "\n";
  }
  writeMap(content);
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.GetItemCount(), lines);
  std::int32_t index = 0;
  EXPECT_EQ(numbers.FindItemBySetupNumber(lines + 2, index), 0);
  EXPECT_EQ(index, lines - 1);
  EXPECT_EQ(numbers.CleanSetupNumber(3), 0);
  EXPECT_EQ(numbers.SaveSetupList(), 0);
  EXPECT_EQ(map(), content.substr(content.find('\n') + 1));
}

TEST_F(SetupMapFile, RemovesFromAMillionEqualNumbersInOnePass) {
  const int lines = quel::testing::kSanitized ? 20000 : 1000000;
  std::string content;
  for (int i = 0; i < lines; ++i) content += "5 0 x\n";
  writeMap(content);
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), 0);
  EXPECT_EQ(numbers.RemoveItem(5), 0);
  EXPECT_EQ(numbers.GetItemCount(), lines / 2);
}

TEST_F(SetupMapFile, TellsExhaustedMemoryWithAnEmptyListOrTheOldMap) {
  const std::string content = "5         6         /a/path/that/is/longer/than/short/texts\n";
  writeMap(content);
  EXPECT_GT(failEachNew(
                [&] {
                  QmSetupNumbersManager numbers;
                  const std::int32_t status = numbers.Initialize();
                  return std::pair(status, numbers.GetItemCount());
                },
                [](const std::pair<std::int32_t, std::int32_t>& result, bool failed) {
                  EXPECT_EQ(result.first, failed ? SETUPNUM_E_FILE : 0);
                  EXPECT_EQ(result.second, failed ? 0 : 1);
                }),
            5);
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), 0);
  const std::int32_t seven = 7;
  EXPECT_EQ(numbers.UpdateItem(0, &seven, nullptr, nullptr), 0);
  EXPECT_GT(failEachNew([&] { return numbers.SaveSetupList(); },
                        [&](std::int32_t status, bool failed) {
                          EXPECT_EQ(status, failed ? SETUPNUM_E_FILE : 0);
                          EXPECT_EQ(map()[0], failed ? '5' : '7');
                        }),
            3);
}

TEST_F(SetupMapFile, TellsWhatOfItsLinesIsNoItem) {
  using quel::testing::lastProblem;
  using quel::testing::lastRemarks;
  read("5 6 a\n7 8 b\n");
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  read("5 x a\n\n  y1 8\n");
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("line 1, column 3, cycle number: expected a whole number, found \"x\"",
                                         "line 2, column 2, setup number: nothing, so that of the line before counts",
                                         "line 3, column 3, setup number: expected a whole number, found \"y1\"",
                                         "line 3, column 8, path: nothing, so that of the line before counts"));
}

TEST_F(SetupMapFile, TellsThatItIsNotThere) {
  QmSetupNumbersManager numbers;
  EXPECT_EQ(numbers.Initialize(), SETUPNUM_E_FILE);
  EXPECT_EQ(quel::testing::lastProblem(), "there is no such file");
}

}  // namespace
