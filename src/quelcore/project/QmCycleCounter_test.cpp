#include "quelcore/project/QmCycleCounter.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "quelplatform/qmEnv/QmRegKey.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::failEachNew;
using quel::testing::readFile;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::HasSubstr;
namespace fs = std::filesystem;

class CycleCounter : public ::testing::Test {
 protected:
  fs::path file() const { return home_.path() / "quelmetra.ini"; }

  /// Keeps these lines of the section of the counters.
  void store(const std::string& lines) const {
    writeFile(file(), "[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement]\n" + lines);
  }

  TempHome home_;
};

TEST_F(CycleCounter, BeginsAt0AndCounts) {
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 0u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 1u);
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 1u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 2u);
  EXPECT_THAT(readFile(file()), HasSubstr("[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement]\r\n"
                                          "CurrentCycleCounterValue=2\r\n"));
}

TEST_F(CycleCounter, CountsAtOnceWhereNothingWasAskedBefore) { EXPECT_EQ(QmCycleCounter::incCurrentValue(), 1u); }

TEST_F(CycleCounter, MarksTheCurrentCount) {
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 0u);
  QmCycleCounter::incCurrentValue();
  QmCycleCounter::setLastOHCValue();
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 1u);
  QmCycleCounter::incCurrentValue();
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 1u);
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 2u);
  EXPECT_THAT(readFile(file()), HasSubstr("LastOHCCycleCounterValue=1\r\n"));
}

TEST_F(CycleCounter, Counts32Bits) {
  store("CurrentCycleCounterValue=4294967294\n");
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 4294967294u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 4294967295u);
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 4294967295u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 0u);
}

TEST_F(CycleCounter, TakesWhatIsNoNumberFor0) {
  store("CurrentCycleCounterValue=many\nLastOHCCycleCounterValue=\n");
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 0u);
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 0u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 1u);
}

TEST_F(CycleCounter, LeavesTheOtherValuesOfTheStore) {
  store("LastMappingID=17\n");
  QmCycleCounter::incCurrentValue();
  EXPECT_THAT(readFile(file()), HasSubstr("LastMappingID=17\n"));
}

TEST_F(CycleCounter, KnowsNoMeasurementAtFirst) {
  std::int32_t time = 77;
  EXPECT_FALSE(QmCycleCounter::getLastMeasure(time));
  EXPECT_EQ(time, 77);
}

TEST_F(CycleCounter, KeepsThePresentTime) {
  const std::time_t before = std::time(nullptr);
  QmCycleCounter::setLastMeasure();
  const std::time_t after = std::time(nullptr);
  std::int32_t time = 0;
  EXPECT_TRUE(QmCycleCounter::getLastMeasure(time));
  EXPECT_GE(time, before);
  EXPECT_LE(time, after);
  EXPECT_THAT(readFile(file()), HasSubstr("[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Quelauto Measurement]\r\n"
                                          "QmQAM.LastMeasure=" +
                                          std::to_string(time)));
}

TEST_F(CycleCounter, GivesTimesBefore1970) {
  writeFile(file(), "[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Quelauto Measurement]\nQmQAM.LastMeasure=-5\n");
  std::int32_t time = 0;
  EXPECT_TRUE(QmCycleCounter::getLastMeasure(time));
  EXPECT_EQ(time, -5);
}

TEST_F(CycleCounter, CountsInVainInAStoreThatCannotBeWritten) {
  store("CurrentCycleCounterValue=7\nLastOHCCycleCounterValue=5\n");
  fs::permissions(file(), fs::perms::owner_read);
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 7u);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 8u);
  QmCycleCounter::setLastOHCValue();
  QmCycleCounter::setLastMeasure();
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 7u);
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 5u);
  std::int32_t time = 77;
  EXPECT_FALSE(QmCycleCounter::getLastMeasure(time));
}

TEST_F(CycleCounter, CountsInVainWhereThereCanBeNoStore) {
  fs::create_directory(file());
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 1u);
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 0u);
  QmCycleCounter::setLastOHCValue();
  EXPECT_EQ(QmCycleCounter::getLastOHCValue(), 0u);
}

// Increments may be lost between a reading and a writing, but the store stays sound and no count goes back.
TEST_F(CycleCounter, StaysSoundWhenSeveralProcessesCount) {
  constexpr int kProcesses = 4;
  constexpr std::uint32_t kEach = 20;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    children.push_back(fork());
    if (children.back() != 0) continue;
    int wrong = 0;
    for (std::uint32_t i = 0; i < kEach; ++i) wrong += QmCycleCounter::incCurrentValue() == 0;
    _exit(wrong);
  }
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_GE(QmCycleCounter::getCurrentValue(), 1u);
  EXPECT_LE(QmCycleCounter::getCurrentValue(), kProcesses * kEach);
  const std::string content = readFile(file());
  EXPECT_EQ(content.find("CurrentCycleCounterValue"), content.rfind("CurrentCycleCounterValue"));
}

TEST_F(CycleCounter, CountsOneAfterTheOtherInSeveralProcesses) {
  for (std::uint32_t p = 1; p <= 5; ++p) {
    const pid_t child = fork();
    if (child == 0) _exit(QmCycleCounter::incCurrentValue() == p ? 0 : 1);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(QmCycleCounter::getCurrentValue(), 5u);
}

TEST_F(CycleCounter, TakesExhaustedMemoryForAnAbsentValue) {
  store("CurrentCycleCounterValue=7\n");
  EXPECT_GT(failEachNew([] { return QmCycleCounter::getCurrentValue(); },
                        [](std::uint32_t value, bool failed) { EXPECT_TRUE(value == 7 || (failed && value == 0)); }),
            5);
}

TEST_F(CycleCounter, WritesNothingOverACountThatCouldNotBeRead) {
  store("CurrentCycleCounterValue=41\nLastOHCCycleCounterValue=40\n");
  const std::string before = readFile(file());
  {
    const quel::testing::NoDescriptors none;
    EXPECT_EQ(QmCycleCounter::incCurrentValue(), 1u);
    QmCycleCounter::setLastOHCValue();
  }
  EXPECT_EQ(readFile(file()), before);
  EXPECT_EQ(QmCycleCounter::incCurrentValue(), 42u);
}

TEST_F(CycleCounter, LosesNoCountWhereverMemoryRunsOut) {
  const auto restore = [this] { store("CurrentCycleCounterValue=41\nLastOHCCycleCounterValue=40\n"); };
  restore();
  EXPECT_GT(failEachNew(QmCycleCounter::incCurrentValue,
                        [&](std::uint32_t value, bool failed) {
                          const std::uint32_t kept = QmCycleCounter::getCurrentValue();
                          EXPECT_TRUE(failed ? kept == 41 || kept == 42 : kept == 42) << kept;
                          EXPECT_TRUE(value == 42 || (failed && value == 1)) << value;
                          restore();
                        }),
            3);
  const auto mark = [] {
    QmCycleCounter::setLastOHCValue();
    return true;
  };
  EXPECT_GT(failEachNew(mark,
                        [&](bool, bool failed) {
                          const std::uint32_t kept = QmCycleCounter::getLastOHCValue();
                          EXPECT_TRUE(failed ? kept == 40 || kept == 41 : kept == 41) << kept;
                          restore();
                        }),
            3);
}

}  // namespace
