#include "quelplatform/qmDistort/DistortLutsManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/FailingMemory.h"
#include "testing/TempHome.h"

namespace {

using namespace quel::testing;
using quelplatform::distortLutsReferences;
using quelplatform::LutGrid;
using quelplatform::makeDistortLuts;

constexpr const char* kLongestId = "abcdefghijklmnopqrstuvw";
constexpr const char* kTooLongId = "abcdefghijklmnopqrstuvwx";

void noDisplacement(double, double, double, float*) {}

class DistortLuts : public ::testing::Test {
 protected:
  DistortLuts() : blocksBefore_(quelplatform::allocatedBlocks()) {}
  ~DistortLuts() override {
    manager_.releaseAllDistortLuts();
    EXPECT_EQ(quelplatform::allocatedBlocks(), blocksBefore_);
  }

  const tag_qmDistortLuts* make(const std::string& id) {
    return makeDistortLuts(id, {{0, 0}, {1, 1}, 2, 2, {0}}, noDisplacement);
  }

  const tag_qmDistortLuts* existing(const char* id, bool addReference = false) {
    const tag_qmDistortLuts* luts = nullptr;
    const bool found = manager_.getExistDistortLuts(id, &luts, addReference);
    EXPECT_EQ(found, luts != nullptr);
    return luts;
  }

  // A file with sets "a" and "b", whose first cell holds `value`.
  std::u16string storedFile(float value) {
    HandMadeLuts luts(2, 2, {0});
    luts.cell(0, 0, 0, 0) = value;
    const std::u16string path = directory_.wide("luts.lut");
    EXPECT_TRUE(DistortLutsManager::storeLutsFile({{"a", luts}, {"b", luts}}, path.c_str(), true));
    return path;
  }

  const tag_qmDistortLuts* load(const std::u16string& path, const std::string& id) {
    DistortLutsManager::LutMap luts = {{id, nullptr}};
    EXPECT_TRUE(manager_.loadLutsFile(luts, path.c_str()));
    return luts[id];
  }

  static float firstCell(const tag_qmDistortLuts* luts) { return luts->tables[0][0].rows[0][0]; }

  std::int64_t blocksBefore_;
  TempDir directory_;
  DistortLutsManager& manager_ = DistortLutsManager::getManager();
};

TEST_F(DistortLuts, HaveOneManager) { EXPECT_EQ(&DistortLutsManager::getManager(), &manager_); }

TEST_F(DistortLuts, AreCreatedWithoutTablesForAnUnknownIdentifier) {
  const tag_qmDistortLuts* luts = nullptr;
  ASSERT_TRUE(manager_.addDistortLuts("new", &luts));
  ASSERT_NE(luts, nullptr);
  for (const auto* table : luts->tables) EXPECT_EQ(table, nullptr);
  EXPECT_EQ(luts->tableCount, 0);
  EXPECT_EQ(distortLutsReferences("new"), 1);
}

TEST_F(DistortLuts, AreFoundByTheirIdentifierWithOneMoreReference) {
  const auto* made = make("a");
  const tag_qmDistortLuts* luts = nullptr;
  ASSERT_TRUE(manager_.addDistortLuts("a", &luts));
  EXPECT_EQ(luts, made);
  EXPECT_EQ(distortLutsReferences("a"), 2);
}

TEST_F(DistortLuts, TakeIdentifiersOfOneToTwentyThreeCharacters) {
  const tag_qmDistortLuts* luts = nullptr;
  EXPECT_TRUE(manager_.addDistortLuts(kLongestId, &luts));
  for (const char* bad : {kTooLongId, "", static_cast<const char*>(nullptr)}) {
    luts = existing(kLongestId);
    EXPECT_FALSE(manager_.addDistortLuts(bad, &luts));
    EXPECT_EQ(luts, nullptr);
    EXPECT_FALSE(manager_.addDistortLuts(bad, kLongestId));
    EXPECT_FALSE(manager_.addDistortLuts("x", bad));
  }
  EXPECT_EQ(distortLutsReferences(kLongestId), 1);
  EXPECT_EQ(distortLutsReferences("x"), -1);
}

TEST_F(DistortLuts, NeedSomewhereToBeHandedOut) {
  make("a");
  EXPECT_FALSE(manager_.addDistortLuts("a", static_cast<const tag_qmDistortLuts**>(nullptr)));
  EXPECT_FALSE(manager_.getExistDistortLuts("a", nullptr, true));
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, AreHandedOutWithAReferenceOnlyOnDemand) {
  const auto* made = make("a");
  EXPECT_EQ(existing("a", false), made);
  EXPECT_EQ(distortLutsReferences("a"), 1);
  EXPECT_EQ(existing("a", true), made);
  EXPECT_EQ(distortLutsReferences("a"), 2);
}

TEST_F(DistortLuts, AreNullForAnUnknownOrNullIdentifier) {
  make("a");
  for (const char* unknown : {"b", "", "A", "aa", static_cast<const char*>(nullptr)}) {
    const tag_qmDistortLuts* luts = existing("a");
    EXPECT_FALSE(manager_.getExistDistortLuts(unknown, &luts, true));
    EXPECT_EQ(luts, nullptr);
  }
  EXPECT_EQ(distortLutsReferences("b"), -1);
}

TEST_F(DistortLuts, ShareOneCountUnderAllTheirNames) {
  const auto* made = make("a");
  ASSERT_TRUE(manager_.addDistortLuts("b", "a"));
  ASSERT_TRUE(manager_.addDistortLuts("c", "b"));
  EXPECT_EQ(existing("c"), made);
  EXPECT_EQ(distortLutsReferences("a"), 3);
  EXPECT_EQ(distortLutsReferences("c"), 3);
  manager_.removeDistortLuts("b");
  EXPECT_EQ(distortLutsReferences("c"), 2);
}

TEST_F(DistortLuts, KeepTheirCountThroughARenaming) {
  const auto* made = make("old");
  ASSERT_TRUE(manager_.addDistortLuts("new", "old"));
  manager_.distortLutsReleaseRef(made);
  EXPECT_EQ(distortLutsReferences("new"), 1);
}

TEST_F(DistortLuts, TakeAReferenceForTheirOwnNameAgain) {
  make("a");
  EXPECT_TRUE(manager_.addDistortLuts("a", "a"));
  EXPECT_EQ(distortLutsReferences("a"), 2);
}

TEST_F(DistortLuts, TakeOverANameAndLeaveTheOtherSetItsReferences) {
  const auto* a = make("a");
  const auto* b = make("b");
  manager_.distortLutsAddRef(b);
  ASSERT_TRUE(manager_.addDistortLuts("b", "a"));
  EXPECT_EQ(existing("b"), a);
  EXPECT_EQ(distortLutsReferences("b"), 2);
  // The other set has no name any more; its holders still release it, and the last one frees it.
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  manager_.distortLutsReleaseRef(b);
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks);
  manager_.distortLutsReleaseRef(b);
  EXPECT_LT(quelplatform::allocatedBlocks(), blocks);
  EXPECT_EQ(distortLutsReferences("b"), 2);
}

TEST_F(DistortLuts, FreeASetThatLosesItsLastNameWithoutReferences) {
  make("a");
  make("b");
  manager_.removeDistortLuts("b");
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  ASSERT_TRUE(manager_.addDistortLuts("b", "a"));
  EXPECT_LT(quelplatform::allocatedBlocks(), blocks);
}

TEST_F(DistortLuts, CountReferencesByNameAndBySet) {
  const auto* made = make("a");
  manager_.distortLutsAddRef("a");
  manager_.distortLutsAddRef(made);
  EXPECT_EQ(distortLutsReferences("a"), 3);
  manager_.removeDistortLuts("a");
  manager_.distortLutsReleaseRef(made);
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, NeverFallBelowNoReference) {
  const auto* made = make("a");
  for (int i = 0; i < 3; ++i) manager_.removeDistortLuts("a");
  EXPECT_EQ(distortLutsReferences("a"), 0);
  manager_.distortLutsReleaseRef(made);
  EXPECT_EQ(distortLutsReferences("a"), 0);
  EXPECT_EQ(existing("a"), made) << "it stays until it is removed";
}

TEST_F(DistortLuts, IgnoreUnknownAndNullInEveryCount) {
  make("a");
  const tag_qmDistortLuts stranger = {};
  for (const tag_qmDistortLuts* luts : {&stranger, static_cast<const tag_qmDistortLuts*>(nullptr)}) {
    manager_.distortLutsAddRef(luts);
    manager_.distortLutsReleaseRef(luts);
  }
  for (const char* id : {"", "b", static_cast<const char*>(nullptr)}) {
    manager_.distortLutsAddRef(id);
    manager_.removeDistortLuts(id);
  }
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, AreRemovedWithAllNamesWhenNobodyRefersToThem) {
  make("a");
  make("b");
  make("c");
  ASSERT_TRUE(manager_.addDistortLuts("a2", "a"));
  EXPECT_EQ(manager_.removeUnusedDistortLuts(), 0);
  manager_.removeDistortLuts("a");
  manager_.removeDistortLuts("a2");
  manager_.removeDistortLuts("b");
  EXPECT_EQ(manager_.removeUnusedDistortLuts(), 2) << "sets, not names";
  for (const char* gone : {"a", "a2", "b"}) EXPECT_EQ(distortLutsReferences(gone), -1);
  EXPECT_EQ(distortLutsReferences("c"), 1);
}

TEST_F(DistortLuts, AreAllFreedWhateverReferencesAreLeft) {
  const auto* made = make("a");
  manager_.releaseAllDistortLuts();
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocksBefore_);
  EXPECT_EQ(distortLutsReferences("a"), -1);
  manager_.distortLutsReleaseRef(made);
  manager_.removeDistortLuts("a");
}

TEST_F(DistortLuts, TakeOneReferencePerIdentifierThatAFileDelivers) {
  const std::u16string path = storedFile(7);
  DistortLutsManager::LutMap luts = {{"a", nullptr}, {"b", nullptr}, {"c", nullptr}};
  ASSERT_TRUE(manager_.loadLutsFile(luts, path.c_str()));
  EXPECT_NE(luts["a"], luts["b"]);
  EXPECT_EQ(distortLutsReferences("a"), 1);
  EXPECT_EQ(distortLutsReferences("b"), 1);
  EXPECT_EQ(distortLutsReferences("c"), -1);
}

TEST_F(DistortLuts, AreReusedFromMemoryWhileTheyHaveReferencesAndTheContentOfTheFile) {
  const auto* first = load(storedFile(7), "a");
  EXPECT_EQ(load(storedFile(7), "a"), first);
  EXPECT_EQ(distortLutsReferences("a"), 2);
}

TEST_F(DistortLuts, GiveTheirNameToANewSetWhereTheFileHoldsOtherContent) {
  const auto* first = load(storedFile(7), "a");
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  const auto* second = load(storedFile(8), "a");
  EXPECT_EQ(firstCell(second), 8);
  EXPECT_EQ(existing("a"), second);
  EXPECT_EQ(distortLutsReferences("a"), 1);
  EXPECT_EQ(firstCell(first), 7) << "the earlier set lives on with its holder";
  manager_.distortLutsReleaseRef(first);
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks) << "and goes with it";
  EXPECT_EQ(load(storedFile(8), "a"), second);
}

TEST_F(DistortLuts, MadeInMemoryAreSharedWithAFileOfTheSameContentInEveryPart) {
  // An odd number of cells, so that the file fills the set up, and rows longer than what is written in one piece.
  const LutGrid grid = {{-4, 3}, {2, 5}, 1501, 3, {-1, 10, 20}, 2};
  const auto cells = [](double x, double y, double depth, float displacement[2]) {
    displacement[0] = static_cast<float>(x + y);
    displacement[1] = static_cast<float>(depth - y);
  };
  const std::u16string path = directory_.wide("luts.lut");
  const auto* made = makeDistortLuts("a", grid, cells);
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"a", made}}, path.c_str(), true));
  EXPECT_EQ(load(path, "a"), made);

  std::vector<LutGrid> others(7, grid);
  others[0].origin[1] = 4;
  others[1].pitch[0] = 3;
  others[2].columns = 1500;
  others[3].rows = 4;
  others[4].depths[2] = 21;
  others[5].lutVersion = 3;
  for (const LutGrid& other : others) {
    manager_.releaseAllDistortLuts();
    const bool lastCellDiffers = &other == &others[6];
    const auto* held = makeDistortLuts("a", other, [&](double x, double y, double depth, float displacement[2]) {
      cells(x, y, depth, displacement);
      if (lastCellDiffers && x == -4 + 2 * 1500 && y == 13 && depth == 20) displacement[1] = 0.5F;
    });
    const auto* loaded = load(path, "a");
    EXPECT_NE(loaded, held);
    EXPECT_EQ(loaded->tables[1][2].rows[2][1500], 7.0F);
  }
}

TEST_F(DistortLuts, CreatedWithoutTablesGiveTheirNameToTheSetOfAFile) {
  const tag_qmDistortLuts* created = nullptr;
  ASSERT_TRUE(manager_.addDistortLuts("a", &created));
  EXPECT_EQ(firstCell(load(storedFile(7), "a")), 7);
  EXPECT_EQ(created->tableCount, 0);
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, AreReadAfreshOnceNobodyRefersToThem) {
  load(storedFile(7), "a");
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  manager_.removeDistortLuts("a");
  EXPECT_EQ(firstCell(load(storedFile(8), "a")), 8);
  EXPECT_EQ(distortLutsReferences("a"), 1);
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks) << "the set before is gone";
}

TEST_F(DistortLuts, AreReadAfreshUnderOneNameAndKeepTheOther) {
  const auto* first = load(storedFile(7), "a");
  ASSERT_TRUE(manager_.addDistortLuts("other", "a"));
  manager_.removeDistortLuts("a");
  manager_.removeDistortLuts("a");
  EXPECT_NE(load(storedFile(7), "a"), first);
  EXPECT_EQ(existing("other"), first);
  EXPECT_EQ(distortLutsReferences("other"), 0);
}

TEST_F(DistortLuts, AreNotDeliveredFromMemoryIfTheFileLacksThem) {
  make("c");
  EXPECT_EQ(load(storedFile(7), "c"), nullptr);
  EXPECT_EQ(distortLutsReferences("c"), 1);
}

TEST_F(DistortLuts, LeaveTheCountsAloneWhenAFileFails) {
  make("a");
  DistortLutsManager::LutMap luts = {{"a", nullptr}};
  EXPECT_FALSE(manager_.loadLutsFile(luts, directory_.wide("none.lut").c_str()));
  EXPECT_EQ(luts["a"], nullptr);
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, CreateAndNameOrChangeNothingWhenMemoryIsExhausted) {
  EXPECT_EQ(failEachAllocation([this](std::int64_t failing) {
              const tag_qmDistortLuts* luts = nullptr;
              EXPECT_EQ(manager_.addDistortLuts("new", &luts), failing > 0);
              EXPECT_EQ(luts != nullptr, failing > 0);
              EXPECT_EQ(distortLutsReferences("new"), failing > 0 ? 1 : -1);
              manager_.releaseAllDistortLuts();
            }),
            1);
}

TEST_F(DistortLuts, AreSampledCellByCellInMemory) {
  const LutGrid grid = {{-4, 3}, {2, 5}, 3, 2, {-1, 10}, 7};
  const auto* luts = makeDistortLuts("grid", grid, [](double x, double y, double depth, float displacement[2]) {
    displacement[0] = static_cast<float>(x + 100 * y);
    displacement[1] = static_cast<float>(depth);
  });
  ASSERT_NE(luts, nullptr);
  EXPECT_EQ(luts->lutVersion, 7);
  EXPECT_EQ(luts->tableCount, 2);
  EXPECT_EQ(luts->referenceLayer, 0);
  EXPECT_EQ(luts->gridOrigin[1], 3);
  EXPECT_EQ(luts->gridPitch[0], 2);
  EXPECT_EQ(luts->tables[2], nullptr);
  EXPECT_EQ(luts->tables[0][1].rows[1][2], 0 + 100 * 8);
  EXPECT_EQ(luts->tables[0][0].rows[0][0], -4 + 100 * 3);
  EXPECT_EQ(luts->tables[1][0].rows[1][2], -1);
  EXPECT_EQ(luts->tables[1][1].rows[0][1], 10);
}

TEST_F(DistortLuts, MadeInMemoryFollowTheRuleOfTheirVersion) {
  const auto nothing = [](double, double, double, float displacement[2]) {
    displacement[0] = displacement[1] = std::numeric_limits<float>::quiet_NaN();
  };
  LutGrid grid = {{0, 0}, {1, 1}, 1, 1, {0}, 1};
  EXPECT_EQ(makeDistortLuts("one", grid, nothing)->tables[1][0].rows[0][0], kLargestFloat);
  grid.lutVersion = 2;
  EXPECT_TRUE(std::isnan(makeDistortLuts("two", grid, nothing)->tables[1][0].rows[0][0]));
}

TEST_F(DistortLuts, MadeInMemoryReplaceWhatTheirNameMeant) {
  const auto* first = make("a");
  manager_.distortLutsAddRef(first);
  const auto* second = make("a");
  EXPECT_NE(second, first);
  EXPECT_EQ(existing("a"), second);
  EXPECT_EQ(distortLutsReferences("a"), 1);
}

TEST_F(DistortLuts, AreNotMadeFromBadGridsOrIdentifiers) {
  const float infinity = std::numeric_limits<float>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const LutGrid bad[] = {
      {{0, 0}, {1, 1}, 0, 1, {0}},        {{0, 0}, {1, 1}, 1, 0, {0}},    {{0, 0}, {1, 1}, -1, 1, {0}},
      {{0, 0}, {1, 1}, 1, 65537, {0}},    {{0, 0}, {1, 1}, 1, 1, {}},     {{0, 0}, {0, 1}, 1, 1, {0}},
      {{0, 0}, {1, -1}, 1, 1, {0}},       {{nan, 0}, {1, 1}, 1, 1, {0}},  {{0, 0}, {1, nan}, 1, 1, {0}},
      {{0, 0}, {1, 1}, 1, 1, {1, 1}},     {{0, 0}, {1, 1}, 1, 1, {2, 1}}, {{0, 0}, {1, 1}, 1, 1, {infinity}},
      {{0, 0}, {1, 1}, 1, 1, {-infinity}}};
  for (const LutGrid& grid : bad) EXPECT_EQ(makeDistortLuts("a", grid, noDisplacement), nullptr);
  LutGrid deep = {{0, 0}, {1, 1}, 1, 1, {}};
  for (int i = 0; i < 65537; ++i) deep.depths.push_back(static_cast<float>(i));
  EXPECT_EQ(makeDistortLuts("a", deep, noDisplacement), nullptr);
  for (const std::string& id : {std::string(), std::string(kTooLongId), std::string("a\0b", 3)}) {
    EXPECT_EQ(make(id), nullptr);
  }
  EXPECT_EQ(distortLutsReferences("a"), -1);
}

TEST_F(DistortLuts, AreNotMadeWhenAnyAllocationFails) {
  EXPECT_EQ(failEachAllocation([this](std::int64_t failing) {
              EXPECT_EQ(make("a") != nullptr, failing == 6);
              EXPECT_EQ(distortLutsReferences("a"), failing == 6 ? 1 : -1);
              manager_.releaseAllDistortLuts();
            }),
            6)
      << "record, depths, two tables, two images";
}

TEST_F(DistortLuts, LetWhatTheDisplacementThrowsPassAndRegisterNothing) {
  EXPECT_THROW(makeDistortLuts("a", {{0, 0}, {1, 1}, 2, 2, {0}}, [](double, double, double, float*) { throw 7; }), int);
  EXPECT_EQ(distortLutsReferences("a"), -1);
}

TEST_F(DistortLuts, KeepTheirCountsWhenManyThreadsUseThem) {
  const std::u16string path = storedFile(7);
  constexpr int kThreads = 4, kRounds = 100;
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      const std::string own = "own" + std::to_string(thread);
      for (int round = 0; round < kRounds; ++round) {
        DistortLutsManager::LutMap luts = {{"a", nullptr}, {"b", nullptr}};
        const tag_qmDistortLuts* created = nullptr;
        if (!manager_.loadLutsFile(luts, path.c_str()) || firstCell(luts["a"]) != 7) ++wrong;
        if (!manager_.addDistortLuts("shared", &created)) ++wrong;
        if (!manager_.addDistortLuts(own.c_str(), "a")) ++wrong;
        manager_.distortLutsAddRef(luts["b"]);
        manager_.removeDistortLuts("b");
        manager_.distortLutsReleaseRef(luts["b"]);
        manager_.distortLutsReleaseRef(luts["a"]);
        if (round % 10 == 0) manager_.removeUnusedDistortLuts();
        manager_.distortLutsReleaseRef(created);
        manager_.removeDistortLuts(own.c_str());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  for (const char* id : {"a", "b", "shared"}) EXPECT_LE(distortLutsReferences(id), 0) << id;
  manager_.removeUnusedDistortLuts();
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocksBefore_);
}

}  // namespace
