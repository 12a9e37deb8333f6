#include "quelcore/transforms/QmCommutatorTrnsSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "quelcore/transforms/QmCommutatorTrns_fixture.h"
#include "testing/AsNobody.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::leftMove;
using quel::testing::moveBy;
using quel::testing::newPair;
using quel::testing::rightMove;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quel::testing::writeMove;
using quel::testing::writePair;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Opens what derived classes may use.
class OpenSet : public QmCommutatorTrnsSet {
 public:
  using QmCommutatorTrnsSet::getTrnFileName;
  using QmCommutatorTrnsSet::loadTrns;
  using QmCommutatorTrnsSet::QmCommutatorTrnsSet;
  using QmCommutatorTrnsSet::saveTrns;
};

std::vector<std::uint32_t> sourcesOf(const QmCommutatorTrnsSet& set) {
  std::vector<std::uint32_t> sources;
  for (std::size_t i = 0; i < set.getNumberTrns(); ++i) sources.push_back(set.getTrns(i)->getSourceID());
  return sources;
}

std::set<std::string> namesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename().string());
  return names;
}

class SetOnDisk : public testing::Test {
 protected:
  std::filesystem::path path() const { return folder_.path(); }
  std::u16string dir() const { return folder_.path().u16string(); }
  TempDir folder_;
};

TEST(QmCommutatorTrnsSet, HasNoNumberAndNoPairsWhenNew) {
  const QmCommutatorTrnsSet set;
  EXPECT_EQ(set.getSequentialID(), 0u);
  EXPECT_EQ(set.getNumberTrns(), 0u);
  EXPECT_FALSE(set.isDirty());
  EXPECT_EQ(set.getTrns(0), nullptr);
  EXPECT_EQ(QmCommutatorTrnsSet(3).getSequentialID(), 3u);
}

TEST(QmCommutatorTrnsSet, IsDirtyOnlyWhenItsNumberChanges) {
  QmCommutatorTrnsSet set(3);
  set.setSequentialID(3);
  EXPECT_FALSE(set.isDirty());
  set.setSequentialID(4);
  EXPECT_TRUE(set.isDirty());
  EXPECT_EQ(set.getSequentialID(), 4u);
}

TEST(QmCommutatorTrnsSet, HoldsOnePairOfEachSource) {
  QmCommutatorTrnsSet set(3);
  auto* pair = new QmCommutatorTrns(7);
  EXPECT_TRUE(set.addTrns(pair));
  EXPECT_TRUE(set.isDirty());
  EXPECT_TRUE(set.addTrns(new QmCommutatorTrns(5)));
  const auto second = std::make_unique<QmCommutatorTrns>(7);
  EXPECT_FALSE(set.addTrns(second.get()));
  EXPECT_FALSE(set.addTrns(nullptr));
  EXPECT_THAT(sourcesOf(set), ElementsAre(7, 5));
  EXPECT_EQ(set.findTrns(7), pair);
  EXPECT_EQ(set.findTrns(6), nullptr);
  EXPECT_EQ(set.getTrns(2), nullptr);
}

TEST(QmCommutatorTrnsSet, KeepsItsFlagWhenItIsEmptied) {
  QmCommutatorTrnsSet set(3);
  set.clearAllTrns();
  EXPECT_FALSE(set.isDirty());
  set.addTrns(new QmCommutatorTrns(5));
  set.clearAllTrns();
  EXPECT_EQ(set.getNumberTrns(), 0u);
  EXPECT_TRUE(set.isDirty());
}

TEST_F(SetOnDisk, IsDirtyThroughItsPairs) {
  QmCommutatorTrnsSet set(3);
  set.addTrns(new QmCommutatorTrns(5));
  EXPECT_TRUE(set.saveAllTrns(dir().c_str()));
  EXPECT_FALSE(set.isDirty());
  set.getTrns(0)->setTrn(TrnPosLeft, moveBy(1));
  EXPECT_TRUE(set.isDirty());
}

TEST(QmCommutatorTrnsSet, NamesItsFilesByNumberSourceAndSide) {
  const OpenSet set(3);
  const QmCommutatorTrns pair(4000000000u);
  EXPECT_EQ(set.getTrnFileName(&pair, TrnPosLeft), u"3_4000000000_TrackerLeft.trn");
  EXPECT_EQ(set.getTrnFileName(&pair, TrnPosRight), u"3_4000000000_TrackerRight.trn");
  EXPECT_EQ(set.getTrnFileName(&pair, static_cast<TrnPos>(9)), u"3_4000000000_TrackerRight.trn");
  EXPECT_EQ(set.getTrnFileName(nullptr, TrnPosLeft), u"");
}

TEST_F(SetOnDisk, IsWrittenAsTwoFilesPerPair) {
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7, 1.5));
  set.addTrns(newPair(8, 2.5));
  EXPECT_TRUE(set.saveAllTrns(dir().c_str()));
  EXPECT_THAT(namesIn(path()), UnorderedElementsAre("3_7_TrackerLeft.trn", "3_7_TrackerRight.trn",
                                                    "3_8_TrackerLeft.trn", "3_8_TrackerRight.trn"));
  QmCommutatorTrnsSet again(3);
  EXPECT_EQ(again.loadAllTrns(dir().c_str()), 2u);
  EXPECT_EQ(leftMove(again.findTrns(8)), 2.5);
  EXPECT_EQ(rightMove(again.findTrns(8)), 5.0);
}

TEST_F(SetOnDisk, WritesNothingOfAPairThatIsNotDirty) {
  QmCommutatorTrnsSet set(3);
  set.addTrns(new QmCommutatorTrns(5));
  set.addTrns(newPair(7));
  EXPECT_TRUE(set.saveAllTrns(dir().c_str()));
  EXPECT_THAT(namesIn(path()), UnorderedElementsAre("3_7_TrackerLeft.trn", "3_7_TrackerRight.trn"));
}

// Required: a pair's flag never clears.
TEST_F(SetOnDisk, IsDirtyAgainAndWrittenAgainAfterASave) {
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7));
  EXPECT_TRUE(set.saveAllTrns(dir().c_str()));
  EXPECT_TRUE(set.isDirty());
  for (const auto& entry : std::filesystem::directory_iterator(path())) std::filesystem::remove(entry);
  EXPECT_TRUE(set.saveAllTrns(dir().c_str()));
  EXPECT_EQ(namesIn(path()).size(), 2u);
}

// Required: the set's own flag clears with a pair that was written, and with one that was not, too.
TEST_F(SetOnDisk, LosesItsOwnFlagWithAPairThatCannotBeWritten) {
  OpenSet set(3);
  set.setSequentialID(4);
  const std::unique_ptr<QmCommutatorTrns> pair(newPair(7));
  const QmCommutatorTrns clean(8);
  ASSERT_TRUE(set.isDirty());
  EXPECT_TRUE(set.saveTrns(&clean, dir().c_str()));
  EXPECT_TRUE(set.isDirty());
  EXPECT_FALSE(set.saveTrns(pair.get(), folder_.wide("no such folder").c_str()));
  EXPECT_FALSE(set.isDirty());
  set.setSequentialID(5);
  EXPECT_TRUE(set.saveTrns(pair.get(), dir().c_str()));
  EXPECT_FALSE(set.isDirty());
  EXPECT_FALSE(set.saveTrns(nullptr, dir().c_str()));
}

TEST_F(SetOnDisk, StopsAtTheFirstPairThatCannotBeWritten) {
  QmCommutatorTrnsSet set(3);
  for (const std::uint32_t source : {7u, 8u, 9u}) set.addTrns(newPair(source));
  std::filesystem::create_directory(path() / "3_8_TrackerLeft.trn");
  EXPECT_FALSE(set.saveAllTrns(dir().c_str()));
  EXPECT_THAT(namesIn(path()),
              UnorderedElementsAre("3_7_TrackerLeft.trn", "3_7_TrackerRight.trn", "3_8_TrackerLeft.trn"));
}

TEST_F(SetOnDisk, NeedsNoDirectoryWhenNothingIsDirty) {
  QmCommutatorTrnsSet set(3);
  EXPECT_TRUE(set.saveAllTrns(folder_.wide("no such folder").c_str()));
}

TEST_F(SetOnDisk, IsReadInTheOrderOfTheListing) {
  writePair(path(), "3_7");
  writePair(path(), "3_10");
  writePair(path(), "3_8");
  writePair(path(), "33_9");
  writePair(path(), "4_9");
  QmCommutatorTrnsSet set(3);
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 3u);
  EXPECT_THAT(sourcesOf(set), ElementsAre(10, 7, 8));
}

TEST_F(SetOnDisk, LeavesOutPairsWithoutTheirRightHalfOrDamaged) {
  writePair(path(), "3_7");
  writeMove(path() / "3_8_TrackerLeft.trn", 1);
  writeMove(path() / "3_9_TrackerRight.trn", 1);
  writePair(path(), "3_11");
  writeFile(path() / "3_11_TrackerRight.trn", "damaged");
  QmCommutatorTrnsSet set(3);
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 1u);
  EXPECT_THAT(sourcesOf(set), ElementsAre(7));
}

TEST_F(SetOnDisk, PassesOverSourcesThatAreZeroOrNoNumber) {
  for (const char* stem : {"3_0", "3_x", "3_-5", "3_"}) writePair(path(), stem);
  QmCommutatorTrnsSet set(3);
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 0u);
}

TEST_F(SetOnDisk, AddsAllPairsAgainWhenItIsReadAgain) {
  writePair(path(), "3_7");
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7, 100));
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 1u);
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 1u);
  EXPECT_THAT(sourcesOf(set), ElementsAre(7, 7, 7));
  EXPECT_EQ(leftMove(set.findTrns(7)), 100.0);
}

// Required: what was read is dirty from then on.
TEST_F(SetOnDisk, IsDirtyOnceItIsRead) {
  writePair(path(), "3_7");
  QmCommutatorTrnsSet set(3);
  set.loadAllTrns(dir().c_str());
  EXPECT_TRUE(set.getTrns(0)->isDirty());
  EXPECT_TRUE(set.isDirty());
  set.clearAllTrns();
  EXPECT_FALSE(set.isDirty());  // It was so through its pair alone.
}

TEST_F(SetOnDisk, HasNoPairsWhereThereIsNoDirectory) {
  QmCommutatorTrnsSet set(3);
  EXPECT_EQ(set.loadAllTrns(folder_.wide("no such folder").c_str()), 0u);
}

TEST_F(SetOnDisk, LiesInTheHomeDirectoryForAnEmptyOne) {
  const TempHome home;
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7));
  EXPECT_TRUE(set.saveAllTrns(u""));
  EXPECT_EQ(QmCommutatorTrnsSet(3).loadAllTrns(nullptr), 1u);
  EXPECT_TRUE(std::filesystem::exists(home.path() / "3_7_TrackerLeft.trn"));
}

TEST_F(SetOnDisk, SetsTheLeftHalfOfAPairWhoseRightOneIsMissing) {
  writeMove(path() / "3_8_TrackerLeft.trn", 4);
  OpenSet set(3);
  QmCommutatorTrns pair(8);
  EXPECT_FALSE(set.loadTrns(&pair, dir().c_str()));
  EXPECT_EQ(leftMove(&pair), 4.0);
  EXPECT_FALSE(set.loadTrns(nullptr, dir().c_str()));
}

// Required: a copy owns the same pairs, and assignment gives up those that a set had, so that one of the two can be
// relieved of them.
TEST(QmCommutatorTrnsSet, SharesItsPairsWithItsCopies) {
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7));
  QmCommutatorTrnsSet copy(set);
  QmCommutatorTrnsSet assigned;
  assigned = set;
  for (QmCommutatorTrnsSet* each : {&copy, &assigned}) {
    EXPECT_EQ(each->getTrns(0), set.getTrns(0));
    EXPECT_EQ(each->getSequentialID(), 3u);
    EXPECT_TRUE(each->isDirty());
    *each = QmCommutatorTrnsSet();
    EXPECT_EQ(each->getNumberTrns(), 0u);
  }
  EXPECT_EQ(set.getTrns(0)->getSourceID(), 7u);
}

TEST_F(SetOnDisk, KeepsWhatItHasWhenMemoryIsExhausted) {
  writePair(path(), "3_7");
  writePair(path(), "3_8");
  const std::u16string where = dir();
  const auto reading = quel::testing::failEachNew(
      [&] {
        QmCommutatorTrnsSet set(3);
        return set.loadAllTrns(where.c_str());
      },
      [](std::size_t count, bool failed) { EXPECT_TRUE(failed ? count <= 2 : count == 2); });
  EXPECT_GT(reading, 5);
  QmCommutatorTrnsSet full(3);
  full.addTrns(newPair(7));
  const auto writing = quel::testing::failEachNew([&] { return full.saveAllTrns(where.c_str()); },
                                                  [](bool saved, bool failed) { EXPECT_EQ(saved, !failed); });
  EXPECT_GT(writing, 2);
  const auto adding = quel::testing::failEachNew(
      [&] {
        QmCommutatorTrnsSet set(3);
        auto* pair = new (std::nothrow) QmCommutatorTrns(7);
        if (pair == nullptr) return false;
        const bool added = set.addTrns(pair);
        if (!added) delete pair;
        return added;
      },
      [](bool added, bool failed) { EXPECT_EQ(added, !failed); });
  EXPECT_GT(adding, 0);
}

TEST_F(SetOnDisk, WorksWithoutALine) {
  const quel::testing::RecordingLog log;
  QmCommutatorTrnsSet set(3);
  set.addTrns(newPair(7));
  set.saveAllTrns(folder_.wide("no such folder").c_str());
  set.loadAllTrns(folder_.wide("no such folder").c_str());
  EXPECT_THAT(log.records(), IsEmpty());
}

// --- Pairs that could not be read ----------------------------------------------------------------------------------

TEST_F(SetOnDisk, TakesNoPairOfASourceThatItCouldNotReadTheFilesOf) {
  writePair(path(), "3_7", 1.0);
  writePair(path(), "3_8", 2.0);
  QmCommutatorTrnsSet set(3);
  {
    const quel::testing::NoDescriptors none;  // The directory cannot be listed either.
    EXPECT_EQ(set.loadAllTrns(dir().c_str()), 0u);
  }
  const std::unique_ptr<QmCommutatorTrns> pair(newPair(9, 3.0));
  EXPECT_FALSE(set.addTrns(pair.get()));
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 2u);
  EXPECT_TRUE(set.addTrns(newPair(9, 3.0)));
}

TEST_F(SetOnDisk, LosesNoPairWhereverMemoryRunsOutWhileItIsRead) {
  writePair(path(), "3_7", 1.0);
  writePair(path(), "3_8", 2.0);
  std::unique_ptr<QmCommutatorTrnsSet> set;
  const qmWString folder = dir();
  const auto load = [&] {
    set->loadAllTrns(folder.c_str());
    return true;
  };
  const auto offer = [&](bool, bool) {
    for (const std::uint32_t source : {7u, 8u}) {
      std::unique_ptr<QmCommutatorTrns> pair(newPair(source, 9.0));
      EXPECT_FALSE(set->addTrns(pair.get())) << source;
    }
    set = std::make_unique<QmCommutatorTrnsSet>(3);
  };
  set = std::make_unique<QmCommutatorTrnsSet>(3);
  EXPECT_GT(quel::testing::failEachNew(load, offer), 3);
}

TEST_F(SetOnDisk, TakesNoPairOfASourceWhoseFileItMayNotRead) {
  writePair(path(), "3_7", 1.0);
  std::filesystem::permissions(path(), quel::testing::kOpenToAll);
  std::filesystem::permissions(path() / "3_7_TrackerRight.trn", std::filesystem::perms::none);
  EXPECT_TRUE(quel::testing::holdsAsNobody([this] {
    QmCommutatorTrnsSet set(3);
    EXPECT_EQ(set.loadAllTrns(dir().c_str()), 0u);
    const std::unique_ptr<QmCommutatorTrns> pair(newPair(7, 3.0));
    EXPECT_FALSE(set.addTrns(pair.get()));
    EXPECT_TRUE(set.addTrns(newPair(9, 3.0)));
  }));
}

TEST_F(SetOnDisk, TakesAPairAgainOnceItsFilesAreKnownToBeGone) {
  writePair(path(), "3_7", 1.0);
  std::filesystem::remove(path() / "3_7_TrackerRight.trn");
  std::filesystem::create_symlink("3_7_TrackerRight.trn", path() / "3_7_TrackerRight.trn");
  QmCommutatorTrnsSet set(3);
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 0u);
  const std::unique_ptr<QmCommutatorTrns> pair(newPair(7, 3.0));
  EXPECT_FALSE(set.addTrns(pair.get()));
  for (const char* side : {"Left", "Right"}) {
    std::filesystem::remove(path() / (std::string("3_7_Tracker") + side + ".trn"));
  }
  EXPECT_EQ(set.loadAllTrns(dir().c_str()), 0u);
  EXPECT_TRUE(set.addTrns(newPair(7, 3.0)));
}

}  // namespace
