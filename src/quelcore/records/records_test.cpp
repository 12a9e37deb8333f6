// The layout of the shared records is a contract with every program that was ever built against them.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <type_traits>

#include "quelcore/records/qmIdentity.h"
#include "quelcore/records/qmImage.h"
#include "quelcore/records/qmPatch.h"
#include "quelcore/records/qmRT2d3dPts.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

static_assert(sizeof(tag_qmImageID) == 20);
static_assert(offsetof(tag_qmImageID, imageTag) == 8);
static_assert(offsetof(tag_qmImageID, calibrationTimeStamp) == 12);
static_assert(offsetof(tag_qmImageID, blockNumber) == 16);

static_assert(sizeof(tag_qmCalibrationID) == 28);
static_assert(offsetof(tag_qmCalibrationID, blockNumber) == 8);
static_assert(offsetof(tag_qmCalibrationID, calibWord0) == 12);
static_assert(offsetof(tag_qmCalibrationID, imageTag) == 16);
static_assert(offsetof(tag_qmCalibrationID, calibWord2) == 20);
static_assert(offsetof(tag_qmCalibrationID, calibrationTimeStamp) == 24);

static_assert(sizeof(qmFtrID) == 48);
static_assert(offsetof(qmFtrID, blockNumber) == 8);
static_assert(offsetof(qmFtrID, pixel2WorldRatio) == 16);
static_assert(offsetof(qmFtrID, lensType) == 24);
static_assert(offsetof(qmFtrID, imageTag) == 32);
static_assert(offsetof(qmFtrID, calibrationTimeStamp) == 36);
static_assert(offsetof(qmFtrID, imageWidth) == 40);
static_assert(offsetof(qmFtrID, imageHeight) == 44);

static_assert(sizeof(qmTrnID) == 20);
static_assert(offsetof(qmTrnID, blockNumber) == 8);
static_assert(offsetof(qmTrnID, imageTag) == 12);
static_assert(offsetof(qmTrnID, calibrationTimeStamp) == 16);

static_assert(sizeof(qmRTCorresPoint) == 24);
static_assert(sizeof(tag_qmRTCorres) == 72);
static_assert(offsetof(tag_qmRT2d3dPts, imagePts) == 8);
static_assert(offsetof(tag_qmRT2d3dPts, worldPts) == 16);
static_assert(offsetof(tag_qmRT2d3dPts, values0) == 24);
static_assert(offsetof(tag_qmRT2d3dPts, values1) == 32);
static_assert(sizeof(tag_qmRT2d3dPts) == 40);

static_assert(offsetof(tag_qmDistortParams, k1) == 0);
static_assert(offsetof(tag_qmDistortParams, p1) == 24);
static_assert(offsetof(tag_qmDistortParams, xp) == 40);
static_assert(offsetof(tag_qmDistortParams, distortExtra) == 56);
static_assert(offsetof(tag_qmDistortParams, luts) == 96);
static_assert(offsetof(tag_qmDistortParams, distortOption) == 104);
static_assert(offsetof(tag_qmDistortLuts, lutVersion) == 36);
static_assert(offsetof(tag_qmDistortLuts, tableCount) == 40);
static_assert(sizeof(qmImageRecord) == 16);
static_assert(sizeof(tag_qmDistortLutsInfo) == 28);
static_assert(offsetof(CameraInfo, height) == 8);
static_assert(offsetof(CameraInfo, width) == 12);

static_assert(sizeof(bool) == 1);
static_assert(offsetof(qmPatch, attribute) == 48);
static_assert(offsetof(qmPatch, subPatchCount) == 52);
static_assert(offsetof(qmPatch, subPatchTag) == 53);
static_assert(offsetof(qmPatch, subPatchPoints) == 64);
static_assert(offsetof(qmPatch, pointCount) == 96);
static_assert(offsetof(qmPatch, points3D) == 104);
static_assert(offsetof(qmPatch, points2D) == 112);
static_assert(offsetof(qmPatch, pointValues) == 120);
static_assert(offsetof(qmPatch, scalars) == 128);

static_assert(offsetof(tag_qmReconsTensorData, tensorCoefficients) == 8);
static_assert(offsetof(tag_qmReconsTensorData, epipole) == 8440);
static_assert(offsetof(tag_qmReconsTensorData, worldScale) == 17152);
static_assert(offsetof(tag_qmReconsTensorData, temperature) == 17160);

template <typename T>
constexpr bool isPlain = std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T>;

TEST(Records, ArePlainSoThatBlockCopiesAndZeroFillAreTheirLifecycle) {
  EXPECT_TRUE(isPlain<tag_qmReconsTensorData>);
  EXPECT_TRUE(isPlain<tag_qmImage>);
  EXPECT_TRUE(isPlain<qmPatch>);
  EXPECT_TRUE(isPlain<qmPatchImage>);
  EXPECT_TRUE(isPlain<tag_qmRT2d3dPts>);
  EXPECT_TRUE(isPlain<tag_qmRTCorres>);
  EXPECT_TRUE(isPlain<qmFtrID>);
}

/// Three sums rounded to single precision, as neighbours: what a compiler likes to join into vectors.
__attribute__((noinline)) std::array<double, 3> roundedToSingle(const std::array<double, 3>& a,
                                                                const std::array<double, 3>& b, double t) {
  return {static_cast<double>(static_cast<float>(a[0] + t * b[0])),
          static_cast<double>(static_cast<float>(a[1] + t * b[1])),
          static_cast<double>(static_cast<float>(a[2] + t * b[2]))};
}

TEST(TheCompiler, KeepsTheRoundingOfNeighbouringValuesToSinglePrecision) {
  for (const double value :
       roundedToSingle({1.23456789, 2.3456789123, 3.456789}, {0.1234567, 0.7654321, 0.3333333}, 1.1)) {
    volatile float single = static_cast<float>(value);
    EXPECT_EQ(static_cast<double>(single), value);
  }
}

TEST(PatchIndexRecords, ABinBeginsWithTheFieldsOfARunAndServesAsOne) {
  qmPatchBinInfo bin;
  bin.start = 3;
  bin.count = 4;
  bin.subPatchTag = 5;
  const qmPatchPtsIndex* run = &bin;
  EXPECT_EQ(run->start, 3u);
  EXPECT_EQ(run->count, 4u);
  EXPECT_EQ(static_cast<const void*>(run), static_cast<const void*>(&bin));
  EXPECT_EQ(reinterpret_cast<const char*>(&bin.box) - reinterpret_cast<const char*>(&bin), 8);
  EXPECT_EQ(sizeof(qmPatchBinInfo), 64u);
  EXPECT_TRUE(std::is_trivially_copyable_v<qmPatchBinInfo>);
}
