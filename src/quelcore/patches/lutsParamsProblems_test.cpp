// What is told of a multi-stage calibration file that is missing or holds no numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/patches/lutsParams.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr OH_CAMERA_TYPE kType = OH_CAMERA_640x480;

class LutsParamsProblem : public testing::Test {
 protected:
  LutsParamsProblem() {
    quelcore::lutsParams() = {};
    QmWorkPlace::MakeMultiStageCalibFullPath(kType, path_, quelcore::kPathSize);
    std::filesystem::create_directories(path().parent_path());
  }
  ~LutsParamsProblem() override { quelcore::lutsParams() = {}; }

  std::filesystem::path path() const { return std::filesystem::path(std::u16string(path_)); }

  static bool readAnew() {
    quelcore::lutsParams() = {};
    return quelcore::readLutsParams(kType);
  }

  TempHome home_;
  RecordingLog log_;
  qmWChar path_[quelcore::kPathSize] = {};
};

TEST_F(LutsParamsProblem, IsThereForNoSoundFile) {
  EXPECT_FALSE(readAnew());
  EXPECT_NE(lastProblem(), "none");
  writeFile(path(), "[General]\nqmDistortLutCopBased=1\nqmDistortLutTrgBased=0\n");
  EXPECT_TRUE(readAnew());
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(LutsParamsProblem, TellsAMissingFileFromADirectory) {
  EXPECT_FALSE(readAnew());
  EXPECT_EQ(lastProblem(), "there is no such file");
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path());
  std::filesystem::create_directory(path());
  EXPECT_FALSE(readAnew());
  EXPECT_EQ(lastProblem(), "it is a directory");
}

TEST_F(LutsParamsProblem, KeepsNoFlagsOfAFileThatCouldNotBeRead) {
  writeFile(path(), "[General]\nqmDistortLutCopBased=1\nqmDistortLutTrgBased=1\n");
  {
    const NoDescriptors none;
    EXPECT_FALSE(readAnew());
    EXPECT_NE(lastProblem(), "none");
  }
  EXPECT_TRUE(quelcore::readLutsParams(kType));
  EXPECT_TRUE(quelcore::lutsParams().bUseDistortLutCopBased_);
  EXPECT_TRUE(quelcore::lutsParams().bUseDistortLutTrgBased_);
}

TEST_F(LutsParamsProblem, KeepsTheFlagsOfTheFileOrNoneWhereverMemoryRunsOut) {
  writeFile(path(), "[General]\nqmDistortLutCopBased=1\nqmDistortLutTrgBased=1\n");
  const auto read = [] {
    quelcore::lutsParams() = {};
    return quelcore::readLutsParams(kType);
  };
  EXPECT_GT(failEachNew(read,
                        [](bool done, bool) {
                          const quelcore::LutsParams& params = quelcore::lutsParams();
                          EXPECT_EQ(params.initialised, done);
                          EXPECT_TRUE(!done || params.bUseDistortLutCopBased_);
                          EXPECT_TRUE(!done || params.bUseDistortLutTrgBased_);
                        }),
            3);
}

TEST_F(LutsParamsProblem, SaysThatACameraTypeIsNotKnown) {
  EXPECT_FALSE(quelcore::readLutsParams(OH_CAMERA_INVALID));
  EXPECT_EQ(lastProblem(), "the camera type is not known");
  EXPECT_STREQ(qmLastProblem()->file, "");
}

TEST_F(LutsParamsProblem, RemarksOnFlagsThatAreNoNumbers) {
  writeFile(path(), "[General]\nqmDistortLutCopBased=yes\nqmDistortLutTrgBased=1 x\n");
  EXPECT_TRUE(readAnew());
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("qmDistortLutCopBased: expected 0 or 1, found \"yes\"",
                                         "qmDistortLutTrgBased: expected 0 or 1, found \"1 x\""));
  EXPECT_FALSE(quelcore::lutsParams().bUseDistortLutCopBased_);
  EXPECT_TRUE(quelcore::lutsParams().bUseDistortLutTrgBased_);
}

TEST_F(LutsParamsProblem, IsNoneOfAFileThatIsCutBehindItsFlags) {
  const std::string whole = "[General]\nqmDistortLutCopBased=1\nqmDistortLutTrgBased=1";
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    writeFile(path(), whole.substr(0, size));
    EXPECT_TRUE(readAnew());
    EXPECT_EQ(lastProblem(), "none") << size;  // What is missing is 0, as stated.
  }
}

TEST_F(LutsParamsProblem, IsEachThreadsOwn) {
  expectThreadsApart("there is no such file", [] { readAnew(); });
}

}  // namespace
