#include "quelcore/features/QmTargetCopMask.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <map>

#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/FileSizeLimit.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/Sanitized.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::Line;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writeFile;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kModule = "QmTargetCopMask";

std::uint16_t sample(int value) { return static_cast<std::uint16_t>(value); }

std::vector<std::uint32_t> at(const QmTargetCopMask& mask, std::uint32_t a, std::uint32_t b) {
  std::vector<std::uint32_t> samples = {99};
  mask.getIndexArray(a, b, samples);
  return samples;
}

void expectAlike(const QmTargetCopMask& one, const QmTargetCopMask& other, std::uint32_t first, std::uint32_t second) {
  for (std::uint32_t a = 0; a < first; ++a) {
    for (std::uint32_t b = 0; b < second; ++b) EXPECT_EQ(at(one, a, b), at(other, a, b)) << a << " " << b;
  }
}

// --- The grid --------------------------------------------------------------------------------------------------------

TEST(QmTargetCopMask, TakesNothingWhenNew) {
  const RecordingLog log;
  QmTargetCopMask mask;
  EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));
  EXPECT_FALSE(mask.addIndex(0, 0, 1U));
  EXPECT_EQ(mask.maxSamleIndex(), -1);
  EXPECT_THAT(at(mask, 0, 0), IsEmpty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QmTargetCopMask, HoldsItsFieldsInTheDeclaredOrder) {
  QmTargetCopMask mask;
  constexpr char kZeros[sizeof(mask)] = {};
  EXPECT_EQ(std::memcmp(&mask, kZeros, sizeof(mask)), 0);  // All of a new one.
  ASSERT_TRUE(mask.init(3, 5, 7));
  ASSERT_TRUE(mask.addIndex(0, 0, sample(1)));
  std::uint32_t words[4];
  std::memcpy(words, reinterpret_cast<const char*>(&mask), sizeof(words));
  EXPECT_THAT(words, ElementsAre(3, 5, 28, 4));
  const std::int32_t* cells;
  const std::uint16_t* slots;
  std::memcpy(&cells, reinterpret_cast<const char*>(&mask) + 16, sizeof(cells));
  std::memcpy(&slots, reinterpret_cast<const char*>(&mask) + 24, sizeof(slots));
  // Both hold complements, so that zeros are no entry and a free slot.
  EXPECT_EQ(cells[0], ~0);
  EXPECT_EQ(cells[14], 0);
  EXPECT_EQ(slots[0], 0xFFFF - 1);
  EXPECT_EQ(slots[27], 0);
}

TEST(QmTargetCopMask, HoldsFourDistinctSamplesPerCell) {
  const RecordingLog log;
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 4));
  for (const int value : {9, 3, 7, 3, 700}) EXPECT_TRUE(mask.addIndex(1, 1, sample(value)));
  EXPECT_FALSE(mask.addIndex(1, 1, sample(5)));
  EXPECT_TRUE(mask.addIndex(1, 1, sample(7)));
  EXPECT_THAT(at(mask, 1, 1), ElementsAre(9, 3, 7, 700));
  EXPECT_THAT(at(mask, 0, 0), IsEmpty());
  EXPECT_EQ(mask.maxSamleIndex(), 700);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QmTargetCopMask, CutsASampleTo16Bits) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 4));
  EXPECT_TRUE(mask.addIndex(0, 0, 0x70005U));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(5));
}

TEST(QmTargetCopMask, LogsPositionsOutsideTheGrid) {
  const RecordingLog log;
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 3, 4));
  EXPECT_FALSE(mask.addIndex(2, 0, sample(1)));
  EXPECT_FALSE(mask.addIndex(0, 3, sample(1)));
  EXPECT_FALSE(mask.addIndex(0xFFFFFFFF, 0xFFFFFFFF, sample(1)));
  EXPECT_THAT(log.records(), AllOf(SizeIs(3), Each(Line(5, kModule, "Invalid index."))));
  EXPECT_THAT(at(mask, 2, 0), IsEmpty());
  EXPECT_THAT(at(mask, 0, 3), IsEmpty());
  EXPECT_THAT(at(mask, 0xFFFFFFFF, 0xFFFFFFFF), IsEmpty());
}

TEST(QmTargetCopMask, LogsEveryCallForACellThatFoundThePoolExhausted) {
  const RecordingLog log;
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(10, 10, 2));
  EXPECT_TRUE(mask.addIndex(0, 0, sample(1)));
  EXPECT_TRUE(mask.addIndex(5, 5, sample(2)));
  EXPECT_THAT(log.records(), IsEmpty());
  for (int n = 0; n < 3; ++n) EXPECT_FALSE(mask.addIndex(9, 9, sample(3 + n)));
  EXPECT_THAT(log.records(), AllOf(SizeIs(3), Each(Line(5, kModule, "Invalid index."))));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(1));
  EXPECT_THAT(at(mask, 5, 5), ElementsAre(2));
  EXPECT_THAT(at(mask, 9, 9), IsEmpty());
  EXPECT_EQ(mask.maxSamleIndex(), 2);
  EXPECT_TRUE(mask.addIndex(5, 5, sample(8)));
}

TEST(QmTargetCopMask, NeverFindsLargeSamplesAgain) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 4));
  for (int n = 0; n < 4; ++n) EXPECT_TRUE(mask.addIndex(0, 0, sample(0x8000)));
  EXPECT_FALSE(mask.addIndex(0, 0, sample(0x8000)));
  EXPECT_THAT(at(mask, 0, 0), AllOf(SizeIs(4), Each(0xFFFF8000U)));
  EXPECT_TRUE(mask.addIndex(0, 1, sample(0x7FFF)));
  EXPECT_TRUE(mask.addIndex(0, 1, sample(0x7FFF)));
  EXPECT_THAT(at(mask, 0, 1), ElementsAre(0x7FFF));
  EXPECT_TRUE(mask.addIndex(1, 0, sample(0xFFFE)));
  EXPECT_THAT(at(mask, 1, 0), ElementsAre(0xFFFFFFFEU));
}

TEST(QmTargetCopMask, TakesAllBitsSetForNoSample) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 4));
  for (int n = 0; n < 6; ++n) EXPECT_TRUE(mask.addIndex(0, 0, sample(0xFFFF)));
  EXPECT_THAT(at(mask, 0, 0), IsEmpty());
  EXPECT_TRUE(mask.addIndex(0, 0, sample(4)));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(4));
}

TEST(QmTargetCopMask, GivesTheLargestSampleBySignedComparison) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(3, 3, 9));
  mask.addIndex(0, 1, sample(0x9000));
  EXPECT_EQ(mask.maxSamleIndex(), -1);
  mask.addIndex(2, 2, sample(3));
  mask.addIndex(0, 0, sample(700));
  EXPECT_EQ(mask.maxSamleIndex(), 700);
}

TEST(QmTargetCopMask, SharesEntriesWhereTheFirstDimensionIsTheSmaller) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 5, 10));
  EXPECT_TRUE(mask.addIndex(0, 2, sample(6)));
  EXPECT_THAT(at(mask, 1, 0), ElementsAre(6));
  EXPECT_THAT(at(mask, 0, 0), IsEmpty());
}

TEST(QmTargetCopMask, StaysInsideItsMemoryWhereTheFirstDimensionIsTheLarger) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(50, 2, 100));
  int value = 0;
  for (std::uint32_t a = 0; a < 50; ++a) {
    for (std::uint32_t b = 0; b < 2; ++b) EXPECT_TRUE(mask.addIndex(a, b, sample(value++)));
  }
  value = 0;
  for (std::uint32_t a = 0; a < 50; ++a) {
    for (std::uint32_t b = 0; b < 2; ++b) EXPECT_THAT(at(mask, a, b), ElementsAre(value++));
  }
  EXPECT_EQ(mask.maxSamleIndex(), 99);
}

// Random samples against a plain map, by the entry rule.
TEST(QmTargetCopMask, AgreesWithAMapOfEntries) {
  auto random = testRandom();
  for (int round = 0; round < 60; ++round) {
    const auto number = [&](double most) { return static_cast<std::uint32_t>(uniform(random, 0, most)); };
    const std::uint32_t first = 1 + number(6), second = 1 + number(6), capacity = number(20);
    QmTargetCopMask mask;
    ASSERT_TRUE(mask.init(first, second, capacity));
    std::map<std::uint32_t, std::vector<std::uint32_t>> cells;
    std::map<std::uint32_t, std::uint32_t> order;
    for (int n = 0; n < 150; ++n) {
      const std::uint32_t a = number(first), b = number(second), value = number(6);
      const std::uint32_t entry = first * a + b;
      const bool fits = order.insert({entry, static_cast<std::uint32_t>(order.size())}).first->second < capacity;
      auto& cell = cells[entry];
      const bool known = std::find(cell.begin(), cell.end(), value) != cell.end();
      EXPECT_EQ(mask.addIndex(a, b, value), fits && (known || cell.size() < 4));
      if (fits && !known && cell.size() < 4) cell.push_back(value);
    }
    for (std::uint32_t a = 0; a < first; ++a) {
      for (std::uint32_t b = 0; b < second; ++b) EXPECT_EQ(at(mask, a, b), cells[first * a + b]);
    }
  }
}

// --- Memory ----------------------------------------------------------------------------------------------------------

TEST(QmTargetCopMask, IsEmptyAndUsableWithoutPositions) {
  const RecordingLog log;
  for (const auto& [first, second] : {std::pair{0U, 0U}, {0U, 5U}, {5U, 0U}, {0xFFFFFFFFU, 0U}, {0U, 0xFFFFFFFFU}}) {
    QmTargetCopMask mask;
    EXPECT_TRUE(mask.init(first, second, 3));
    EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));
    EXPECT_EQ(mask.maxSamleIndex(), -1);
    EXPECT_THAT(at(mask, 0, 0), IsEmpty());
    const TempDir dir;
    EXPECT_TRUE(mask.storeToFile(dir.wide("mask").c_str()));
    EXPECT_EQ(readFile(dir.path() / "mask").size(), 12U);
    EXPECT_TRUE(mask.loadFromFile(dir.wide("mask").c_str()));
  }
  EXPECT_THAT(log.records(), SizeIs(5));
}

TEST(QmTargetCopMask, RefusesSizesThatNoMemoryHolds) {
  QmTargetCopMask mask;
  EXPECT_FALSE(mask.init(0xFFFFFFFF, 0xFFFFFFFF, 1));
  EXPECT_FALSE(mask.init(1, 1, 0x20000000));
  EXPECT_FALSE(mask.init(1, 1, 0xFFFFFFFF));
  EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));
}

TEST(QmTargetCopMask, IsClearedByAFailedInitialisation) {
  QmTargetCopMask mask;
  EXPECT_EQ(quel::testing::failEachAllocation([&](std::int64_t n) {
              const bool made = mask.init(3, 4, 5);
              EXPECT_EQ(made, n == 2);
              EXPECT_EQ(mask.addIndex(0, 0, sample(1)), made);
              mask.clear();
              EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));
            }),
            2);
}

TEST(QmTargetCopMask, BeginsAnewWithEachInitialisation) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(3, 4, 1));
  mask.addIndex(0, 0, sample(1));
  ASSERT_TRUE(mask.init(3, 4, 1));
  EXPECT_THAT(at(mask, 0, 0), IsEmpty());
  EXPECT_TRUE(mask.addIndex(1, 0, sample(1)));
}

// --- The file --------------------------------------------------------------------------------------------------------

class MaskFile : public ::testing::Test {
 protected:
  std::string content() const { return readFile(dir_.path() / "mask"); }
  bool store(const QmTargetCopMask& mask) const { return mask.storeToFile(path_.c_str()); }
  bool load(QmTargetCopMask& mask, const std::string& bytes) const {
    writeFile(dir_.path() / "mask", bytes);
    return mask.loadFromFile(path_.c_str());
  }

  TempDir dir_;
  std::u16string path_ = dir_.wide("mask");
};

template <typename... Values>
std::string bytesOf(Values... values) {
  std::string bytes;
  (bytes.append(reinterpret_cast<const char*>(&values), sizeof(values)), ...);
  return bytes;
}

constexpr std::uint64_t kNone = 0, kOne = 1, kTwo = 2;

TEST_F(MaskFile, IsWrittenByteForByte) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 3));
  ASSERT_TRUE(mask.addIndex(1, 0, sample(0x1234)));
  ASSERT_TRUE(store(mask));
  EXPECT_EQ(content().size(), 46U);
  EXPECT_EQ(content(), bytesOf(2U, 2U, 3U, kNone, kNone, kOne, sample(0x1234), kNone));
  ASSERT_TRUE(mask.addIndex(0, 1, sample(0xABCD)));
  ASSERT_TRUE(mask.addIndex(0, 1, sample(7)));
  ASSERT_TRUE(store(mask));
  EXPECT_EQ(content(), bytesOf(2U, 2U, 3U, kNone, kTwo, sample(0xABCD), sample(7), kOne, sample(0x1234), kNone));
}

TEST_F(MaskFile, GivesBackEveryCell) {
  auto random = testRandom();
  for (const auto& [first, second] : {std::pair{7U, 7U}, {7U, 3U}, {3U, 7U}, {1U, 1U}}) {
    QmTargetCopMask mask;
    ASSERT_TRUE(mask.init(first, second, first * std::max(first, second)));
    for (int n = 0; n < 120; ++n) {
      mask.addIndex(static_cast<std::uint32_t>(uniform(random, 0, first)),
                    static_cast<std::uint32_t>(uniform(random, 0, second)),
                    static_cast<std::uint32_t>(uniform(random, 0, 0x7FFF)));
    }
    ASSERT_TRUE(store(mask));
    QmTargetCopMask loaded;
    ASSERT_TRUE(loaded.loadFromFile(path_.c_str()));
    expectAlike(mask, loaded, first, second);
    const std::string before = content();
    ASSERT_TRUE(store(loaded));
    EXPECT_EQ(content(), before);
  }
}

TEST_F(MaskFile, HoldsNoSamplesOfCellsBeyondThePool) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 1, 1));
  mask.addIndex(0, 0, sample(5));
  mask.addIndex(1, 0, sample(6));
  ASSERT_TRUE(store(mask));
  EXPECT_EQ(content(), bytesOf(2U, 1U, 1U, kOne, sample(5), kNone));
}

TEST_F(MaskFile, IsEmptyWithoutAGridAndGivesAGridWithoutPositions) {
  const QmTargetCopMask none;
  EXPECT_TRUE(store(none));
  EXPECT_EQ(content(), "");
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 2));
  EXPECT_TRUE(mask.loadFromFile(path_.c_str()));
  const RecordingLog log;
  EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));
  EXPECT_THAT(log.records(), SizeIs(1));  // Initialised: a position outside the grid is told.
}

TEST_F(MaskFile, FailsWhereTheFileCannotBeOpened) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 2));
  mask.addIndex(0, 0, sample(1));
  EXPECT_FALSE(mask.storeToFile(dir_.wide("no/such/folder").c_str()));
  EXPECT_FALSE(mask.loadFromFile(dir_.wide("missing").c_str()));
  EXPECT_FALSE(mask.storeToFile(nullptr));
  EXPECT_FALSE(mask.loadFromFile(nullptr));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(1));
}

TEST_F(MaskFile, SaysThatItIsStoredEvenOnAFullDevice) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(200, 200, 2));
  EXPECT_TRUE(mask.storeToFile(u"/dev/full"));
}

TEST_F(MaskFile, StaysAsItWasWhenTheDiskRunsFull) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(200, 200, 2));
  writeFile(dir_.path() / "old", "what was there");
  {
    const quel::testing::FileSizeLimit limit(100000);
    EXPECT_TRUE(mask.storeToFile(dir_.wide("old").c_str()));  // as it says on any disk
  }
  EXPECT_EQ(readFile(dir_.path() / "old"), "what was there");
}

TEST_F(MaskFile, IsTheOldOrTheNewWhereverMemoryRunsOut) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 2));
  ASSERT_TRUE(mask.storeToFile(dir_.wide("whole").c_str()));
  const std::string whole = readFile(dir_.path() / "whole");
  const std::u16string path = dir_.wide("old");
  writeFile(dir_.path() / "old", "what was there");
  const auto failures =
      quel::testing::failEachNew([&] { return mask.storeToFile(path.c_str()); },
                                 [&](bool stored, bool failed) {
                                   EXPECT_EQ(stored, !failed);
                                   EXPECT_EQ(readFile(dir_.path() / "old"), stored ? whole : "what was there");
                                   writeFile(dir_.path() / "old", "what was there");
                                 });
  EXPECT_GT(failures, 0);
}

TEST_F(MaskFile, GivesWhatWasReadOfATruncatedFile) {
  const std::string whole = bytesOf(2U, 2U, 4U, kTwo, sample(1), sample(2), kOne, sample(3), kNone, kOne, sample(4));
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    QmTargetCopMask mask;
    ASSERT_TRUE(load(mask, whole.substr(0, size))) << size;
    std::vector<std::uint32_t> first;
    if (size >= 22) first.push_back(1);
    if (size >= 24) first.push_back(2);
    EXPECT_EQ(at(mask, 0, 0), first) << size;
    EXPECT_THAT(at(mask, 0, 1), SizeIs(size >= 34 ? 1 : 0)) << size;
    EXPECT_THAT(at(mask, 1, 1), SizeIs(size >= whole.size() ? 1 : 0)) << size;
  }
}

TEST_F(MaskFile, IsReadToItsEndWhateverItsCountsSay) {
  const RecordingLog log;
  QmTargetCopMask mask;
  EXPECT_TRUE(load(mask, bytesOf(2U, 2U, 4U, ~kNone, sample(1), sample(2), sample(3), sample(4), sample(5))));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(1, 2, 3, 4));
  EXPECT_TRUE(load(mask, bytesOf(2U, 2U, 0U, kTwo, sample(1), sample(2))));
  EXPECT_THAT(log.records(), AllOf(SizeIs(2), Each(Line(5, kModule, "Invalid index."))));
}

/// Bytes of memory that this process really holds.
std::int64_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::int64_t pages = 0;
  std::int64_t resident = 0;
  statm >> pages >> resident;
  return resident * ::sysconf(_SC_PAGESIZE);
}

// The address sanitizer notes every byte that is reserved, so it gets less to note.
TEST_F(MaskFile, TakesMemoryAsSamplesComeWhateverItsHeaderClaims) {
  constexpr std::uint32_t kMuch = quel::testing::kSanitized ? 2000 : 60000;
  constexpr std::uint32_t kCells = quel::testing::kSanitized ? 0x1FFFF : 0x1FFFFFFF;
  for (const std::string& header : {bytesOf(kMuch, kMuch, 1U), bytesOf(kMuch * kMuch, 1U, 1U),
                                    bytesOf(1U, kMuch * kMuch, 1U), bytesOf(2U, 2U, kCells), bytesOf(0U, 0U, kCells)}) {
    QmTargetCopMask mask;
    const std::int64_t before = residentBytes();
    // Whether so much may be reserved is the machine's to say; what was read is there if so.
    const bool loaded = load(mask, header + bytesOf(kOne, sample(7), kNone, kNone, kNone));
    if (!quel::testing::kSanitized) {
      EXPECT_LT(residentBytes() - before, 1 << 20);
    }
    EXPECT_EQ(at(mask, 0, 0).size(), loaded && header.substr(0, 4) != bytesOf(0U) ? 1U : 0U);
  }
}

TEST_F(MaskFile, RefusesWhatNoMemoryHolds) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 2));
  EXPECT_FALSE(load(mask, bytesOf(0xFFFFFFFFU, 0xFFFFFFFFU, 0xFFFFFFFFU)));
  EXPECT_FALSE(mask.addIndex(0, 0, sample(1)));  // Cleared.
}

TEST_F(MaskFile, GivesWhatWasReadOfALongStripCutShort) {
  const std::string cut = bytesOf(16385U, 1U, 4U, kOne, sample(5), kNone, kOne);
  QmTargetCopMask mask;
  EXPECT_TRUE(load(mask, cut));
  EXPECT_THAT(at(mask, 0, 0), ElementsAre(5));
  EXPECT_TRUE(mask.addIndex(16384, 0, sample(6)));
  EXPECT_THAT(at(mask, 16384, 0), ElementsAre(6));
}

TEST_F(MaskFile, OfALargeCapacityLoadsBackWithItsOneSample) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 0x01000000));
  ASSERT_TRUE(mask.addIndex(1, 0, sample(9)));
  ASSERT_TRUE(store(mask));
  EXPECT_EQ(content().size(), 46U);
  QmTargetCopMask loaded;
  ASSERT_TRUE(loaded.loadFromFile(path_.c_str()));
  EXPECT_THAT(at(loaded, 1, 0), ElementsAre(9));
}

// A strip costs its length, not the square of it: so much as one row or column of a million reserves 4 MB.
TEST(QmTargetCopMask, ReservesAnEntryForEachPosition) {
  for (const auto& [first, second] : {std::pair{1000000U, 1U}, {1U, 1000000U}, {1000U, 1000U}}) {
    QmTargetCopMask mask;
    ASSERT_TRUE(mask.init(first, second, 1));
    EXPECT_TRUE(mask.addIndex(first - 1, second - 1, sample(3)));
    EXPECT_THAT(at(mask, first - 1, second - 1), ElementsAre(3));
  }
}

TEST_F(MaskFile, StandsAnyBytes) {
  auto random = testRandom();
  for (int round = 0; round < 500; ++round) {
    std::string bytes =
        bytesOf(static_cast<std::uint32_t>(uniform(random, 0, 40)), static_cast<std::uint32_t>(uniform(random, 0, 40)),
                static_cast<std::uint32_t>(uniform(random, 0, 10)));
    const auto size = static_cast<std::size_t>(uniform(random, 0, 400));
    while (bytes.size() < size) bytes.push_back(uniform(random, 0, 1) < 0.8 ? '\0' : static_cast<char>(random()));
    QmTargetCopMask mask;
    EXPECT_TRUE(load(mask, bytes));
    mask.maxSamleIndex();
    EXPECT_TRUE(store(mask));
  }
}

TEST_F(MaskFile, FailsWhenMemoryIsExhausted) {
  QmTargetCopMask mask;
  ASSERT_TRUE(mask.init(2, 2, 2));
  const auto check = [](bool result, bool failed) { EXPECT_EQ(result, !failed); };
  EXPECT_GT(quel::testing::failEachNew([&] { return store(mask); }, check), 0);
  EXPECT_GT(quel::testing::failEachNew([&] { return mask.loadFromFile(path_.c_str()); }, check), 0);
  EXPECT_EQ(quel::testing::failEachAllocation([&](std::int64_t n) {
              QmTargetCopMask other;
              EXPECT_EQ(other.loadFromFile(path_.c_str()), n == 2);
            }),
            2);
}

TEST_F(MaskFile, NamesTheByteThatItEndsAt) {
  const TempDir dir;
  const auto words = [](std::initializer_list<std::uint32_t> values) {
    std::string bytes;
    for (const std::uint32_t value : values) bytes.append(reinterpret_cast<const char*>(&value), sizeof(value));
    return bytes;
  };
  // 1 x 2 positions, one cell; two samples and none.
  const std::string whole = words({1, 2, 1, 2, 0}) + std::string("\5\0\6\0", 4) + words({0, 0});
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    writeFile(dir.path() / "cut", whole.substr(0, size));
    QmTargetCopMask mask;
    EXPECT_TRUE(mask.loadFromFile(dir.wide("cut").c_str()));
    const char* part = size < 4    ? "first dimension"
                       : size < 8  ? "second dimension"
                       : size < 12 ? "number of cells"
                       : size < 20 ? "number of samples of a position"
                       : size < 24 ? "sample"
                                   : "number of samples of a position";
    const std::string bytes = size < 12 ? "4" : size >= 20 && size < 24 ? "2" : "8";
    EXPECT_EQ(quel::testing::lastProblem(), size == whole.size()
                                                ? "none"
                                                : "offset " + std::to_string(size) + ", " + part + ": expected " +
                                                      bytes + " bytes, found the end of the file");
  }
}

TEST_F(MaskFile, TellsWhyItIsRefused) {
  const TempDir dir;
  QmTargetCopMask mask;
  EXPECT_FALSE(mask.loadFromFile(dir.wide("absent").c_str()));
  EXPECT_EQ(quel::testing::lastProblem(), "there is no such file");
  writeFile(dir.path() / "large", std::string("\1\0\0\0\1\0\0\0\xFF\xFF\xFF\xFF", 12) + std::string(8, '\0'));
  EXPECT_FALSE(mask.loadFromFile(dir.wide("large").c_str()));
  EXPECT_EQ(quel::testing::lastProblem(),
            "offset 0, dimensions: expected no more than memory holds, found 1 x 1 with 4294967295 cells");
}

}  // namespace
