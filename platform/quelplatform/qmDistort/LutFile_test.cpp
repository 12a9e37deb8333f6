#include "quelplatform/qmDistort/LutFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "quelplatform/qmDistort/LutFileSamples_fixture.h"
#include "quelplatform/qmDistort/LutSamples_fixture.h"
#include "testing/FailingMemory.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;
using quelplatform::distortLutsReferences;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using LutFile = LutFileTest;

TEST_F(LutFile, DeliversWhatItHoldsAndLeavesOtherIdentifiersAlone) {
  write(withChecksum(body()));
  ASSERT_TRUE(load());
  EXPECT_THAT(log_.records(), IsEmpty());
  EXPECT_EQ(luts_["other"], nullptr);
  const tag_qmDistortLuts* a = luts_["A"];
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->lutVersion, 1);
  EXPECT_EQ(a->tableCount, 1);
  EXPECT_EQ(a->reserved, 0);
  EXPECT_EQ(a->referenceLayer, 0);
  EXPECT_THAT(a->gridOrigin, ElementsAre(-1.5, 2.5));
  EXPECT_THAT(a->gridPitch, ElementsAre(10, 20));
  EXPECT_EQ(a->layerDepths[0], 7);
  EXPECT_EQ(a->tables[2], nullptr);
  EXPECT_EQ(a->tables[3], nullptr);
  ASSERT_EQ(a->tables[0][0].width, 2);
  ASSERT_EQ(a->tables[0][0].height, 1);
  EXPECT_EQ(a->tables[0][0].rows[0][0], 0.25F);
  EXPECT_EQ(a->tables[1][0].rows[0][0], -0.5F);
  EXPECT_EQ(a->tables[1][0].rows[0][1], 1.0F);

  const tag_qmDistortLuts* left = luts_["left"];
  ASSERT_NE(left, nullptr);
  EXPECT_EQ(left->lutVersion, 2);
  EXPECT_EQ(left->tableCount, 2);
  EXPECT_EQ(left->referenceLayer, 1) << "2 is nearer to 0 than -3";
  EXPECT_EQ(left->tables[2], nullptr);
  EXPECT_EQ(left->tables[0][1].rows[0][0], 1.0F);
  EXPECT_EQ(left->tables[1][0].rows[0][0], 2.0F);
  EXPECT_EQ(left->tables[3][1].rows[0][0], 5.0F);
}

TEST_F(LutFile, LosesNaNInSetsOlderThanVersionTwoAlone) {
  write(withChecksum(body()));
  ASSERT_TRUE(load());
  EXPECT_EQ(std::bit_cast<std::uint32_t>(luts_["A"]->tables[0][0].rows[0][1]), 0x7f7fffffU);
  EXPECT_TRUE(std::isnan(luts_["left"]->tables[3][0].rows[0][0]));
}

TEST_F(LutFile, KeepsItsBytesThroughLoadAndStore) {
  std::string bytes = body();
  setNumber(bytes, kFirstSet, 2);  // Version 2, so that its NaN stays.
  write(withChecksum(bytes));
  ASSERT_TRUE(load());
  const std::u16string copy = directory_.wide("copy.lut");
  // The order of the list is not that of the file, which ascends.
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"left", luts_["left"]}, {"A", luts_["A"]}}, copy.c_str(), true));
  EXPECT_EQ(readFile(directory_.path() / "copy.lut"), withChecksum(bytes));
}

TEST_F(LutFile, KeepsEveryBitOfRandomSetsAndTheirVersions) {
  auto random = testRandom();
  for (int n = 0; n < 40; ++n) {
    const auto side = [&random] { return static_cast<std::int32_t>(1 + random() % 9); };
    std::vector<float> depths;
    for (int layer = side(); layer > 0; --layer) {
      depths.push_back((depths.empty() ? -100.0F : depths.back()) + static_cast<float>(uniform(random, 0.1, 50)));
    }
    HandMadeLuts a(side(), side(), depths, 3 + 4 * static_cast<unsigned>(random() % 4)), b(side(), side(), {0});
    for (HandMadeLuts* luts : {&a, &b}) {
      luts->fill(random);
      luts->get().lutVersion = n == 0 ? std::numeric_limits<std::int32_t>::max() : 2 + n % 5;
      luts->get().gridOrigin[0] = uniform(random, -1e3, 1e3);
      luts->get().gridPitch[1] = uniform(random, 1, 1e3);
    }
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}, {"left", b}}, path().c_str(), n % 2 == 0));
    ASSERT_TRUE(load());
    EXPECT_TRUE(sameSets(*luts_["A"], a.get()));
    EXPECT_TRUE(sameSets(*luts_["left"], b.get()));
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, KeepsVersionsBelowTwoToo) {
  for (const std::int32_t version : {1, 0, -1, std::numeric_limits<std::int32_t>::min()}) {
    HandMadeLuts a(2, 2, {0});
    a.get().lutVersion = version;
    a.cell(1, 0, 1, 1) = kNaN;
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}}, path().c_str(), true));
    ASSERT_TRUE(load());
    EXPECT_EQ(luts_["A"]->lutVersion, version);
    EXPECT_EQ(luts_["A"]->tables[1][0].rows[1][1], kLargestFloat);
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, TakesTheReferenceLayerNearestToZeroAndTheFirstOfEquals) {
  const std::pair<std::vector<float>, std::int32_t> cases[] = {
      {{-5, 1, 15}, 1}, {{-3, 3}, 0}, {{-9, -2}, 1}, {{4, 8, 16}, 0}, {{-4, 0, 4}, 1}};
  for (const auto& [depths, expected] : cases) {
    HandMadeLuts a(1, 1, depths);
    ASSERT_TRUE(DistortLutsManager::storeLutsFile({{"A", a}}, path().c_str(), true));
    ASSERT_TRUE(load());
    EXPECT_EQ(luts_["A"]->referenceLayer, expected);
    manager().releaseAllDistortLuts();
  }
}

TEST_F(LutFile, MayHoldNoSetAtAll) {
  ASSERT_TRUE(DistortLutsManager::storeLutsFile({}, path().c_str(), true));
  EXPECT_EQ(readFile(narrowPath()).size(), 32U);
  EXPECT_TRUE(load());
}

TEST_F(LutFile, CannotBeLoadedFromWhatIsNoFile) {
  log_.clear();
  EXPECT_FALSE(load());
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager",
                               "LUT file " + narrowPath() + ": it cannot be opened: No such file or directory")));
  log_.clear();
  EXPECT_FALSE(manager().loadLutsFile(luts_, directory_.path().u16string().c_str()));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager",
                               "LUT file " + directory_.path().string() + ": it cannot be opened: Is a directory")));
  log_.clear();
  EXPECT_FALSE(manager().loadLutsFile(luts_, nullptr));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "DistortLutsManager", "LUT file (null): it cannot be opened: Invalid argument")));
}

TEST_F(LutFile, TakesNoMemoryForALargeFileOfAnotherKind) {
  // A sparse file of a tebibyte.
  write(std::string(64, 'x'));
  ASSERT_EQ(truncate(narrowPath().c_str(), std::int64_t{1} << 40), 0);
  log_.clear();
  EXPECT_FALSE(load());
  EXPECT_THAT(log_.records(), ElementsAre(Line(5, "DistortLutsManager",
                                               "LUT file " + narrowPath() + ": offset 0: it is not a LUT file")));
}

TEST_F(LutFile, LoadsWholeOrNotAtAllWhenAnyAllocationFails) {
  write(withChecksum(body()));
  const auto failures = failEachAllocation([this](std::int64_t) {
    log_.clear();
    if (!load()) {
      EXPECT_THAT(log_.records(),
                  ElementsAre(Line(5, "DistortLutsManager", "LUT file " + narrowPath() + ": memory is exhausted")));
      for (const auto& [id, luts] : luts_) EXPECT_EQ(luts, nullptr) << id;
      EXPECT_EQ(distortLutsReferences("A"), -1);
      EXPECT_EQ(distortLutsReferences("left"), -1);
    } else {
      EXPECT_EQ(distortLutsReferences("A"), 1);
    }
    manager().releaseAllDistortLuts();
  });
  EXPECT_EQ(failures, 1 + (2 + 2 + 2) + (2 + 3 + 6)) << "the file; record, depths, tables and images of each set";
}

}  // namespace
