// What is told of the file of a target mask that is damaged or ends early.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/features/QmTargetCopMask.h"
#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;

template <typename Value>
std::string bytesOf(Value value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

std::string header(std::uint32_t first, std::uint32_t second, std::uint32_t cells) {
  return bytesOf(first) + bytesOf(second) + bytesOf(cells);
}

/// A value of a file and how it is called.
struct Field {
  std::string bytes;
  const char* part;
};

/// A mask of two positions, of which the first has two samples.
const std::vector<Field> kFields = {{bytesOf(std::uint32_t{1}), "first dimension"},
                                    {bytesOf(std::uint32_t{2}), "second dimension"},
                                    {bytesOf(std::uint32_t{2}), "number of cells"},
                                    {bytesOf(std::uint64_t{2}), "number of samples of a position"},
                                    {bytesOf(std::uint16_t{7}), "sample"},
                                    {bytesOf(std::uint16_t{9}), "sample"},
                                    {bytesOf(std::uint64_t{0}), "number of samples of a position"}};

class MaskProblem : public testing::Test {
 protected:
  std::string problemOf(const std::string& bytes, bool result) {
    writeFile(path(), bytes);
    QmTargetCopMask mask;
    EXPECT_EQ(mask.loadFromFile(wide().c_str()), result) << bytes.size();
    return lastProblem();
  }

  std::filesystem::path path() const { return folder_.path() / "target.mask"; }
  std::u16string wide() const { return folder_.wide("target.mask"); }

  TempDir folder_;
};

TEST_F(MaskProblem, IsThereForNoSoundFile) {
  EXPECT_NE(problemOf("", true), "none");
  std::string whole;
  for (const Field& field : kFields) whole += field.bytes;
  EXPECT_EQ(problemOf(whole, true), "none");
  EXPECT_EQ(qmLastRemark(0), nullptr);
  QmTargetCopMask mask;
  mask.init(3, 2, 6);
  mask.addIndex(1, 1, std::uint16_t{5});
  ASSERT_TRUE(mask.storeToFile(wide().c_str()));
  EXPECT_EQ(problemOf(readFile(path()), true), "none");
}

TEST_F(MaskProblem, TellsWhyAFileCannotBeOpened) {
  expectUnreadableTold(path(), kUnopened, [this] {
    QmTargetCopMask mask;
    EXPECT_FALSE(mask.loadFromFile(wide().c_str()));
  });
}

TEST_F(MaskProblem, NamesValueAndByteWhereverTheFileIsCut) {
  std::string before;
  for (const Field& field : kFields) {
    for (std::size_t cut = 0; cut < field.bytes.size(); ++cut) {
      const std::string begun = before + field.bytes.substr(0, cut);
      EXPECT_EQ(problemOf(begun, true), "offset " + std::to_string(begun.size()) + ", " + field.part + ": expected " +
                                            std::to_string(field.bytes.size()) + " bytes, found the end of the file");
    }
    before += field.bytes;
  }
}

TEST_F(MaskProblem, CitesDimensionsThatCannotBe) {
  EXPECT_EQ(problemOf(header(1, 1, 0xFFFFFFFF), false),
            "offset 0, dimensions: expected no more than memory holds, found 1 x 1 with 4294967295 cells");
}

TEST_F(MaskProblem, OfExhaustedMemoryNamesItOrTheDimensions) {
  writeFile(path(), header(0, 0, 1));
  const std::u16string name = wide();
  const auto read = [&] { return QmTargetCopMask().loadFromFile(name.c_str()); };
  const std::int64_t news = failEachNew(read, [](bool loaded, bool failed) {
    EXPECT_TRUE(loaded || failed);
    EXPECT_EQ(lastProblem(), loaded ? "none" : "memory is exhausted");
  });
  EXPECT_GT(news, 0);
  const std::int64_t blocks = failEachAllocation([&](std::int64_t) {
    const bool loaded = read();
    EXPECT_EQ(lastProblem(), loaded ? "none"
                                    : "offset 0, dimensions: expected no more than memory holds, found 0 x 0 with 1 "
                                      "cells");
  });
  EXPECT_GT(blocks, 0);
}

TEST_F(MaskProblem, IsEachThreadsOwnAndNotLogged) {
  writeFile(path(), "123");
  RecordingLog log;
  expectThreadsApart("offset 3, first dimension: expected 4 bytes, found the end of the file", [this] {
    QmTargetCopMask mask;
    mask.loadFromFile(wide().c_str());
  });
  EXPECT_THAT(log.records(), testing::IsEmpty());
}

}  // namespace
