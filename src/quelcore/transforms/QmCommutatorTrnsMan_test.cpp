#include "quelcore/transforms/QmCommutatorTrnsMan.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "quelcore/transforms/QmCommutatorTrns_fixture.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::newPair;
using quel::testing::readFile;
using quel::testing::rightMove;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quel::testing::writePair;
using testing::HasSubstr;

// A manager beside the one of the process.
class OwnManager : public QmCommutatorTrnsMan {
 public:
  OwnManager() = default;
};

// The files lie in the home directory, since nothing sets another.
class Manager : public testing::Test {
 protected:
  std::filesystem::path list() const { return home_.path() / "CommutatorTrnsManager.xml"; }

  void writeList(const std::string& attributes, const std::string& sets) {
    writeFile(list(), "<CommutatorTrns " + attributes + ">" + sets + "</CommutatorTrns>");
  }

  // A manager that has read sets 3 and 5, of which 3 is current; their files hold one pair each.
  void loadTwoSets() {
    writePair(home_.path(), "3_7", 1.0);
    writePair(home_.path(), "5_8", 2.0);
    writeList("currentSequentialID=\"3\" nextSequentialID=\"6\"",
              "<TrnsSet sequentialID=\"3\"/><TrnsSet sequentialID=\"5\"/>");
    ASSERT_EQ(manager_.loadAllTrnsSets(), 2u);
  }

  // Makes what was done so far no longer count as a change. The list is written anew.
  void settle() { ASSERT_TRUE(manager_.saveAllTrnsSets()); }

  TempHome home_;
  OwnManager manager_;
};

TEST_F(Manager, IsEmptyWhenNew) {
  EXPECT_EQ(manager_.getNumberTrnsSets(), 0u);
  EXPECT_EQ(manager_.getCurTrnsSet(), nullptr);
  EXPECT_EQ(manager_.getTrnsSet(0), nullptr);
  EXPECT_EQ(manager_.findTrnsSet(1), nullptr);
  EXPECT_EQ(manager_.findTrns(1, 1), nullptr);
  EXPECT_FALSE(manager_.setCurTrnsSet(1));
  EXPECT_FALSE(manager_.isDirty());
  EXPECT_EQ(qmWString(manager_.getRootDir()), u"");
}

TEST_F(Manager, SavesNothingWhenNothingIsDirty) {
  EXPECT_TRUE(manager_.saveAllTrnsSets());
  EXPECT_FALSE(std::filesystem::exists(list()));
}

TEST_F(Manager, NumbersSetsThatHaveNoNumber) {
  auto* first = new QmCommutatorTrnsSet;
  EXPECT_TRUE(manager_.addTrnsSet(first, false));
  EXPECT_TRUE(manager_.addTrnsSet(new QmCommutatorTrnsSet(9), false));
  auto* third = new QmCommutatorTrnsSet;
  EXPECT_TRUE(manager_.addTrnsSet(third, false));
  EXPECT_EQ(first->getSequentialID(), 1u);
  EXPECT_EQ(third->getSequentialID(), 2u);
  EXPECT_TRUE(first->isDirty());  // Through its number.
  EXPECT_EQ(manager_.getCurTrnsSet(), nullptr);
  EXPECT_TRUE(manager_.isDirty());
}

TEST_F(Manager, LeavesASetWhoseNumberIsTakenToTheCallerButMakesTheOtherCurrent) {
  auto* first = new QmCommutatorTrnsSet(4);
  manager_.addTrnsSet(first, false);
  const auto second = std::make_unique<QmCommutatorTrnsSet>(4);
  EXPECT_FALSE(manager_.addTrnsSet(second.get(), true));
  EXPECT_EQ(manager_.getNumberTrnsSets(), 1u);
  EXPECT_EQ(manager_.getCurTrnsSet(), first);
  EXPECT_FALSE(manager_.addTrnsSet(nullptr, true));
  first->saveAllTrns(u"");
  settle();
  EXPECT_FALSE(manager_.addTrnsSet(second.get(), true));  // It is current already.
  EXPECT_FALSE(manager_.isDirty());
}

TEST_F(Manager, MakesAnAddedSetCurrentOnDemand) {
  auto* set = new QmCommutatorTrnsSet(4);
  EXPECT_TRUE(manager_.addTrnsSet(set, true));
  EXPECT_EQ(manager_.getCurTrnsSet(), set);
}

TEST_F(Manager, ReadsTheListAndNotTheSets) {
  loadTwoSets();
  EXPECT_EQ(manager_.getNumberTrnsSets(), 2u);
  std::filesystem::remove(home_.path() / "3_7_TrackerLeft.trn");  // Gone before anyone asked for it.
  EXPECT_EQ(manager_.getTrnsSet(0)->getNumberTrns(), 0u);
  EXPECT_EQ(manager_.getTrnsSet(1)->getNumberTrns(), 1u);
}

// Required: a manager with a current set is dirty straight after it is read.
TEST_F(Manager, IsDirtyOnceItIsReadIfASetIsCurrent) {
  loadTwoSets();
  EXPECT_TRUE(manager_.isDirty());
  OwnManager other;
  writeList("currentSequentialID=\"99\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
  other.loadAllTrnsSets();
  EXPECT_FALSE(other.isDirty());
  EXPECT_EQ(other.getCurTrnsSet(), nullptr);
}

TEST_F(Manager, ReadsASetAtItsFirstRequestWhicheverThatIs) {
  loadTwoSets();
  EXPECT_EQ(manager_.getCurTrnsSet()->getSequentialID(), 3u);
  EXPECT_EQ(manager_.getCurTrnsSet()->getNumberTrns(), 1u);
  EXPECT_EQ(manager_.findTrnsSet(5)->getNumberTrns(), 1u);
  EXPECT_EQ(manager_.findTrnsSet(5)->getNumberTrns(), 1u);  // Read once.
  EXPECT_EQ(rightMove(manager_.findTrns(5, 8)), 4.0);
  EXPECT_EQ(manager_.findTrns(5, 7), nullptr);
  EXPECT_EQ(manager_.findTrns(6, 7), nullptr);
}

TEST_F(Manager, LooksAgainAtEachRequestForASetWithoutPairsOnDisk) {
  writeList("currentSequentialID=\"0\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
  manager_.loadAllTrnsSets();
  EXPECT_EQ(manager_.findTrnsSet(3)->getNumberTrns(), 0u);
  writePair(home_.path(), "3_7");
  EXPECT_EQ(manager_.findTrnsSet(3)->getNumberTrns(), 1u);
}

// Required: to look by index, or at the current set, makes the manager dirty when it tries to read, to find a set by
// number does not.
TEST_F(Manager, IsDirtyAfterItTriedToReadASetButNotAfterItFoundOne) {
  const auto loaded = [&](OwnManager& manager) {
    writeList("currentSequentialID=\"0\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
    manager.loadAllTrnsSets();
    ASSERT_FALSE(manager.isDirty());
  };
  OwnManager found;
  loaded(found);
  found.findTrnsSet(3);
  EXPECT_FALSE(found.isDirty());
  OwnManager looked;
  loaded(looked);
  looked.getTrnsSet(0);
  EXPECT_TRUE(looked.isDirty());
}

TEST_F(Manager, IsDirtyAfterItTriedToReadItsCurrentSet) {
  writeList("currentSequentialID=\"3\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
  manager_.loadAllTrnsSets();
  settle();
  ASSERT_FALSE(manager_.isDirty());
  manager_.getCurTrnsSet();
  EXPECT_TRUE(manager_.isDirty());
}

TEST_F(Manager, StaysCleanForASetThatWasReadBefore) {
  manager_.addTrnsSet(new QmCommutatorTrnsSet(3), true);
  manager_.getCurTrnsSet()->saveAllTrns(u"");
  settle();
  manager_.getCurTrnsSet();
  manager_.getTrnsSet(0);
  EXPECT_FALSE(manager_.isDirty());
}

TEST_F(Manager, IsDirtyThroughSetsThatWereReadOrAdded) {
  writePair(home_.path(), "3_7");
  writeList("currentSequentialID=\"0\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
  manager_.loadAllTrnsSets();
  EXPECT_FALSE(manager_.isDirty());
  manager_.findTrnsSet(3);  // Pairs that were read are dirty, and so the set.
  EXPECT_TRUE(manager_.isDirty());
}

// Required: a set counts once pairs were read for it, and until then neither its changes nor its files.
TEST_F(Manager, DoesNotSaveASetThatNoPairsWereReadFor) {
  writeList("currentSequentialID=\"0\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"3\"/>");
  manager_.loadAllTrnsSets();
  manager_.findTrnsSet(3)->addTrns(newPair(7));
  EXPECT_FALSE(manager_.isDirty());
  manager_.addTrnsSet(new QmCommutatorTrnsSet(4), true);
  settle();
  EXPECT_THAT(readFile(list()), HasSubstr("<TrnsSet sequentialID=\"3\"/>"));
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "3_7_TrackerLeft.trn"));
}

TEST_F(Manager, FindsTheFirstOfTwoSetsOfOneNumber) {
  writeList("currentSequentialID=\"3\" nextSequentialID=\"6\"",
            "<TrnsSet sequentialID=\"5\"/><TrnsSet sequentialID=\"3\"/><TrnsSet sequentialID=\"3\"/>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 3u);
  EXPECT_EQ(manager_.findTrnsSet(3), manager_.getTrnsSet(1));
  EXPECT_EQ(manager_.getCurTrnsSet(), manager_.getTrnsSet(1));
}

TEST_F(Manager, MakesASetCurrentByItsNumber) {
  loadTwoSets();
  EXPECT_TRUE(manager_.setCurTrnsSet(5));
  EXPECT_EQ(manager_.getCurTrnsSet()->getSequentialID(), 5u);
  EXPECT_FALSE(manager_.setCurTrnsSet(6));
  EXPECT_EQ(manager_.getCurTrnsSet()->getSequentialID(), 5u);
}

TEST_F(Manager, IsNotDirtyForASetThatIsCurrentAlready) {
  writeList("currentSequentialID=\"0\" nextSequentialID=\"6\"",
            "<TrnsSet sequentialID=\"3\"/><TrnsSet sequentialID=\"5\"/>");
  manager_.loadAllTrnsSets();
  EXPECT_TRUE(manager_.setCurTrnsSet(5));
  EXPECT_TRUE(manager_.isDirty());
  manager_.findTrnsSet(5);
  settle();
  ASSERT_FALSE(manager_.setCurTrnsSet(7));
  ASSERT_TRUE(manager_.setCurTrnsSet(5));
  // Saving looked at the current set, which has no files, before the flag was cleared.
  EXPECT_FALSE(manager_.isDirty());
  EXPECT_TRUE(manager_.setCurTrnsSet(3));
  EXPECT_TRUE(manager_.isDirty());
}

TEST_F(Manager, ForgetsItsSetsButNotItsFlag) {
  manager_.addTrnsSet(new QmCommutatorTrnsSet, true);
  manager_.clearAllTrnsSets();
  EXPECT_EQ(manager_.getNumberTrnsSets(), 0u);
  EXPECT_EQ(manager_.getCurTrnsSet(), nullptr);
  EXPECT_TRUE(manager_.isDirty());
  auto* set = new QmCommutatorTrnsSet;
  manager_.addTrnsSet(set, false);
  EXPECT_EQ(set->getSequentialID(), 1u);
}

TEST_F(Manager, WritesItsListAndWhatWasAdded) {
  auto* set = new QmCommutatorTrnsSet(3);
  set->addTrns(newPair(7));
  manager_.addTrnsSet(set, true);
  manager_.addTrnsSet(new QmCommutatorTrnsSet(8), false);
  EXPECT_TRUE(manager_.saveAllTrnsSets());
  EXPECT_EQ(readFile(list()),
            "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"9\">\n"
            "  <TrnsSet sequentialID=\"3\"/>\n"
            "  <TrnsSet sequentialID=\"8\"/>\n"
            "</CommutatorTrns>\n");
  EXPECT_TRUE(std::filesystem::exists(home_.path() / "3_7_TrackerLeft.trn"));
  OwnManager again;
  EXPECT_EQ(again.loadAllTrnsSets(), 2u);
  EXPECT_EQ(rightMove(again.findTrns(3, 7)), 2.0);
}

// Required: the list states one more than the highest number, whatever number was to come next.
TEST_F(Manager, WritesTheNumberBehindTheHighest) {
  writeList("currentSequentialID=\"3\" nextSequentialID=\"77\"", "<TrnsSet sequentialID=\"3\"/>");
  manager_.loadAllTrnsSets();
  settle();
  EXPECT_THAT(readFile(list()), HasSubstr("nextSequentialID=\"4\""));
  manager_.clearAllTrnsSets();
  manager_.addTrnsSet(new QmCommutatorTrnsSet(1), true);
  manager_.clearAllTrnsSets();
  settle();
  EXPECT_THAT(readFile(list()), HasSubstr("currentSequentialID=\"0\" nextSequentialID=\"1\""));
}

// Required: the next number is raised to the highest and not beyond, so that a new set meets a number that is taken.
TEST_F(Manager, CollidesWithTheHighestNumberOfAListThatCountsTooLow) {
  const auto load = [&] {
    writeList("currentSequentialID=\"3\" nextSequentialID=\"5\"",
              "<TrnsSet sequentialID=\"8\"/><TrnsSet sequentialID=\"3\"/>");
    manager_.loadAllTrnsSets();
  };
  load();
  const auto set = std::make_unique<QmCommutatorTrnsSet>();
  EXPECT_FALSE(manager_.addTrnsSet(set.get(), false));
  EXPECT_EQ(set->getSequentialID(), 8u);
  EXPECT_EQ(manager_.getNumberTrnsSets(), 2u);
  auto* next = new QmCommutatorTrnsSet;
  EXPECT_TRUE(manager_.addTrnsSet(next, false));
  EXPECT_EQ(next->getSequentialID(), 9u);
  load();
  settle();  // What is written instead is the number behind the highest.
  EXPECT_THAT(readFile(list()), HasSubstr("nextSequentialID=\"9\""));
}

TEST_F(Manager, ReadsNumbersThatAreNone) {
  writeList("currentSequentialID=\"x\" nextSequentialID=\"y\"", "<TrnsSet sequentialID=\"z\"/><TrnsSet/>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 2u);
  EXPECT_EQ(manager_.getTrnsSet(0)->getSequentialID(), 0u);
  ASSERT_NE(manager_.getCurTrnsSet(), nullptr);  // Number 0 reads as 0 and is current.
  auto* set = new QmCommutatorTrnsSet;
  EXPECT_TRUE(manager_.addTrnsSet(set, false));
  EXPECT_EQ(set->getSequentialID(), 1u);
}

TEST_F(Manager, TakesTheNextNumberOfTheList) {
  writeList("currentSequentialID=\"0\" nextSequentialID=\" 40x\"", "<TrnsSet sequentialID=\"5\"/>");
  manager_.loadAllTrnsSets();
  auto* set = new QmCommutatorTrnsSet;
  manager_.addTrnsSet(set, false);
  EXPECT_EQ(set->getSequentialID(), 40u);
}

TEST_F(Manager, IsLeftEmptyByAListThatIsMissingOrOfAnotherMake) {
  manager_.addTrnsSet(new QmCommutatorTrnsSet(7), true);
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  EXPECT_EQ(manager_.getNumberTrnsSets(), 0u);
  EXPECT_EQ(manager_.getCurTrnsSet(), nullptr);
  auto* first = new QmCommutatorTrnsSet;
  manager_.addTrnsSet(first, false);
  EXPECT_EQ(first->getSequentialID(), 1u);
  writeFile(list(), "<Other><TrnsSet sequentialID=\"5\"/></Other>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  writeFile(list(), "<CommutatorTrns");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
}

TEST_F(Manager, LeavesSetsThatWereNeverReadInTheListAndTheirFilesAlone) {
  loadTwoSets();
  std::filesystem::remove(home_.path() / "5_8_TrackerRight.trn");
  const std::string before = readFile(home_.path() / "5_8_TrackerLeft.trn");
  settle();
  EXPECT_THAT(readFile(list()), HasSubstr("<TrnsSet sequentialID=\"5\"/>"));
  EXPECT_EQ(readFile(home_.path() / "5_8_TrackerLeft.trn"), before);
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "5_8_TrackerRight.trn"));
}

// Required: the shortened list is written and the result does not tell.
TEST_F(Manager, EndsItsListInFrontOfASetThatCannotBeSaved) {
  for (const std::uint32_t number : {3u, 4u, 5u}) {
    auto* set = new QmCommutatorTrnsSet(number);
    set->addTrns(newPair(7));
    manager_.addTrnsSet(set, number == 3);
  }
  std::filesystem::create_directory(home_.path() / "4_7_TrackerLeft.trn");
  EXPECT_TRUE(manager_.saveAllTrnsSets());
  EXPECT_EQ(readFile(list()),
            "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"6\">\n"
            "  <TrnsSet sequentialID=\"3\"/>\n"
            "</CommutatorTrns>\n");
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "5_7_TrackerLeft.trn"));
}

// Required: the manager's own flag is cleared even then.
TEST_F(Manager, IsNoLongerDirtyAfterAListThatCouldNotBeWritten) {
  manager_.addTrnsSet(new QmCommutatorTrnsSet(3), true);
  std::filesystem::create_directory(list());
  manager_.getCurTrnsSet()->saveAllTrns(u"");
  EXPECT_FALSE(manager_.saveAllTrnsSets());
  EXPECT_FALSE(manager_.isDirty());
}

// Required: a copy owns the same sets, and assignment gives up those that a manager had, so that one of the two can be
// relieved of them.
TEST_F(Manager, SharesItsSetsWithItsCopies) {
  manager_.addTrnsSet(new QmCommutatorTrnsSet(3), true);
  OwnManager copy(manager_);
  OwnManager assigned;
  assigned = manager_;
  for (OwnManager* each : {&copy, &assigned}) {
    EXPECT_EQ(each->getCurTrnsSet(), manager_.getCurTrnsSet());
    EXPECT_EQ(each->getNumberTrnsSets(), 1u);
    EXPECT_TRUE(each->isDirty());
    *each = OwnManager();
    EXPECT_EQ(each->getNumberTrnsSets(), 0u);
  }
  EXPECT_EQ(manager_.getCurTrnsSet()->getSequentialID(), 3u);
}

TEST_F(Manager, IsLeftEmptyOrWholeWhenMemoryIsExhausted) {
  loadTwoSets();
  const auto met = quel::testing::failEachNew(
      [&] {
        OwnManager manager;
        const std::size_t count = manager.loadAllTrnsSets();
        EXPECT_EQ(manager.getNumberTrnsSets(), count);
        return count;
      },
      [](std::size_t count, bool failed) { EXPECT_EQ(count, failed ? 0u : 2u); });
  EXPECT_GT(met, 3);
}

// Sets that could not be read for want of memory are as those that were never asked for.
TEST_F(Manager, KeepsTheOldListWhenMemoryDoesNotSufficeForTheNewOne) {
  const auto writeOld = [&] {
    writeList("currentSequentialID=\"3\" nextSequentialID=\"6\"",
              "<TrnsSet sequentialID=\"3\"/><TrnsSet sequentialID=\"5\"/>");
  };
  writeOld();
  const std::string before = readFile(list());
  const std::string whole =
      "<CommutatorTrns currentSequentialID=\"3\" nextSequentialID=\"6\">\n"
      "  <TrnsSet sequentialID=\"3\"/>\n"
      "  <TrnsSet sequentialID=\"5\"/>\n"
      "</CommutatorTrns>\n";
  std::int64_t kept = 0;
  quel::testing::failEachNew(
      [&] {
        OwnManager manager;
        return manager.loadAllTrnsSets() == 2 && manager.saveAllTrnsSets();
      },
      [&](bool saved, bool failed) {
        EXPECT_TRUE(saved || failed);
        EXPECT_EQ(readFile(list()), saved ? whole : before);
        kept += saved ? 0 : 1;
        writeOld();
      });
  EXPECT_GT(kept, 20);
}

// A process of its own for each, since there is one manager in a process and nothing deletes it.
[[noreturn]] void exitWith(bool held) { std::exit(held ? 0 : 1); }

TEST_F(Manager, OfTheProcessIsMadeOnceAndReadsItsListThen) {
  writeList("currentSequentialID=\"5\" nextSequentialID=\"6\"", "<TrnsSet sequentialID=\"5\"/>");
  EXPECT_EXIT(
      {
        QmCommutatorTrnsMan* instance = QmCommutatorTrnsMan::createInstance();
        const std::size_t first = instance->getNumberTrnsSets();
        writeList("", "");
        exitWith(first == 1 && QmCommutatorTrnsMan::createInstance() == instance &&
                 instance->getNumberTrnsSets() == 1 && QmCommutatorTrnsMan(*instance).getNumberTrnsSets() == 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(Manager, OfTheProcessIsEmptyWithoutAList) {
  EXPECT_EXIT(
      {
        QmCommutatorTrnsMan* instance = QmCommutatorTrnsMan::createInstance();
        auto* set = new QmCommutatorTrnsSet;
        const bool empty = instance->getNumberTrnsSets() == 0 && instance->getCurTrnsSet() == nullptr;
        exitWith(empty && instance->addTrnsSet(set, false) && set->getSequentialID() == 1);
      },
      ::testing::ExitedWithCode(0), "");
}

using quel::testing::lastProblem;
using quel::testing::lastRemarks;

TEST_F(Manager, TellsWhyItsListCannotBeRead) {
  loadTwoSets();
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_EQ(lastRemarks().size(), 0u);
  writeFile(list(), "<CommutatorTrns>\n<a></CommutatorTrns>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  EXPECT_THAT(lastProblem(), testing::StartsWith("line 2, column "));
  writeFile(list(), "<Other/>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  EXPECT_EQ(lastProblem(), "root: expected CommutatorTrns, found another one");
  std::filesystem::remove(list());
  EXPECT_EQ(manager_.loadAllTrnsSets(), 0u);
  EXPECT_EQ(lastProblem(), "none");  // A list that is missing is no error.
}

TEST_F(Manager, RemarksOnNumbersAndTransformsThatAreNone) {
  writeList("currentSequentialID=\"3\" nextSequentialID=\"x\"", "\n<TrnsSet sequentialID=\"3\"/><TrnsSet/>");
  EXPECT_EQ(manager_.loadAllTrnsSets(), 2u);
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(),
              testing::ElementsAre(
                  "line 1, column 1, CommutatorTrns 1: expected a whole number as nextSequentialID, found \"x\"",
                  "line 2, column 28, TrnsSet 2: expected a whole number as sequentialID, found \"\""));
  writePair(home_.path(), "3_7", 1.0);
  writePair(home_.path(), "3_8", 1.0);
  writePair(home_.path(), "3_9", 1.0);
  std::filesystem::remove(home_.path() / "3_8_TrackerRight.trn");
  writeFile(home_.path() / "3_9_TrackerLeft.trn", "QuelTransform 1\n");
  EXPECT_NE(manager_.findTrnsSet(3), nullptr);
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), testing::ElementsAre("there is no such file", "it is no sound transform file"));
  EXPECT_THAT(qmLastRemark(1)->file, HasSubstr("3_9_TrackerLeft.trn"));
}

// --- A list that could not be read ---------------------------------------------------------------------------------

TEST_F(Manager, WritesNothingOverAListThatCouldNotBeRead) {
  loadTwoSets();
  const std::string before = readFile(list());
  OwnManager other;
  {
    const quel::testing::NoDescriptors none;
    EXPECT_EQ(other.loadAllTrnsSets(), 0u);
  }
  EXPECT_TRUE(other.addTrnsSet(new QmCommutatorTrnsSet, true));
  other.getTrnsSet(0)->addTrns(newPair(7, 9.0));
  EXPECT_FALSE(other.saveAllTrnsSets());
  EXPECT_EQ(readFile(list()), before);
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "1_7_TrackerLeft.trn"));
  EXPECT_EQ(other.loadAllTrnsSets(), 2u);
  EXPECT_TRUE(other.addTrnsSet(new QmCommutatorTrnsSet, true));
  EXPECT_TRUE(other.saveAllTrnsSets());
  EXPECT_EQ(manager_.loadAllTrnsSets(), 3u);
}

TEST_F(Manager, LosesNoSetWhereverMemoryRunsOutWhileTheListIsRead) {
  loadTwoSets();
  const std::string before = readFile(list());
  const auto addOne = [&](std::size_t count, bool failed) {
    EXPECT_EQ(count, failed ? 0u : 2u);
    EXPECT_TRUE(manager_.addTrnsSet(new QmCommutatorTrnsSet, false));
    EXPECT_EQ(manager_.saveAllTrnsSets(), !failed);
    if (failed) {
      EXPECT_EQ(readFile(list()), before);
    } else {
      EXPECT_EQ(manager_.loadAllTrnsSets(), 3u);
    }
  };
  EXPECT_GT(quel::testing::failEachNew([&] { return manager_.loadAllTrnsSets(); }, addOne), 3);
}

}  // namespace
