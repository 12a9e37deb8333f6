// Calibration points: their arrays come and go together.
#include "quelcore/tensor/qmReconsTensorCore.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::Line;
using quel::testing::RecordingLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kModule = "qmReconsTensorCore";

TEST(qmRT2d3dPtsAlloc, MakesFourArraysThatFreeGivesBack) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  tag_qmRT2d3dPts points;
  ASSERT_EQ(qmRT2d3dPtsAlloc(5, &points), 1);
  EXPECT_EQ(points.count, 5);
  std::fill_n(&points.imagePts[0][0], 30, 1.0);  // the sanitizer watches the sizes
  std::fill_n(&points.worldPts[0][0], 15, 2.0);
  std::fill_n(points.values0, 5, 3);
  std::fill_n(points.values1, 5, 4);
  EXPECT_EQ(qmRT2d3dPtsFree(&points), 1);
  EXPECT_EQ(points.count, 0);
  EXPECT_EQ(points.imagePts, nullptr);
  EXPECT_EQ(points.worldPts, nullptr);
  EXPECT_EQ(points.values0, nullptr);
  EXPECT_EQ(points.values1, nullptr);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmRT2d3dPtsAlloc, KeepsWhatWasMadeWhenMemoryRunsOut) {
  const auto failures = quel::testing::failEachAllocation([](std::int64_t succeeding) {
    const RecordingLog log;
    tag_qmRT2d3dPts points;
    const bool fails = succeeding < 4;
    EXPECT_EQ(qmRT2d3dPtsAlloc(7, &points), fails ? 0 : 1);
    EXPECT_EQ(points.count, 7);
    EXPECT_EQ(points.imagePts != nullptr, succeeding > 0);
    EXPECT_EQ(points.worldPts != nullptr, succeeding > 1);
    EXPECT_EQ(points.values0 != nullptr, succeeding > 2);
    EXPECT_EQ(points.values1 != nullptr, !fails);
    EXPECT_THAT(log.records(), SizeIs(fails ? 1 : 0));
    EXPECT_EQ(qmRT2d3dPtsFree(&points), 1);
  });
  EXPECT_EQ(failures, 4);
}

TEST(qmRT2d3dPtsAlloc, TakesZeroPointsAndRefusesFewer) {
  tag_qmRT2d3dPts points;
  EXPECT_EQ(qmRT2d3dPtsAlloc(0, &points), 1);
  EXPECT_EQ(qmRT2d3dPtsFree(&points), 1);
  const RecordingLog log;
  EXPECT_EQ(qmRT2d3dPtsAlloc(-1, &points), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(qmRT2d3dPtsFree(&points), 1);
}

TEST(qmRT2d3dPtsAlloc, LogsANullRecordLikeFree) {
  const RecordingLog log;
  EXPECT_EQ(qmRT2d3dPtsAlloc(3, nullptr), 0);
  EXPECT_EQ(qmRT2d3dPtsFree(nullptr), 1);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "NULL pointer"), Line(5, kModule, "NULL pointer")));
}

TEST(qmRTcalibDataFree, FreesTheRecordsAndTheirArray) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  void* block = nullptr;
  ASSERT_EQ(qmMallocInitZero(3 * sizeof(tag_qmRT2d3dPts), &block), 1);
  auto* records = static_cast<tag_qmRT2d3dPts*>(block);
  for (int n = 0; n < 3; ++n) ASSERT_EQ(qmRT2d3dPtsAlloc(n, records + n), 1);
  EXPECT_EQ(qmRTcalibDataFree(3, &records), 1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmRTcalibDataFree, DoesNothingForNull) {
  tag_qmRT2d3dPts* records = nullptr;
  const RecordingLog log;
  EXPECT_EQ(qmRTcalibDataFree(3, &records), 1);
  EXPECT_EQ(qmRTcalibDataFree(3, nullptr), 1);
  EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
