#include "quelplatform/qmDistort/LutTable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quelplatform/qmDistort/LutFileSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "testing/FailingNew.h"

namespace {

using namespace quel::testing;
using quelplatform::distortLutsReferences;

// Longer than what a string holds without memory of its own.
constexpr const char* kLongId = "an-identifier-of-length";

// What the table does when a container of it cannot grow: nothing, with a result that says so.
class LutTable : public LutFileTest {
 protected:
  // After each run: all or nothing, and no memory lost.
  template <typename Operation>
  void expectAllOrNothing(const char* id, Operation operation) {
    const std::int64_t blocks = quelplatform::allocatedBlocks();
    const auto failures = failEachNew(operation, [&](bool result, bool failed) {
      EXPECT_EQ(result, !failed);
      EXPECT_EQ(distortLutsReferences(id), result ? 1 : -1);
      manager().releaseAllDistortLuts();
      EXPECT_EQ(quelplatform::allocatedBlocks(), blocks);
    });
    EXPECT_GT(failures, 1);
  }
};

TEST_F(LutTable, CreatesASetOrNothing) {
  expectAllOrNothing(kLongId, [] {
    const tag_qmDistortLuts* luts = nullptr;
    return manager().addDistortLuts(kLongId, &luts) && luts != nullptr;
  });
}

TEST_F(LutTable, RegistersAMadeSetOrNothing) {
  const std::string id = kLongId;
  const quelplatform::LutGrid grid = {{0, 0}, {1, 1}, 2, 2, {0}};
  const quelplatform::LutDisplacement displacement = [](double, double, double, float*) {};
  expectAllOrNothing(kLongId, [&] { return makeDistortLuts(id, grid, displacement) != nullptr; });
}

TEST_F(LutTable, DeliversAFileOrNothing) {
  HandMadeLuts luts(2, 2, {0});
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({{kLongId, luts}}, path().c_str(), true));
  DistortLutsManager::LutMap map = {{kLongId, nullptr}};
  const std::u16string place = path();
  const auto entry = map.begin();
  expectAllOrNothing(kLongId, [&] {
    entry->second = nullptr;
    const bool loaded = manager().loadLutsFile(map, place.c_str());
    return loaded && entry->second != nullptr;
  });
  EXPECT_NE(entry->second, nullptr);
}

TEST_F(LutTable, AddsANameOrNothing) {
  const tag_qmDistortLuts* luts = nullptr;
  ASSERT_TRUE(manager().addDistortLuts("a", &luts));
  const auto failures = failEachNew([] { return manager().addDistortLuts(kLongId, "a"); },
                                    [](bool result, bool failed) {
                                      EXPECT_EQ(result, !failed);
                                      EXPECT_EQ(distortLutsReferences("a"), result ? 2 : 1);
                                      EXPECT_EQ(distortLutsReferences(kLongId), result ? 2 : -1);
                                    });
  EXPECT_GT(failures, 0);
}

TEST_F(LutTable, LeavesTheOldFileWhenAListCannotBeSorted) {
  HandMadeLuts luts(2, 2, {0});
  const DistortLutsManager::LutList list = {{"b", luts}, {"a", luts}};
  const std::u16string place = path();
  writeFile(narrowPath(), "old");
  failEachNew([&] { return DistortLutsManager::storeLutsFile(list, place.c_str(), true); },
              [this](bool result, bool failed) {
                EXPECT_EQ(result, !failed);
                EXPECT_EQ(readFile(narrowPath()) == "old", failed);
              });
}

}  // namespace
