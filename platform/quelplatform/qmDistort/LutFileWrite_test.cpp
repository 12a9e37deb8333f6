#include "quelplatform/qmDistort/LutFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "quelplatform/qmDistort/LutFileSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "testing/FailingMemory.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;

class LutFileWrite : public LutFileTest {
 protected:
  LutFileWrite() : good_(2, 2, {0}) { write("old"); }

  // Expects one log line, and the old file as it was.
  void expectNotStored(const DistortLutsManager::LutList& list, const std::string& why) {
    log_.clear();
    EXPECT_FALSE(DistortLutsManager::storeLutsFile(list, path().c_str(), true));
    EXPECT_THAT(log_.records(), ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": " + why)));
    EXPECT_EQ(readFile(narrowPath()), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path()), {}), 1) << "a file was left";
  }

  HandMadeLuts good_;
};

TEST_F(LutFileWrite, RefusesNullSetsAndBadIdentifiers) {
  expectNotStored({{"A", good_}, {"B", nullptr}}, "set 2 (\"B\"): there is no LUT set");
  expectNotStored({{"", good_}}, "set 1 (\"\"): the identifier is empty");
  expectNotStored(
      {{"abcdefghijklmnopqrstuvwx", good_}},
      "set 1 (\"abcdefghijklmnopqrstuvwx\"): the identifier has more than 23 characters or a NUL among them");
  expectNotStored({{std::string("a\0b", 3), good_}},
                  "set 1 (\"a\"): the identifier has more than 23 characters or a NUL among them");
  expectNotStored({{"B", good_}, {"A", good_}, {"B", good_}}, "the identifier \"B\" is in the list twice");
  EXPECT_TRUE(DistortLutsManager::storeLutsFile({{"abcdefghijklmnopqrstuvw", good_}}, path().c_str(), true));
}

TEST_F(LutFileWrite, RefusesSetsThatNoFileMayHold) {
  const auto refused = [this](const tag_qmDistortLuts* luts, const std::string& why) {
    expectNotStored({{"A", luts}}, "set 1 (\"A\"): " + why);
  };
  const tag_qmDistortLuts* created = nullptr;
  ASSERT_TRUE(manager().addDistortLuts("A", &created));
  refused(created, "the table of x or of y displacements is missing");
  HandMadeLuts flat(2, 0, {0}), layerless(2, 2, {}), depths(2, 2, {1, 1}), grid(2, 2, {0});
  refused(flat, "the number of columns or rows is not in 1 to 65536");
  refused(depths, "the layers' depths do not ascend");
  depths.get().layerDepths = nullptr;
  refused(depths, "the layers' depths are missing");
  grid.get().gridPitch[1] = 0;
  refused(grid, "the grid's pitch is not a positive number");
  layerless.get().tableCount = 0;
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", layerless}}, path().c_str(), true));
  HandMadeLuts uneven(2, 2, {0, 1}), holed(2, 2, {0, 1});
  uneven.get().tables[1][1].width = 1;
  refused(uneven, "the images are not all of one size");
  holed.get().tables[0][1].rows = nullptr;
  refused(holed, "the images are not all of one size");
  EXPECT_EQ(readFile(narrowPath()), "old");
}

TEST_F(LutFileWrite, KeepsTheOldFileWhenAnyAllocationFails) {
  EXPECT_EQ(failEachAllocation([this](std::int64_t failing) {
              if (failing == 0) {
                expectNotStored({{"A", good_}}, "memory is exhausted");
              } else {
                EXPECT_TRUE(DistortLutsManager::storeLutsFile({{"A", good_}}, path().c_str(), true));
              }
            }),
            1);
}

TEST_F(LutFileWrite, ReportsWhereItCannotWrite) {
  log_.clear();
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, u"/dev/full", true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, directory_.wide("none/a.lut").c_str(), true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, directory_.path().u16string().c_str(), true));
  EXPECT_FALSE(DistortLutsManager::storeLutsFile({{"A", good_}}, nullptr, true));
  const std::string place = directory_.path().string();
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager", "LUT file /dev/full: it cannot be written: Invalid argument"),
                          Line(5, "DistortLutsManager",
                               "LUT file " + place + "/none/a.lut: it cannot be written: No such file or directory"),
                          Line(5, "DistortLutsManager", "LUT file " + place + ": it cannot be written: Is a directory"),
                          Line(5, "DistortLutsManager", "LUT file (null): there is no path")));
}

TEST_F(LutFileWrite, KeepsTheOldFileInADirectoryThatCannotBeWritten) {
  ASSERT_EQ(chmod(directory_.path().c_str(), 0555), 0);
  const uid_t user = geteuid();
  if (user == 0) {
    ASSERT_EQ(seteuid(65534), 0);  // root writes everywhere
  }
  expectNotStored({{"A", good_}}, "it cannot be written: Permission denied");
  EXPECT_EQ(seteuid(user), 0);
  EXPECT_EQ(chmod(directory_.path().c_str(), 0700), 0);
}

TEST_F(LutFileWrite, KeepsTheOldFileWhenTheNewOneCannotBeWrittenToItsEnd) {
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small = {100, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  expectNotStored({{"A", good_}}, "it cannot be written: File too large");
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  std::signal(SIGXFSZ, handler);
}

}  // namespace
