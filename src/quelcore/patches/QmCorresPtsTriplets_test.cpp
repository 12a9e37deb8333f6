#include "quelcore/patches/QmCorresPtsTriplets.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/FileSizeLimit.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();

using Points = float (*)[2];

/// Six floats for each of `count` triplets: `first`, `first` + 1 and so on.
std::vector<float> numbersFrom(float first, int count) {
  std::vector<float> numbers(static_cast<std::size_t>(6 * count));
  for (float& number : numbers) number = first++;
  return numbers;
}

Points asPoints(std::vector<float>& numbers) { return reinterpret_cast<Points>(numbers.data()); }

/// An array such as the object takes over.
Points ownArray(float first, int count) {
  void* block = nullptr;
  qmMallocNoInit(static_cast<std::size_t>(count) * 24, &block);
  const std::vector<float> numbers = numbersFrom(first, count);
  std::memcpy(block, numbers.data(), numbers.size() * 4);
  return static_cast<Points>(block);
}

std::vector<float> contentOf(QmCorresPtsTriplets& triplets) {
  if (triplets.getPoints() == nullptr) return {};
  const float* first = triplets.getPoints()[0];
  return {first, first + 6 * static_cast<std::size_t>(triplets.getNumPoints())};
}

std::string fileOf(std::int32_t count, const std::vector<float>& numbers) {
  std::string bytes(4 + numbers.size() * 4, '\0');
  std::memcpy(bytes.data(), &count, 4);
  if (!numbers.empty()) std::memcpy(bytes.data() + 4, numbers.data(), numbers.size() * 4);
  return bytes;
}

class Triplets : public ::testing::Test {
 protected:
  void copy(float first, int count) {
    std::vector<float> numbers = numbersFrom(first, count);
    ASSERT_TRUE(triplets_.copyPoints(asPoints(numbers), count));
  }
  bool load(const std::string& bytes) {
    writeFile(dir_.path() / "t", bytes);
    return triplets_.loadFromFile(dir_.wide("t").c_str());
  }

  TempDir dir_;
  QmCorresPtsTriplets triplets_;
};

TEST_F(Triplets, AreNoneAtFirst) {
  EXPECT_EQ(triplets_.getNumPoints(), 0u);
  EXPECT_EQ(triplets_.getPoints(), nullptr);
  EXPECT_EQ(sizeof(QmCorresPtsTriplets), 16u);
}

TEST_F(Triplets, AreCopiedOnce) {
  const std::int64_t before = allocatedBlocks();
  {
    QmCorresPtsTriplets triplets;
    std::vector<float> numbers = numbersFrom(1, 3);
    ASSERT_TRUE(triplets.copyPoints(asPoints(numbers), 3));
    EXPECT_NE(triplets.getPoints(), asPoints(numbers));
    EXPECT_EQ(contentOf(triplets), numbersFrom(1, 3));
    EXPECT_EQ(triplets.getNumPoints(), 3u);
    EXPECT_EQ(allocatedBlocks(), before + 1);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST_F(Triplets, KeepTheirArrayWhileTheyShrinkAndForgetItsSize) {
  copy(0, 5);
  const Points array = triplets_.getPoints();
  copy(50, 5);
  EXPECT_EQ(triplets_.getPoints(), array);
  copy(0, 5);
  copy(100, 2);
  EXPECT_EQ(triplets_.getPoints(), array);
  EXPECT_EQ(contentOf(triplets_), numbersFrom(100, 2));
  EXPECT_EQ(array[6][0], 12.0F);  // The rest of the array still stands behind them.
  std::vector<float> numbers = numbersFrom(200, 5);
  const std::int64_t before = allocatedBlocks();
  quelplatform::failAllocations(0, 1);
  EXPECT_FALSE(triplets_.copyPoints(asPoints(numbers), 5));  // It would have fitted.
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 1);
  EXPECT_EQ(contentOf(triplets_), numbersFrom(100, 2));
  EXPECT_TRUE(triplets_.copyPoints(asPoints(numbers), 5));
  EXPECT_EQ(contentOf(triplets_), numbers);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST_F(Triplets, RefuseWhatCannotBeCopiedAndSayWhy) {
  copy(0, 2);
  RecordingLog log;
  EXPECT_FALSE(triplets_.copyPoints(nullptr, 2));
  EXPECT_FALSE(triplets_.copyPoints(nullptr, 0));
  std::vector<float> numbers = numbersFrom(50, 1);
  EXPECT_FALSE(triplets_.copyPoints(asPoints(numbers), 0));
  EXPECT_FALSE(triplets_.copyPoints(asPoints(numbers), -1));
  EXPECT_FALSE(triplets_.copyPoints(asPoints(numbers), std::numeric_limits<std::int32_t>::min()));
  EXPECT_THAT(log.records(), ElementsAre(Line(5, "QmCorresPtsTriplets", "NULL pointer"),
                                         Line(5, "QmCorresPtsTriplets", "NULL pointer"),
                                         Line(5, "QmCorresPtsTriplets", "Invalid parametes")));
  EXPECT_EQ(contentOf(triplets_), numbersFrom(0, 2));
}

TEST_F(Triplets, MayBeCopiedFromTheirOwnArray) {
  copy(0, 4);
  EXPECT_TRUE(triplets_.copyPoints(triplets_.getPoints() + 6, 2));
  EXPECT_EQ(contentOf(triplets_), numbersFrom(12, 2));
  // The array still holds four; a larger copy from it must not read what it has given back.
  EXPECT_TRUE(triplets_.copyPoints(triplets_.getPoints(), 4));
  EXPECT_EQ(triplets_.getNumPoints(), 4u);
  EXPECT_EQ(triplets_.getPoints()[0][0], 12.0F);
  EXPECT_EQ(triplets_.getPoints()[11][1], 23.0F);
}

TEST_F(Triplets, AreCopiedAndAssignedWhole) {
  copy(0, 3);
  QmCorresPtsTriplets copied(triplets_), assigned;
  assigned = triplets_;
  for (QmCorresPtsTriplets* other : {&copied, &assigned}) {
    EXPECT_NE(other->getPoints(), triplets_.getPoints());
    EXPECT_EQ(contentOf(*other), numbersFrom(0, 3));
  }
  QmCorresPtsTriplets& itself = assigned;
  assigned = itself;
  EXPECT_EQ(contentOf(assigned), numbersFrom(0, 3));
}

TEST_F(Triplets, OfASourceWithoutPointsAreLoggedAndLeaveTheTargetAlone) {
  RecordingLog log;
  const QmCorresPtsTriplets none;
  const QmCorresPtsTriplets& source = none;
  QmCorresPtsTriplets copied(source);
  EXPECT_EQ(copied.getPoints(), nullptr);
  copy(0, 3);
  triplets_ = source;
  EXPECT_EQ(contentOf(triplets_), numbersFrom(0, 3));
  EXPECT_THAT(log.records(), ElementsAre(Line(5, "QmCorresPtsTriplets", "NULL pointer"),
                                         Line(5, "QmCorresPtsTriplets", "NULL pointer")));
}

TEST_F(Triplets, TakeOverAnArray) {
  const std::int64_t before = allocatedBlocks();
  {
    QmCorresPtsTriplets triplets;
    const Points first = ownArray(0, 4);
    triplets.setPoints(first, 4);
    EXPECT_EQ(triplets.getPoints(), first);
    EXPECT_EQ(triplets.getNumPoints(), 4u);
    triplets.setPoints(first, 2);  // The same array: it stays, and only the count changes.
    EXPECT_EQ(triplets.getPoints(), first);
    EXPECT_EQ(contentOf(triplets), numbersFrom(0, 2));
    EXPECT_EQ(allocatedBlocks(), before + 1);
    triplets.setPoints(ownArray(9, 1), 1);
    EXPECT_EQ(contentOf(triplets), numbersFrom(9, 1));
    EXPECT_EQ(allocatedBlocks(), before + 1);
    triplets.setPoints(nullptr, 0);
    EXPECT_EQ(triplets.getPoints(), nullptr);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST_F(Triplets, StandInTheirFileByteForByte) {
  copy(0.5F, 2);
  ASSERT_TRUE(triplets_.storeToFile(dir_.wide("two").c_str()));
  const std::string bytes = readFile(dir_.path() / "two");
  EXPECT_EQ(bytes.size(), 52u);
  EXPECT_EQ(bytes.substr(0, 12), std::string("\x02\0\0\0\0\0\0\x3f\0\0\xc0\x3f", 12));  // 2, 0.5, 1.5
  EXPECT_EQ(bytes, fileOf(2, numbersFrom(0.5F, 2)));
  QmCorresPtsTriplets read;
  EXPECT_TRUE(read.loadFromFile(dir_.wide("two").c_str()));
  EXPECT_EQ(contentOf(read), numbersFrom(0.5F, 2));
}

TEST_F(Triplets, MakeAFileOfTheCountAloneWhereThereAreNone) {
  const std::string empty(4, '\0');
  EXPECT_TRUE(triplets_.storeToFile(dir_.wide("none").c_str()));
  EXPECT_EQ(readFile(dir_.path() / "none"), empty);
  triplets_.setPoints(nullptr, 5);
  EXPECT_TRUE(triplets_.storeToFile(dir_.wide("none").c_str()));
  EXPECT_EQ(readFile(dir_.path() / "none"), empty);
  triplets_.setPoints(ownArray(0, 1), -3);
  EXPECT_TRUE(triplets_.storeToFile(dir_.wide("none").c_str()));
  EXPECT_EQ(readFile(dir_.path() / "none"), empty);
}

TEST_F(Triplets, FailWhereTheirFileCannotBeOpened) {
  copy(0, 1);
  EXPECT_FALSE(triplets_.storeToFile(dir_.wide("no/such/folder").c_str()));
  EXPECT_FALSE(triplets_.storeToFile(nullptr));
  EXPECT_FALSE(triplets_.loadFromFile(dir_.wide("missing").c_str()));
  EXPECT_FALSE(triplets_.loadFromFile(nullptr));
  EXPECT_FALSE(triplets_.loadFromFile(dir_.wide("").c_str()));
  EXPECT_EQ(contentOf(triplets_), numbersFrom(0, 1));
}

TEST_F(Triplets, DoNotLookAtWritesThatFail) {
  copy(0, 5000);
  EXPECT_TRUE(triplets_.storeToFile(u"/dev/full"));
}

TEST_F(Triplets, LeaveTheOldFileWhenTheDiskRunsFull) {
  copy(0, 5000);
  for (const rlim_t room : {3, 4, 5000, 4 + 5000 * 24 - 1}) {
    writeFile(dir_.path() / "old", "what was there");
    {
      const FileSizeLimit limit(room);
      EXPECT_TRUE(triplets_.storeToFile(dir_.wide("old").c_str()));  // Nobody looks at the write.
    }
    EXPECT_EQ(readFile(dir_.path() / "old"), "what was there") << room;
  }
}

TEST_F(Triplets, ReadWhatIsThereOfATruncatedFile) {
  const std::string whole = fileOf(3, numbersFrom(1, 3));
  for (std::size_t size = 0; size < whole.size(); ++size) {
    QmCorresPtsTriplets fresh;
    writeFile(dir_.path() / "cut", whole.substr(0, size));
    EXPECT_TRUE(fresh.loadFromFile(dir_.wide("cut").c_str())) << size;
    EXPECT_EQ(fresh.getNumPoints(), size < 4 ? 0u : 3u) << size;
    std::string expected = whole.substr(0, size);
    expected.resize(whole.size(), '\0');  // A new array is zero where nothing came.
    EXPECT_EQ(fileOf(3, contentOf(fresh)).substr(4, size < 4 ? 0 : 72), size < 4 ? "" : expected.substr(4)) << size;
  }
}

TEST_F(Triplets, KeepWhatTheArrayHeldBehindTheEndOfATruncatedFile) {
  copy(100, 3);
  EXPECT_TRUE(load(fileOf(2, numbersFrom(1, 1))));
  std::vector<float> expected = numbersFrom(1, 1);
  for (const float kept : {106.0F, 107.0F, 108.0F, 109.0F, 110.0F, 111.0F}) expected.push_back(kept);
  EXPECT_EQ(contentOf(triplets_), expected);
  EXPECT_TRUE(load(""));
  EXPECT_EQ(triplets_.getNumPoints(), 0u);
}

TEST_F(Triplets, RefuseAbsurdCountsAndStayAsTheyWere) {
  copy(0, 2);
  const std::int64_t before = allocatedBlocks();
  for (const std::int32_t count : {-1, std::numeric_limits<std::int32_t>::min(), kLargest, 2796204}) {
    EXPECT_FALSE(load(fileOf(count, numbersFrom(5, 1)))) << count;
    EXPECT_EQ(contentOf(triplets_), numbersFrom(0, 2));
  }
  EXPECT_EQ(allocatedBlocks(), before);
  // Still within 64 MiB of what is there: 2796203 * 24 = 24 + 64 * 1024 * 1024 - 16.
  EXPECT_TRUE(load(fileOf(2796203, numbersFrom(5, 1))));
  EXPECT_EQ(triplets_.getNumPoints(), 2796203u);
  EXPECT_EQ(triplets_.getPoints()[2][1], 10.0F);
  EXPECT_EQ(triplets_.getPoints()[3 * 2796203 - 1][1], 0.0F);
}

TEST_F(Triplets, ReadADeviceThatHasNoEnd) {
  EXPECT_TRUE(triplets_.loadFromFile(u"/dev/zero"));
  EXPECT_EQ(triplets_.getNumPoints(), 0u);
}

TEST_F(Triplets, StayAsTheyWereWhenMemoryIsExhausted) {
  writeFile(dir_.path() / "three", fileOf(3, numbersFrom(1, 3)));
  const std::int64_t failures = failEachAllocation([&](std::int64_t n) {
    QmCorresPtsTriplets triplets;
    triplets.setPoints(nullptr, 0);
    EXPECT_EQ(triplets.loadFromFile(dir_.wide("three").c_str()), n > 0);
    EXPECT_EQ(triplets.getNumPoints(), n > 0 ? 3u : 0u);
  });
  EXPECT_EQ(failures, 1);
  copy(0, 2);
  quelplatform::failAllocations(0, 1);
  EXPECT_FALSE(triplets_.loadFromFile(dir_.wide("three").c_str()));
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 1);
  EXPECT_EQ(contentOf(triplets_), numbersFrom(0, 2));
}

TEST_F(Triplets, NameTheByteThatTheirFileEndsAt) {
  const std::string whole = std::string("\2\0\0\0", 4) + std::string(48, 'x');
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    writeFile(dir_.path() / "cut", whole.substr(0, size));
    QmCorresPtsTriplets read;
    EXPECT_TRUE(read.loadFromFile(dir_.wide("cut").c_str()));
    const std::string offset = "offset " + std::to_string(size);
    const std::string triplet = ", triplet " + std::to_string(size < 28 ? 1 : 2) + " of 2: expected 24 bytes, ";
    EXPECT_EQ(lastProblem(), size == whole.size() ? "none"
                             : size < 4 ? offset + ", number of triplets: expected 4 bytes, found the end of the file"
                                        : offset + triplet + "found the end of the file");
  }
}

TEST_F(Triplets, TellWhyTheirFileIsRefused) {
  QmCorresPtsTriplets read;
  writeFile(dir_.path() / "bad", "\xFF\xFF\xFF\xFF");
  EXPECT_FALSE(read.loadFromFile(dir_.wide("bad").c_str()));
  EXPECT_EQ(lastProblem(), "offset 0, number of triplets: expected no negative number, found -1");
  writeFile(dir_.path() / "bad", std::string("\xFF\xFF\xFF\x7F", 4) + std::string(24, 'x'));
  EXPECT_FALSE(read.loadFromFile(dir_.wide("bad").c_str()));
  EXPECT_EQ(lastProblem(),
            "offset 0, number of triplets: expected at most the 1 that the file has room for, found 2147483647");
  EXPECT_FALSE(read.loadFromFile(dir_.wide("absent").c_str()));
  EXPECT_EQ(lastProblem(), "there is no such file");
}

}  // namespace
