// Names of blocks, identifiers of LUTs, and which images fit which block.
#include "quelcore/blocks/QmBlockNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "quelcore/tensor/QmReconsTensor.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

std::u16string blockName(const char* machine, std::int32_t number, std::int32_t tile) {
  qmWChar buffer[256] = {};
  const std::int32_t length = GetBlockName(machine, number, tile, buffer, 256);
  EXPECT_EQ(length, static_cast<std::int32_t>(std::u16string(buffer).size()));
  return buffer;
}

std::u16string blockFile(const char* machine, std::int32_t number, std::int32_t tile) {
  qmWString name = u"before";
  EXPECT_TRUE(GetBlockFileName(machine, number, tile, name));
  return name;
}

template <typename Id>
Id identity(const char* machine, std::int32_t number) {
  Id id = {};
  std::memcpy(id.machineId, machine, std::min<std::size_t>(std::strlen(machine) + 1, sizeof(id.machineId)));
  id.blockNumber = number;
  return id;
}

TEST(GetBlockName, JoinsMachineNumberAndTile) {
  EXPECT_EQ(blockName("ABC", 12, 0), u"ABC-12");
  EXPECT_EQ(blockName("ABC", 12, 3), u"ABC-12_3");
  EXPECT_EQ(blockName("ABC", 12, -3), u"ABC-12_-3");
}

TEST(GetBlockName, IsTheNumberAloneWithoutAMachine) {
  EXPECT_EQ(blockName(nullptr, 12, 0), u"12");
  EXPECT_EQ(blockName("", 12, 3), u"12");
}

TEST(GetBlockName, IsFixedForNumbersBelowOne) {
  for (const std::int32_t number : {0, -1, kLeast}) {
    EXPECT_EQ(blockName("ABC", number, 3), u"block");
    EXPECT_EQ(blockName(nullptr, number, 0), u"block");
  }
}

TEST(GetBlockName, TakesAtMostEightCharactersOfTheMachine) {
  EXPECT_EQ(blockName("ABCD1234EFG", 7, 0), u"ABCD1234-7");
  const char full[8] = {'A', 'B', 'C', 'D', '1', '2', '3', '4'};  // no NUL
  const auto onHeap = std::make_unique<char[]>(8);
  std::memcpy(onHeap.get(), full, 8);
  EXPECT_EQ(blockName(onHeap.get(), 7, 0), u"ABCD1234-7");
}

TEST(GetBlockName, TellsTheRoomThatItNeedsAndRefusesLess) {
  EXPECT_EQ(GetBlockName("ABC", 12, 0, nullptr, 0), 7);
  for (const std::int32_t size : {6, 0, -1}) {
    qmWChar buffer[8] = u"!!!!!!!";
    EXPECT_EQ(GetBlockName("ABC", 12, 0, buffer, size), 0);
    EXPECT_STREQ(reinterpret_cast<const char*>(buffer), "!");  // untouched
  }
  qmWChar buffer[7];
  EXPECT_EQ(GetBlockName("ABC", 12, 0, buffer, 7), 6);
  EXPECT_EQ(std::u16string(buffer), u"ABC-12");
}

TEST(GetBlockFileName, EndsInTns) {
  EXPECT_EQ(blockFile("ABC", 12, 0), u"ABC-12.tns");
  EXPECT_EQ(blockFile("ABC", 12, 3), u"ABC-12_3.tns");
  EXPECT_EQ(blockFile("ABC", 0, 3), u"block.tns");
}

TEST(GetBlockFileName, TellsItsLengthAndRefusesABufferWithoutRoomForTheNul) {
  EXPECT_EQ(GetBlockFileName("ABC", 12, 0, nullptr, 0), 10);
  qmWChar buffer[11] = {};
  EXPECT_EQ(GetBlockFileName("ABC", 12, 0, buffer, 10), 0);
  EXPECT_EQ(buffer[0], u'\0');
  EXPECT_EQ(GetBlockFileName("ABC", 12, 0, buffer, 11), 10);
  EXPECT_EQ(std::u16string(buffer), u"ABC-12.tns");
}

TEST(GetBlockFileName, TakesEveryIdentityRecord) {
  qmWChar buffer[64] = {};
  qmWString name;
  EXPECT_EQ(GetBlockFileName(identity<qmFtrID>("ABCD1234", 5), 2, buffer, 64), 16);
  EXPECT_EQ(std::u16string(buffer), u"ABCD1234-5_2.tns");
  EXPECT_TRUE(GetBlockFileName(identity<qmFtrID>("ABCD1234", 5), 2, name));
  EXPECT_EQ(name, u"ABCD1234-5_2.tns");
  EXPECT_EQ(GetBlockFileName(identity<tag_qmCalibrationID>("ABCD1234", 6), buffer, 64), 14);
  EXPECT_EQ(std::u16string(buffer), u"ABCD1234-6.tns");
  EXPECT_TRUE(GetBlockFileName(identity<tag_qmCalibrationID>("ABCD1234", 6), name));
  EXPECT_EQ(name, u"ABCD1234-6.tns");
  EXPECT_EQ(GetBlockFileName(identity<tag_qmImageID>("ABC", 7), buffer, 64), 9);
  EXPECT_EQ(std::u16string(buffer), u"ABC-7.tns");
  EXPECT_TRUE(GetBlockFileName(identity<tag_qmImageID>("ABC", 7), name));
  EXPECT_EQ(name, u"ABC-7.tns");
}

TEST(GetLutsFileName, NamesTheOneLutFileOfTheBlock) {
  qmWString name;
  EXPECT_TRUE(GetLutsFileName("ABC", 12, name));
  EXPECT_EQ(name, u"ABC-12.lut");
  qmWChar buffer[64] = {};
  EXPECT_EQ(GetLutsFileName("ABC", 0, buffer, 64), 9);
  EXPECT_EQ(std::u16string(buffer), u"block.lut");
}

TEST(GetLutsFileName, DoesNotRefuseASmallBufferYetStaysInside) {
  qmWChar buffer[5] = {u'!', u'!', u'!', u'!', u'!'};
  EXPECT_EQ(GetLutsFileName("ABC", 12, buffer, 4), 10);
  EXPECT_EQ(std::u16string(buffer, 5), std::u16string(u"ABC\0!", 5));
  EXPECT_EQ(GetLutsFileName("ABC", 12, buffer, 0), 10);
  EXPECT_EQ(GetLutsFileName("ABC", 12, nullptr, 0), 10);
}

TEST(GetLutsFileName, TakesATensor) {
  QmReconsTensor tensor;
  std::memcpy(tensor.machineId, "ABCD1234", 8);
  tensor.blockNumber = 9;
  qmWString name;
  EXPECT_TRUE(GetLutsFileName(&tensor, name));
  EXPECT_EQ(name, u"ABCD1234-9.lut");
  EXPECT_FALSE(GetLutsFileName(nullptr, name));
}

TEST(GetLutsId, HasTwentyOneCharactersInFourFields) {
  std::string id;
  EXPECT_TRUE(GetLutsId("ABCD1234", 7, 1, 2, id));
  EXPECT_EQ(id, "ABCD12340000000007102");
  EXPECT_TRUE(GetLutsId("ABC", 2147483647, 0, 0, id));
  EXPECT_EQ(id, "00000ABC2147483647000");
  EXPECT_TRUE(GetLutsId(nullptr, 7, 0, 1, id));
  EXPECT_EQ(id, "000000000000000007001");
  EXPECT_TRUE(GetLutsId("ABCD1234", -7, 0, 1, id));
  EXPECT_EQ(id, "ABCD1234-0000000007001");
}

TEST(GetLutsId, TellsTheRoomThatItNeedsForANullBuffer) {
  EXPECT_EQ(GetLutsId("ABCD1234", 7, 1, 2, nullptr, 0), 22);
  EXPECT_EQ(GetLutsId("ABCD1234", kLeast, kLeast, kLeast, nullptr, 0), 8 + 11 + 11 + 11 + 1);
  char buffer[LUT_ID_SIZE];
  EXPECT_EQ(GetLutsId("ABCD1234", 7, 1, 2, buffer, LUT_ID_SIZE), 21);
  EXPECT_STREQ(buffer, "ABCD12340000000007102");
}

TEST(GetLutsId, CutsToASmallBuffer) {
  char buffer[6] = "!!!!!";
  EXPECT_EQ(GetLutsId("ABCD1234", 7, 1, 2, buffer, 5), 21);
  EXPECT_STREQ(buffer, "ABCD");
}

TEST(GetLutsId, TakesACalibration) {
  const auto calibration = identity<tag_qmCalibrationID>("ABCD1234", 7);
  std::string id;
  EXPECT_TRUE(GetLutsId(calibration, 1, 2, id));
  EXPECT_EQ(id, "ABCD12340000000007102");
  char buffer[LUT_ID_SIZE];
  EXPECT_EQ(GetLutsId(calibration, 0, 1, buffer, LUT_ID_SIZE), 21);
  EXPECT_STREQ(buffer, "ABCD12340000000007001");
}

TEST(GetLutsIdPrefix, IsTheFirstEighteenCharacters) {
  std::string prefix;
  EXPECT_TRUE(GetLutsIdPrefix("ABCD1234", 7, prefix));
  EXPECT_EQ(prefix, "ABCD12340000000007");
  EXPECT_EQ(GetLutsIdPrefix("ABCD1234", 7, nullptr, 0), 19);
  char buffer[LUT_ID_SIZE];
  EXPECT_EQ(GetLutsIdPrefix("ABCD1234", 7, buffer, LUT_ID_SIZE), 18);
  EXPECT_STREQ(buffer, "ABCD12340000000007");
  EXPECT_EQ(GetLutsIdPrefix(identity<tag_qmCalibrationID>("AB", 8), buffer, LUT_ID_SIZE), 18);
  EXPECT_STREQ(buffer, "000000AB0000000008");
}

TEST(BlockNames, AreRefusedWhereverMemoryRunsOut) {
  const auto calibration = identity<tag_qmCalibrationID>("ABCD1234", 2000000000);
  const auto image = identity<tag_qmImageID>("ABCD1234", 2000000000);
  const auto feature = identity<qmFtrID>("ABCD1234", 2000000000);
  QmReconsTensor tensor;
  std::memcpy(tensor.machineId, "ABCD1234", 8);
  tensor.blockNumber = 2000000000;
  qmWChar wide[64];
  char narrow[64];
  const std::function<std::int32_t()> calls[] = {
      [&] { return GetBlockName("ABCD1234", 2000000000, 1, wide, 64); },
      [&] { return GetBlockFileName("ABCD1234", 2000000000, 1, wide, 64); },
      [&] { return GetLutsFileName("ABCD1234", 2000000000, wide, 64); },
      [&] { return GetLutsId("ABCD1234", 2000000000, 1, 2, narrow, 64); },
      [&] { return GetLutsIdPrefix("ABCD1234", 2000000000, narrow, 64); },
      [&] {
        qmWString name;
        return GetBlockFileName(calibration, name) ? 1 : 0;
      },
      [&] {
        qmWString name;
        return GetBlockFileName(image, name) ? 1 : 0;
      },
      [&] {
        qmWString name;
        return GetBlockFileName(feature, 1, name) ? 1 : 0;
      },
      [&] {
        qmWString name;
        return GetLutsFileName(&tensor, name) ? 1 : 0;
      },
      [&] {
        std::string id;
        return GetLutsId(calibration, 1, 2, id) ? 1 : 0;
      },
      [&] {
        std::string prefix;
        return GetLutsIdPrefix("ABCD1234", 2000000000, prefix) ? 1 : 0;
      },
  };
  for (const auto& call : calls) {
    const auto failures =
        quel::testing::failEachNew(call, [](std::int32_t result, bool failed) { EXPECT_EQ(result != 0, !failed); });
    EXPECT_GT(failures, 0);
  }
}

// --- Compatibility -------------------------------------------------------------------------------------------------

class CompatibilityTest : public ::testing::Test {
 protected:
  CompatibilityTest() {
    image_ = identity<tag_qmImageID>("ABCD1234", 7);
    image_.calibrationTimeStamp = 100;
    std::memcpy(tensor_.machineId, "ABCD1234", 8);
    tensor_.version = -17;
    tensor_.blockNumber = 7;
    tensor_.calibrationTimeStamp = 100;
  }

  bool compatible() {
    const bool byTensor = IsBlockCompatibleToImage(image_, static_cast<const tag_qmReconsTensorData*>(&tensor_));
    EXPECT_EQ(tensor_.IsCompatibleToImage(image_), byTensor);
    if (tensor_.version <= -6) {
      tag_qmCalibrationID calibration;
      EXPECT_TRUE(tensor_.GetCalibrationInfo(calibration));
      EXPECT_EQ(IsBlockCompatibleToImage(image_, calibration), byTensor);
    }
    return byTensor;
  }
  bool tileCompatible() { return IsBlockTileCompatibleToImage(image_, tensor_); }

  tag_qmImageID image_;
  QmReconsTensor tensor_;
};

TEST_F(CompatibilityTest, NeedsTheSameBlockMachineAndTimeStamp) {
  EXPECT_TRUE(compatible());
  EXPECT_TRUE(tileCompatible());
  image_.blockNumber = 8;
  EXPECT_FALSE(compatible());
  EXPECT_FALSE(tileCompatible());
  image_.blockNumber = 7;
  image_.machineId[7] = 'x';
  EXPECT_FALSE(compatible());
  EXPECT_FALSE(tileCompatible());
}

TEST_F(CompatibilityTest, TakesATimeStampOfZeroInTheImageForAny) {
  image_.calibrationTimeStamp = 0;
  EXPECT_TRUE(compatible());
  image_.calibrationTimeStamp = 101;
  EXPECT_FALSE(compatible());
  EXPECT_TRUE(tileCompatible());
  tensor_.calibrationTimeStamp = 0;
  EXPECT_FALSE(compatible());
}

TEST_F(CompatibilityTest, ComparesAllEightBytesOfTheMachine) {
  std::memcpy(image_.machineId, "AB\0xxxxx", 8);
  std::memcpy(tensor_.machineId, "AB\0yyyyy", 8);
  EXPECT_FALSE(compatible());
}

TEST_F(CompatibilityTest, IsNeverThereForAnEmptyOrMissingTensor) {
  tensor_.version = 0;
  EXPECT_FALSE(compatible());
  EXPECT_FALSE(tileCompatible());
  EXPECT_FALSE(IsBlockCompatibleToImage(image_, static_cast<const tag_qmReconsTensorData*>(nullptr)));
  EXPECT_FALSE(IsBlockTileCompatibleToImage(image_, nullptr));
}

TEST_F(CompatibilityTest, IsAlwaysThereForTensorsTooOldToHaveAnIdentity) {
  image_.blockNumber = 99;
  for (std::int32_t version = -1; version >= -5; --version) {
    tensor_.version = version;
    EXPECT_TRUE(compatible());
    EXPECT_TRUE(tileCompatible());
  }
  tensor_.version = -6;
  EXPECT_FALSE(compatible());
  EXPECT_FALSE(tileCompatible());
}

}  // namespace
