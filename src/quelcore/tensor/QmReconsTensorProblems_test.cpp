// What is told of a block that does not load: which of its files is missing, damaged, or lacks something.
#include <gmock/gmock.h>

#include <filesystem>

#include "quelcore/base/QmProblem.h"
#include "quelcore/tensor/tensorLuts_fixture.h"
#include "testing/RecordingLog.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::kId2;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TensorLutsTest;
using quel::testing::writeFile;
using ::testing::EndsWith;

std::string problem() {
  char text[1024] = {};
  if (const QmProblem* last = qmLastProblem()) qmProblemText(*last, text, sizeof text);
  return text;
}

class BlockProblem : public TensorLutsTest {
 protected:
  bool load() {
    const RecordingLog log;
    QmReconsTensor tensor;
    return tensor.LoadFromFile(tensorFile().c_str());
  }

  const fs::path luts_ = dir_.path() / "ABCD1234-7.lut";
};

TEST_F(BlockProblem, IsThereForNoSoundBlock) {
  EXPECT_TRUE(load());
  EXPECT_EQ(qmLastProblem(), nullptr);
}

TEST_F(BlockProblem, TellsAMissingFileNameAMissingFileAndACutOneApart) {
  const RecordingLog log;
  QmReconsTensor tensor;
  EXPECT_FALSE(tensor.LoadFromFile(nullptr));
  EXPECT_EQ(problem(), "no file is named");
  const std::string whole = readFile(fs::path(tensorFile()));
  writeFile(fs::path(tensorFile()), whole.substr(0, 5000));
  EXPECT_FALSE(load());
  EXPECT_THAT(problem(),
              EndsWith(".tns, offset 12, tensorCoefficients: expected 5832 bytes from there on, found the end of "
                       "the file"));
  fs::remove(fs::path(tensorFile()));
  EXPECT_FALSE(load());
  EXPECT_THAT(problem(), EndsWith(".tns: there is no such file"));
}

TEST_F(BlockProblem, TellsAMissingLutFileADamagedOneAndOneThatLacksASetApart) {
  const std::string whole = readFile(luts_);
  writeFile(luts_, whole.substr(0, whole.size() - 1));
  EXPECT_FALSE(load());
  EXPECT_THAT(problem(), EndsWith(".lut: it is damaged or cannot be read; the log says where"));
  fs::remove(luts_);
  EXPECT_FALSE(load());
  EXPECT_THAT(problem(), EndsWith(".lut: there is no such file"));
  quel::testing::writeLuts(luts_.u16string(), {kId2});
  EXPECT_FALSE(load());
  EXPECT_THAT(problem(), EndsWith(".lut, LUTs of camera 0: expected \"" + std::string(quel::testing::kId0) +
                                  "\", found none of that name"));
}

}  // namespace
