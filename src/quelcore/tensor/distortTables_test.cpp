// The small distortion images of a tensor.
#include <gtest/gtest.h>

#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using ::testing::ElementsAre;

class DistortTablesTest : public ::testing::Test {
 protected:
  DistortTablesTest() : tensor_(*head_.tensor()) {
    tensor_.imageWidth = 1536;
    tensor_.imageHeight = 1024;
  }
  ~DistortTablesTest() override {
    for (tag_qmDistortParams& params : tensor_.distortParams) params.luts = nullptr;
    qmTensorDestruct(&tensor_);
  }

  SampleHead head_;
  tag_qmReconsTensorData& tensor_;
};

TEST_F(DistortTablesTest, HoldTheDisplacementAtEveryTwentyFifthPixel) {
  calcDistortTables(&tensor_);
  for (int camera = 0; camera < 3; ++camera) {
    const qmDistortTableSet& tables = tensor_.distortTables[camera];
    ASSERT_EQ(tables.xCols, 62);
    ASSERT_EQ(tables.xRows, 41);
    for (int row = 0; row < 41; ++row) {
      for (int column = 0; column < 62; ++column) {
        const quel::Vec2 ideal = {25.0 * column, 25.0 * row};
        const quel::Vec2 seen = quel::distortedPixel(head_.cameras()[camera], ideal);
        EXPECT_NEAR(tables.xTable[row][column], seen[0] - ideal[0], 1e-5);
        EXPECT_NEAR(tables.yTable[row][column], seen[1] - ideal[1], 1e-5);
      }
    }
  }
}

TEST_F(DistortTablesTest, AreAnnouncedBeforeAndAfter) {
  const RecordingLog log;
  calcDistortTables(&tensor_);
  EXPECT_THAT(log.records(), ElementsAre(Line(0, "QmReconsTensorIO", "Calculate distort pixel tables"),
                                         Line(0, "QmReconsTensorIO", "Finished calculating distort pixel tables")));
}

TEST_F(DistortTablesTest, TakeTheFastDistortionWhereTheExactOneFails) {
  const quelplatform::LutGrid farAway = {{1e9, 1e9}, {100.0, 100.0}, 2, 2, {0.0F}};
  const tag_qmDistortLuts* luts =
      quelplatform::makeDistortLuts("T", farAway, [](double, double, double, float d[2]) { d[0] = d[1] = 0.0F; });
  tensor_.distortParams[0].luts = luts;
  calcDistortTables(&tensor_);
  tensor_.distortParams[0].luts = nullptr;
  DistortLutsManager::getManager().distortLutsReleaseRef(luts);
  DistortLutsManager::getManager().removeUnusedDistortLuts();
  const quel::Vec2 seen = quel::distortedPixel(head_.cameras()[0], {1000.0, 500.0});
  EXPECT_NEAR(tensor_.distortTables[0].xTable[20][40], seen[0] - 1000.0, 1e-5);
  EXPECT_NEAR(tensor_.distortTables[0].yTable[20][40], seen[1] - 500.0, 1e-5);
}

TEST_F(DistortTablesTest, AreOneByOneAndZeroForAnImageWithoutSize) {
  tensor_.imageWidth = 0;
  tensor_.imageHeight = 0;
  calcDistortTables(&tensor_);
  EXPECT_EQ(tensor_.distortTables[1].xCols, 1);
  EXPECT_EQ(tensor_.distortTables[1].yRows, 1);
  EXPECT_EQ(tensor_.distortTables[1].xTable[0][0], 0.0F);
}

TEST_F(DistortTablesTest, AreMissingForAnImageOfNegativeSize) {
  for (const auto& [size, columns] : {std::pair{-1000, -39}, std::pair{-2147483647 - 1, -85899344}}) {
    tensor_.imageWidth = tensor_.imageHeight = size;
    calcDistortTables(&tensor_);
    EXPECT_EQ(tensor_.distortTables[0].xTable, nullptr);
    EXPECT_EQ(tensor_.distortTables[0].xCols, columns);
  }
}

TEST_F(DistortTablesTest, HaveOneEntryMoreJustBeyondAMultipleOfThePitch) {
  for (const auto& [width, columns] : {std::pair{25, 1}, std::pair{26, 2}, std::pair{50, 2}, std::pair{51, 3}}) {
    tensor_.imageWidth = width;
    calcDistortTables(&tensor_);
    EXPECT_EQ(tensor_.distortTables[0].xCols, columns);
  }
}

TEST_F(DistortTablesTest, ReplaceTheOnesThatWereThere) {
  calcDistortTables(&tensor_);
  const std::int64_t blocks = quelplatform::allocatedBlocks();
  calcDistortTables(&tensor_);
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks);
}

TEST_F(DistortTablesTest, StayNullWithTheirSizeWhenMemoryRunsOut) {
  quel::testing::failEachAllocation([&](std::int64_t) {
    calcDistortTables(&tensor_);
    for (const qmDistortTableSet& tables : tensor_.distortTables) {
      EXPECT_EQ(tables.xCols, 62);
      EXPECT_EQ(tables.yRows, 41);
    }
    for (qmDistortTableSet& tables : tensor_.distortTables) {
      if (tables.xTable != nullptr) free_image(tables.xTable, 4, Image_border);
      if (tables.yTable != nullptr) free_image(tables.yTable, 4, Image_border);
      tables.xTable = tables.yTable = nullptr;
    }
  });
}

TEST(calcDistortTables, LeavesANullRecordAlone) {
  const RecordingLog log;
  calcDistortTables(nullptr);
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
}

}  // namespace
