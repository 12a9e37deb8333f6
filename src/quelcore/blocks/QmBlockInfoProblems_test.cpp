// What is told of a block table that does not load, and of blocks in it that are passed over.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kSound = "[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=Alpha\nBlockLens=50;35\n";

class BlockTableProblem : public testing::Test {
 protected:
  BlockTableProblem() { QmBlockTable::FreeInstance(); }
  ~BlockTableProblem() override { QmBlockTable::FreeInstance(); }

  static std::string load() {
    QmBlockTable::FreeInstance();
    const QmBlockTable table;
    return lastProblem();
  }
  std::string problemOf(const std::string& ini) const {
    writeFile(path(), ini);
    return load();
  }
  std::string problemOfParameters(const std::string& parameters) const {
    std::filesystem::remove(path());
    writeFile(home_.path() / "params.ini", parameters);
    return load();
  }
  std::filesystem::path path() const { return home_.path() / "blocks.ini"; }

  RecordingLog log_;
  TempHome home_;
};

TEST_F(BlockTableProblem, IsThereForNoSoundFile) {
  EXPECT_NE(load(), "none");
  EXPECT_EQ(problemOf(kSound), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(BlockTableProblem, CitesTheNumberOfBlocks) {
  EXPECT_EQ(problemOf(""), "NumberOfBlocks of [General]: expected 1 or more, found 0");
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path());
  EXPECT_EQ(problemOf("[General]\nNumberOfBlocks=-7\n"), "NumberOfBlocks of [General]: expected 1 or more, found -7");
}

TEST_F(BlockTableProblem, TellsTheNumberWhereverTheFileIsCutInFrontOfIt) {
  const std::size_t number = kSound.find('1');
  for (std::size_t size = 0; size <= number; ++size) {
    EXPECT_EQ(problemOf(kSound.substr(0, size)), "NumberOfBlocks of [General]: expected 1 or more, found 0") << size;
  }
  for (std::size_t size = number + 1; size <= kSound.size(); ++size) {
    EXPECT_EQ(problemOf(kSound.substr(0, size)), "none") << size;  // The rest has its defaults.
  }
}

TEST_F(BlockTableProblem, RemarksOnBlocksThatArePassedOver) {
  EXPECT_EQ(problemOf("[General]\nNumberOfBlocks=2\n[Block1]\nBlockName=0\n[Block2]\nBlockName=B\nBlockLens=50;x\n"),
            "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("BlockName of [Block1]: expected a name, which does not begin with 0, found \"0\"",
                          "BlockLens of [Block2]: expected whole numbers, with ; between, found \"50;x\""));
}

TEST_F(BlockTableProblem, RemarksOnMoreBlocksThanAreRead) {
  EXPECT_EQ(problemOf("[General]\nNumberOfBlocks=10001\n[Block1]\nBlockName=B\nBlockLens=50\n"), "none");
  EXPECT_EQ(lastRemarks().front(), "NumberOfBlocks of [General]: expected at most 10000, which are read, found 10001");
}

TEST_F(BlockTableProblem, NamesTheParameterThatIsMissing) {
  EXPECT_EQ(problemOfParameters(""), "QmMappingBlock.NumberOfBlocks: expected 1 or more, found 0");
  EXPECT_STREQ(qmLastProblem()->file, "");
  EXPECT_EQ(problemOfParameters("QmMappingBlock.NumberOfBlocks=2\nQmMappingBlock.BlockName2=B\n"),
            "QmMappingBlock.BlockLens2: expected whole numbers, with ; between, found none");
  EXPECT_THAT(lastRemarks(), ElementsAre("QmMappingBlock.BlockName1: none, so the block is passed over"));
}

TEST_F(BlockTableProblem, OfExhaustedMemoryIsThat) {
  writeFile(path(), kSound);
  const auto construct = [] {
    QmBlockTable::FreeInstance();
    return QmBlockTable().IsInstance();
  };
  const std::int64_t failures = failEachNew(construct, [](bool loaded, bool failed) {
    EXPECT_TRUE(loaded || failed);
    if (loaded) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // The system gives a file or value that it has no memory to look for as missing.
      EXPECT_THAT(lastProblem(),
                  testing::AnyOf("memory is exhausted", "NumberOfBlocks of [General]: expected 1 or more, found 0",
                                 "QmMappingBlock.NumberOfBlocks: expected 1 or more, found 0"));
    }
  });
  EXPECT_GT(failures, 3);
}

TEST_F(BlockTableProblem, IsEachThreadsOwn) {
  writeFile(path(), "");
  expectThreadsApart("NumberOfBlocks of [General]: expected 1 or more, found 0", [] { load(); });
}

}  // namespace
