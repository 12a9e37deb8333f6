#include "quelcore/tensor/qmReconsTensorLifecycle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "quelplatform/img_4_qm/img_4_qm.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool isAllZero(const tag_qmReconsTensorData& tensor) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(&tensor);
  return std::all_of(bytes, bytes + sizeof(tensor), [](unsigned char byte) { return byte == 0; });
}

std::unique_ptr<tag_qmReconsTensorData> recordFullOf(int byte) {
  auto tensor = std::make_unique<tag_qmReconsTensorData>();
  std::memset(tensor.get(), byte, sizeof(*tensor));
  return tensor;
}

TEST(qmTensorInit, ZeroesEveryByteOfWhateverWasThere) {
  const auto tensor = recordFullOf(0xAB);
  EXPECT_EQ(qmTensorInit(tensor.get()), 1);
  EXPECT_TRUE(isAllZero(*tensor));
}

TEST(qmTensorInit, LogsANullRecordAndSucceeds) {
  const RecordingLog log;
  EXPECT_EQ(qmTensorInit(nullptr), 1);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, "qmReconsTensorLifecycle", "NULL pointer")));
}

TEST(qmTensorDestruct, FreesNothingOfARecordThatWasNeverLoaded) {
  const auto tensor = recordFullOf(0);
  const RecordingLog log;
  EXPECT_EQ(tensor->version, 0);
  EXPECT_EQ(tensor->projectionsValid, 0);
  EXPECT_EQ(qmTensorDestruct(tensor.get()), 1);
  EXPECT_TRUE(isAllZero(*tensor));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(qmTensorDestruct, FreesTheSixImagesAndClearsTheRecordAsOftenAsItIsCalled) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  const auto tensor = recordFullOf(0);
  tensor->version = -17;
  for (qmDistortTableSet& tables : tensor->distortTables) {
    tables.xTable = static_cast<float**>(alloc_image(3, 2, 4, Image_border));
    tables.yTable = static_cast<float**>(alloc_image(3, 2, 4, Image_border));
  }
  EXPECT_GT(quelplatform::allocatedBlocks(), before);
  EXPECT_EQ(qmTensorDestruct(tensor.get()), 1);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
  EXPECT_TRUE(isAllZero(*tensor));
  EXPECT_EQ(qmTensorDestruct(tensor.get()), 1);
  EXPECT_TRUE(isAllZero(*tensor));
}

TEST(qmTensorDestruct, FreesOneImageOfACameraThatLacksTheOther) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  const auto tensor = recordFullOf(0);
  tensor->distortTables[1].yTable = static_cast<float**>(alloc_image(1, 1, 4, Image_border));
  EXPECT_EQ(qmTensorDestruct(tensor.get()), 1);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmTensorDestruct, LogsANullRecordAndSucceeds) {
  const RecordingLog log;
  EXPECT_EQ(qmTensorDestruct(nullptr), 1);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, "qmReconsTensorLifecycle", "NULL pointer")));
}

TEST(rtStatus2Error, GivesTheSystemCodeOfEveryStatus) {
  struct Row {
    std::int32_t status;
    std::uint32_t code;
  };
  const Row rows[] = {{0, 0},           {1, 0xc4070047},  {2, 0xc4070002},  {3, 0xc4070002},  {4, 0xc4070003},
                      {5, 0xc4070004},  {6, 0xc4070005},  {7, 0xc4070006},  {8, 0xc4070007},  {9, 0xc4070020},
                      {10, 0xc4070009}, {11, 0xc4070010}, {12, 0xc407000a}, {13, 0xc4070065}, {14, 0xc4070066},
                      {15, 0xc404000d}, {16, 0xc4070068}, {17, 0xc4070004}, {18, 0xc4070069}, {19, 0xc407006a},
                      {20, 0xc407006b}, {21, 0xc4070004}, {22, 0xc4070004}};
  for (const Row& row : rows) EXPECT_EQ(rtStatus2Error(row.status), row.code) << "status " << row.status;
}

TEST(rtStatus2Error, GivesOneCodeForEveryUnknownStatus) {
  for (const std::int32_t status : {23, 24, 1000, 0x7FFFFFFF, -1, -8, std::int32_t(0x80000000)}) {
    EXPECT_EQ(rtStatus2Error(status), 0xc4070011) << "status " << status;
  }
}

}  // namespace
