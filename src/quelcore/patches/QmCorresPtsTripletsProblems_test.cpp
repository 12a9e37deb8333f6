// What is told of a file of triplets that is damaged or ends early.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/patches/QmCorresPtsTriplets.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;

constexpr std::size_t kTriplet = 24;

std::string bytesOf(std::int32_t count, std::size_t size) {
  std::string bytes(4 + size, 'x');
  std::memcpy(bytes.data(), &count, 4);
  return bytes;
}

class TripletsProblem : public testing::Test {
 protected:
  std::string problemOf(const std::string& bytes, bool result) {
    writeFile(path(), bytes);
    QmCorresPtsTriplets triplets;
    EXPECT_EQ(triplets.loadFromFile(wide().c_str()), result) << bytes.size();
    return lastProblem();
  }

  std::filesystem::path path() const { return folder_.path() / "triplets.bin"; }
  std::u16string wide() const { return folder_.wide("triplets.bin"); }

  TempDir folder_;
};

TEST_F(TripletsProblem, IsThereForNoSoundFile) {
  EXPECT_NE(problemOf("", true), "none");
  EXPECT_EQ(problemOf(bytesOf(3, 3 * kTriplet), true), "none");
  EXPECT_EQ(qmLastRemark(0), nullptr);
  EXPECT_EQ(problemOf(bytesOf(0, 0), true), "none");
  EXPECT_EQ(problemOf(bytesOf(1, 5 * kTriplet), true), "none");  // What follows is not read.
}

TEST_F(TripletsProblem, TellsWhyAFileCannotBeOpened) {
  expectUnreadableTold(path(), kUnopened, [this] {
    QmCorresPtsTriplets triplets;
    EXPECT_FALSE(triplets.loadFromFile(wide().c_str()));
  });
}

TEST_F(TripletsProblem, NamesTripletAndByteWhereverTheFileIsCut) {
  const std::string whole = bytesOf(3, 3 * kTriplet);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string place = "offset " + std::to_string(size) + ", ";
    const std::string told = size < 4 ? place + "number of triplets: expected 4 bytes, found the end of the file"
                                      : place + "triplet " + std::to_string((size - 4) / kTriplet + 1) +
                                            " of 3: expected 24 bytes, found the end of the file";
    EXPECT_EQ(problemOf(whole.substr(0, size), true), told);
  }
}

TEST_F(TripletsProblem, CitesACountThatCannotBe) {
  EXPECT_EQ(problemOf(bytesOf(-1, 10), false), "offset 0, number of triplets: expected no negative number, found -1");
  EXPECT_EQ(problemOf(bytesOf(0x7FFFFFFF, 2 * kTriplet + 5), false),
            "offset 0, number of triplets: expected at most the 2 that the file has room for, found 2147483647");
}

TEST_F(TripletsProblem, OfExhaustedMemoryIsThat) {
  writeFile(path(), bytesOf(2, 2 * kTriplet));
  const std::u16string name = wide();
  const std::int64_t failures = failEachAllocation([&](std::int64_t) {
    QmCorresPtsTriplets triplets;
    const bool loaded = triplets.loadFromFile(name.c_str());
    EXPECT_EQ(lastProblem(), loaded ? "none" : "memory is exhausted");
  });
  EXPECT_EQ(failures, 1);
}

TEST_F(TripletsProblem, IsEachThreadsOwnAndNotLogged) {
  writeFile(path(), "123");
  RecordingLog log;
  expectThreadsApart("offset 3, number of triplets: expected 4 bytes, found the end of the file", [this] {
    QmCorresPtsTriplets triplets;
    triplets.loadFromFile(wide().c_str());
  });
  EXPECT_THAT(log.records(), testing::IsEmpty());
}

}  // namespace
