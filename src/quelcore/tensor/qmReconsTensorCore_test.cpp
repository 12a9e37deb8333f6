// Projection of single points: deriving the projections, and from a point to its pixel.
#include "quelcore/tensor/qmReconsTensorCore.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "quelcore/tensor/projection_fixture.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"

namespace {

using quel::Vec2;
using quel::Vec3;
using quel::testing::BareTrace;
using quel::testing::Canary;
using quel::testing::kAllModes;
using quel::testing::Message;
using quel::testing::Near;
using quel::testing::RecordingLog;
using quel::testing::SameBits;
using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::WholeImageLuts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr const char* kModule = "qmReconsTensorCore";

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// --- Deriving projections ------------------------------------------------------------------------------------------

TEST(qmRTComputeProjections, AgreesWithTheCamerasToRounding) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    const SampleHead head(seed);
    double P[3][4][4];
    ASSERT_EQ(qmRTComputeProjections(head.tensor(), P), 1);
    const Vec3 point = head.randomPoint(random);
    for (int camera = 0; camera < 3; ++camera) {
      double uvw[4];
      qmMathMat4MultPoint(P[camera], point.data(), uvw);
      const Vec2 truth = head.pinholePixel(point, camera);
      EXPECT_THAT(uvw[0] / uvw[2], Near(truth[0], 1e-8)) << "seed " << seed;
      EXPECT_THAT(uvw[1] / uvw[2], Near(truth[1], 1e-8)) << "seed " << seed;
      EXPECT_THAT(P[camera][3], ElementsAre(0.0, 0.0, 0.0, 0.0));
    }
  }
}

TEST(qmRTComputeProjections, FormsTheStatedProductInTheStatedOrder) {
  SampleHead head;
  tag_qmReconsTensorData& tensor = *head.tensor();
  tensor.worldScale = 49.0;  // 49 / 49 is 1, 49 (1 / 49) is not
  tensor.worldCentre[0] = 49.0;
  tensor.worldCentre[1] = -98.0;
  tensor.worldCentre[2] = 0.1;
  double P[3][4][4];
  ASSERT_EQ(qmRTComputeProjections(&tensor, P), 1);
  for (int i = 0; i < 3; ++i) {
    double inverse[4][4];
    ASSERT_EQ(qmMathMat4Inv(tensor.pairReconstruction[i][(i + 1) % 3], inverse), 1);
    const double g = tensor.imageScale[i];
    const double D[4][4] = {{g, 0, tensor.imageCentre[i][0], 0}, {0, g, tensor.imageCentre[i][1], 0}, {0, 0, 1, 0}, {}};
    const double N[4][4] = {
        {1.0 / 49.0, 0, 0, -1.0}, {0, 1.0 / 49.0, 0, 2.0}, {0, 0, 1.0 / 49.0, -(0.1 / 49.0)}, {0, 0, 0, 1.0}};
    double product[4][4];
    double expected[4][4];
    qmMathMat4MultMat4(D, inverse, product);
    qmMathMat4MultMat4(product, N, expected);
    for (int row = 0; row < 4; ++row) {
      for (int column = 0; column < 4; ++column) EXPECT_THAT(P[i][row][column], SameBits(expected[row][column]));
    }
  }
}

TEST(qmRTComputeProjections, UsesThePairWithTheNextCameraAlone) {
  SampleHead head;
  double before[3][4][4];
  ASSERT_EQ(qmRTComputeProjections(head.tensor(), before), 1);
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      if (b == (a + 1) % 3) continue;
      for (auto& row : head.tensor()->pairReconstruction[a][b]) std::fill(std::begin(row), std::end(row), 0.0);
    }
  }
  double after[3][4][4];
  ASSERT_EQ(qmRTComputeProjections(head.tensor(), after), 1);
  EXPECT_EQ(std::memcmp(before, after, sizeof(before)), 0);
}

TEST(qmRTComputeProjections, ReportsOneNumberedErrorWithoutMetricTables) {
  SampleHead head;
  Canary<48> out;
  for (const std::int32_t flag : {0, 2, -1}) {
    head.tensor()->reconsFlag = flag;
    const RecordingLog log;
    EXPECT_EQ(qmRTComputeProjections(head.tensor(), reinterpret_cast<double(*)[4][4]>(&*out)), 0);
    EXPECT_THAT(log.records(), ElementsAre(Message(5, kModule, 0xc43d0003, "txt")));
  }
  EXPECT_TRUE(out.untouched());
}

TEST(qmRTComputeProjections, ReportsTheSameErrorForAWorldScaleOfZero) {
  SampleHead head;
  head.tensor()->worldScale = 0.0;
  const RecordingLog log;
  double P[3][4][4];
  EXPECT_EQ(qmRTComputeProjections(head.tensor(), P), 0);
  EXPECT_THAT(log.records(), ElementsAre(Message(5, kModule, 0xc43d0003, "txt")));
}

TEST(qmRTComputeProjections, KeepsTheCamerasBeforeOneThatCannotBeInverted) {
  SampleHead head;
  double whole[3][4][4];
  ASSERT_EQ(qmRTComputeProjections(head.tensor(), whole), 1);
  for (auto& row : head.tensor()->pairReconstruction[1][2]) std::fill(std::begin(row), std::end(row), 0.0);
  const RecordingLog log;
  Canary<48> out;
  EXPECT_EQ(qmRTComputeProjections(head.tensor(), reinterpret_cast<double(*)[4][4]>(&*out)), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  for (std::size_t i = 0; i < 16; ++i) EXPECT_THAT(out[i], SameBits((&whole[0][0][0])[i]));
  for (std::size_t i = 16; i < 48; ++i) EXPECT_TRUE(out.untouched(i));
}

TEST(qmRTComputeProjections, SucceedsWithNothingWrittenForNoCameras) {
  SampleHead head;
  for (const std::int32_t count : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    head.tensor()->numCameras = count;
    Canary<48> out;
    EXPECT_EQ(qmRTComputeProjections(head.tensor(), reinterpret_cast<double(*)[4][4]>(&*out)), 1);
    EXPECT_TRUE(out.untouched());
  }
}

TEST(qmRTComputeProjections, TakesTheCameraCountAsTheModulus) {
  SampleHead head;
  head.tensor()->numCameras = 2;  // camera 1 is then followed by camera 0
  double two[3][4][4] = {};
  ASSERT_EQ(qmRTComputeProjections(head.tensor(), two), 1);
  for (auto& row : head.tensor()->pairReconstruction[1][0]) std::fill(std::begin(row), std::end(row), 0.0);
  EXPECT_EQ(qmRTComputeProjections(head.tensor(), two), 0);
}

TEST(qmRTComputeProjections, StopsBeforeACameraThatTheRecordDoesNotHave) {
  SampleHead head;
  for (const std::int32_t count : {4, 1000, std::numeric_limits<std::int32_t>::max()}) {
    head.tensor()->numCameras = count;
    const RecordingLog log;
    Canary<48> out;
    EXPECT_EQ(qmRTComputeProjections(head.tensor(), reinterpret_cast<double(*)[4][4]>(&*out)), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_FALSE(out.untouched(0));
    EXPECT_FALSE(out.untouched(16));
    EXPECT_TRUE(out.untouched(32));
  }
}

TEST(qmRTComputeProjections, LeavesATraceForNullArguments) {
  const SampleHead head;
  double P[3][4][4];
  const RecordingLog log;
  EXPECT_EQ(qmRTComputeProjections(nullptr, P), 0);
  EXPECT_EQ(qmRTComputeProjections(head.tensor(), nullptr), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
}

// --- One point -----------------------------------------------------------------------------------------------------

TEST(qmRTProjectPointtoImage, GivesTheTruePixelWithAndWithoutDistortion) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 100; ++seed) {
    const SampleHead head(seed);
    for (int n = 0; n < 20; ++n) {
      const Vec3 point = head.randomPoint(random);
      for (int camera = 0; camera < 3; ++camera) {
        const Vec2 pinhole = head.pinholePixel(point, camera);
        const Vec2 seen = head.pixel(point, camera);
        for (const _ProjectDistortMode mode : kAllModes) {
          double pixel[2];
          ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), camera, mode, pixel), 1);
          const Vec2& truth = mode == PROJECT_PINHOLE ? pinhole : seen;
          EXPECT_THAT(pixel[0], Near(truth[0], 1e-8));
          EXPECT_THAT(pixel[1], Near(truth[1], 1e-8));
        }
      }
    }
  }
}

TEST(qmRTProjectPointtoImage, DividesTheRowsOfTheProjectionAsTheyStand) {
  SampleHead head;
  const double P[4][4] = {{2.0, 0.0, 0.0, 1.0}, {0.0, 3.0, 0.0, -1.0}, {0.0, 0.0, 1.0, 2.0}, {9.0, 9.0, 9.0, 9.0}};
  qmMathCopyMat4ToMat4(P, head.tensor()->projections[1]);
  const double point[3] = {4.0, 5.0, 2.0};
  double pixel[2];
  ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point, 1, PROJECT_PINHOLE, pixel), 1);
  EXPECT_EQ(pixel[0], 9.0 / 4.0);
  EXPECT_EQ(pixel[1], 14.0 / 4.0);
}

TEST(qmRTProjectPointtoImage, IsSilentForANullTensor) {
  const RecordingLog log;
  const double point[3] = {};
  Canary<2> pixel;
  EXPECT_EQ(qmRTProjectPointtoImage(nullptr, point, 0, PROJECT_EXACT, pixel), 0);
  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_TRUE(pixel.untouched());
}

TEST(qmRTProjectPointtoImage, DemandsValidProjectionsOfExactlyOne) {
  SampleHead head;
  const Vec3 point = head.point(0, 0, 0);
  for (const std::int32_t valid : {0, 2, -1}) {
    head.tensor()->projectionsValid = valid;
    const RecordingLog log;
    Canary<2> pixel;
    EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 0, PROJECT_EXACT, pixel), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_TRUE(pixel.untouched());
  }
}

TEST(qmRTProjectPointtoImage, FailsWithOneBareTraceForAPointOnThePrincipalPlane) {
  const SampleHead head;
  for (int camera = 0; camera < 3; ++camera) {
    for (const _ProjectDistortMode mode : kAllModes) {
      const RecordingLog log;
      Canary<2> pixel;
      EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), head.pointOnPrincipalPlane(camera).data(), camera, mode, pixel),
                0);
      EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
      EXPECT_TRUE(pixel.untouched());
    }
  }
}

TEST(qmRTProjectPointtoImage, RefusesACameraThatIsNone) {
  const SampleHead head;
  const Vec3 point = head.point(0, 0, 0);
  for (const std::int32_t camera : {-1, 3, 1000}) {
    const RecordingLog log;
    Canary<2> pixel;
    EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), camera, PROJECT_PINHOLE, pixel), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_TRUE(pixel.untouched());
  }
}

TEST(qmRTProjectPointtoImage, RefusesNullPointsAndPixels) {
  const SampleHead head;
  const Vec3 point = head.point(0, 0, 0);
  double pixel[2];
  const RecordingLog log;
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), nullptr, 0, PROJECT_PINHOLE, pixel), 0);
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 0, PROJECT_PINHOLE, nullptr), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
}

TEST(qmRTProjectPointtoImage, TakesEveryUnknownModeForThePinhole) {
  SampleHead head;
  const Vec3 point = head.point(0.5, 0.5, 0.2);
  const Vec2 truth = head.pinholePixel(point, 0);
  for (const std::int32_t mode : {0, 5, -1, 1000}) {
    double pixel[2];
    ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 0, static_cast<_ProjectDistortMode>(mode), pixel),
              1);
    EXPECT_THAT(pixel[0], Near(truth[0], 1e-8));
    EXPECT_THAT(pixel[1], Near(truth[1], 1e-8));
  }
}

TEST(qmRTProjectPointtoImage, NeverDistortsInPinholeMode) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {0.0F}, 1e9);  // any distortion would fail outside this grid
  const Vec3 point = head.point(0.1, 0.1, 0.1);
  double pixel[2];
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 0, PROJECT_EXACT, pixel), 0);
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 0, PROJECT_PINHOLE, pixel), 1);
  EXPECT_THAT(pixel[0], Near(head.pinholePixel(point, 0)[0], 1e-8));
}

TEST(qmRTProjectPointtoImage, MeasuresTheDepthInTheLutFrame) {
  SampleHead head;
  tag_qmReconsTensorData& tensor = *head.tensor();
  // The LUT frame stands 1000 mm along the world's Y, its Z along the world's X: depth is X.
  const double frame[4][4] = {
      {0.0, 0.0, 1.0, 0.0}, {1.0, 0.0, 0.0, 1000.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 0.0, 1.0}};
  qmMathCopyMat4ToMat4(frame, tensor.lutFrameTransform);
  const WholeImageLuts luts(tensor, {5.0F, 7.0F});
  Vec3 point = head.point(0.0, 0.0, 0.0);
  double pixel[2];
  for (const double x : {5.0, 6.0, 7.0}) {
    point[0] = x;
    EXPECT_EQ(qmRTProjectPointtoImage(&tensor, point.data(), 0, PROJECT_EXACT, pixel), 1) << x;
  }
  for (const double x : {4.9, 7.1}) {
    point[0] = x;
    EXPECT_EQ(qmRTProjectPointtoImage(&tensor, point.data(), 0, PROJECT_EXACT, pixel), 0) << x;
  }
  point[0] = 7.0 + 1e-9;  // rounds to 7 in single precision
  EXPECT_EQ(qmRTProjectPointtoImage(&tensor, point.data(), 0, PROJECT_EXACT, pixel), 1);
}

TEST(qmRTProjectPointtoImage, LeavesThePinholePixelWhenTheExactDistortionFails) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {0.0F}, 1e9);
  const Vec3 point = head.point(0.3, -0.2, 0.1);
  for (const _ProjectDistortMode mode : {PROJECT_EXACT, PROJECT_EXACT_OR_WITHOUT_DEPTH}) {
    const RecordingLog log;
    double pixel[2] = {kNaN, kNaN};
    EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 2, mode, pixel), 0);
    EXPECT_THAT(pixel[0], Near(head.pinholePixel(point, 2)[0], 1e-8));
    EXPECT_THAT(pixel[1], Near(head.pinholePixel(point, 2)[1], 1e-8));
    EXPECT_THAT(log.records(), IsEmpty());
  }
}

TEST(qmRTProjectPointtoImage, TriesTheExactDistortionWithoutDepthInModeThree) {
  SampleHead head;
  const WholeImageLuts luts(*head.tensor(), {5000.0F, 6000.0F});  // no point has such a depth
  const Vec3 point = head.point(0.3, -0.2, 0.1);
  double pixel[2];
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 1, PROJECT_EXACT, pixel), 0);
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 1, PROJECT_EXACT_OR_WITHOUT_DEPTH, pixel), 1);
  EXPECT_THAT(pixel[0], Near(head.pixel(point, 1)[0] + 1.0, 1e-8));
  EXPECT_THAT(pixel[1], Near(head.pixel(point, 1)[1] + 2.0, 1e-8));
}

TEST(qmRTProjectPointtoImage, SucceedsInTheFastModesWhateverTheFastDistortionSays) {
  SampleHead head;
  const Vec3 point = head.point(0.3, -0.2, 0.1);
  const Vec2 polynomial = head.pixel(point, 1);
  const WholeImageLuts luts(*head.tensor(), {5000.0F, 6000.0F});
  double pixel[2];
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 1, PROJECT_FAST, pixel), 1);
  EXPECT_THAT(pixel[0], Near(polynomial[0], 1e-8));
  EXPECT_THAT(pixel[1], Near(polynomial[1], 1e-8));
  EXPECT_EQ(qmRTProjectPointtoImage(head.tensor(), point.data(), 1, PROJECT_FAST_WITHOUT_DEPTH, pixel), 1);
  EXPECT_THAT(pixel[0], Near(polynomial[0] + 1.0, 1e-8));
  EXPECT_THAT(pixel[1], Near(polynomial[1] + 2.0, 1e-8));
}

// --- The in-image test ---------------------------------------------------------------------------------------------

class InImageTest : public ::testing::Test {
 protected:
  InImageTest() {
    // pixel = (X, Y) for a point at Z = 1
    const double P[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
    qmMathCopyMat4ToMat4(P, head_.tensor()->projections[0]);
    head_.tensor()->imageWidth = 1536;
    head_.tensor()->imageHeight = 1024;
  }

  std::int32_t project(double x, double y, std::int32_t test = 1) {
    const double point[3] = {x, y, 1.0};
    return qmRTProjectPointtoImageEnableTestPointInImage(head_.tensor(), point, 0, PROJECT_PINHOLE, test, pixel_);
  }

  SampleHead head_;
  double pixel_[2] = {kNaN, kNaN};
};

TEST_F(InImageTest, AcceptsTheLowEdgeAndRejectsTheHighOne) {
  EXPECT_EQ(project(0.0, 0.0), 1);
  EXPECT_EQ(project(-0.0, -0.0), 1);
  EXPECT_EQ(project(std::nextafter(1536.0, 0.0), std::nextafter(1024.0, 0.0)), 1);
  EXPECT_EQ(project(1536.0, 5.0), 0);
  EXPECT_EQ(project(5.0, 1024.0), 0);
  EXPECT_EQ(project(-1e-12, 5.0), 0);
  EXPECT_EQ(project(5.0, -1e-12), 0);
}

TEST_F(InImageTest, LeavesThePinholePixelAndIsSilent) {
  const RecordingLog log;
  EXPECT_EQ(project(2000.0, 5.0), 0);
  EXPECT_EQ(pixel_[0], 2000.0);
  EXPECT_EQ(pixel_[1], 5.0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(InImageTest, TestsForAFlagOfExactlyOne) {
  for (const std::int32_t flag : {0, 2, -1}) EXPECT_EQ(project(2000.0, 5.0, flag), 1);
}

TEST_F(InImageTest, SeesTheUndistortedPosition) {
  tag_qmDistortParams& params = head_.tensor()->distortParams[0];
  params = {};
  params.distortExtra[0] = 1.0;  // x' = 2 x
  params.distortOption = 1;
  const double point[3] = {1000.0, 5.0, 1.0};
  double pixel[2];
  EXPECT_EQ(qmRTProjectPointtoImageEnableTestPointInImage(head_.tensor(), point, 0, PROJECT_EXACT, 1, pixel), 1);
  EXPECT_EQ(pixel[0], 2000.0);
}

// --- Single-precision points ---------------------------------------------------------------------------------------

TEST(qmRTProjectPointAFtoImage, AgreesWithTheDoubleFormInEveryModeThatSucceeds) {
  auto random = testRandom();
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    const SampleHead head(seed);
    for (int n = 0; n < 20; ++n) {
      const Vec3 wide = head.randomPoint(random);
      const float point[3] = {static_cast<float>(wide[0]), static_cast<float>(wide[1]), static_cast<float>(wide[2])};
      const double same[3] = {static_cast<double>(point[0]), static_cast<double>(point[1]),
                              static_cast<double>(point[2])};
      for (int camera = 0; camera < 3; ++camera) {
        for (const _ProjectDistortMode mode : kAllModes) {
          double single[2];
          double expected[2];
          ASSERT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, camera, mode, single), 1);
          ASSERT_EQ(qmRTProjectPointtoImage(head.tensor(), same, camera, mode, expected), 1);
          EXPECT_THAT(single[0], SameBits(expected[0]));
          EXPECT_THAT(single[1], SameBits(expected[1]));
        }
      }
    }
  }
}

TEST(qmRTProjectPointAFtoImage, FailsLikeTheDoubleFormBeforeTheDistortion) {
  SampleHead head;
  const float point[3] = {0.0F, 0.0F, 0.0F};
  Canary<2> pixel;
  {
    const RecordingLog log;
    EXPECT_EQ(qmRTProjectPointAFtoImage(nullptr, point, 0, PROJECT_PINHOLE, pixel), 0);
    EXPECT_THAT(log.records(), IsEmpty());
  }
  {
    const RecordingLog log;
    const Vec3& onPlane = head.pointOnPrincipalPlane(0);
    const float onPlaneF[3] = {static_cast<float>(onPlane[0]), static_cast<float>(onPlane[1]),
                               static_cast<float>(onPlane[2])};
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), onPlaneF, 0, PROJECT_PINHOLE, pixel), 0);
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 3, PROJECT_PINHOLE, pixel), 0);
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), nullptr, 0, PROJECT_PINHOLE, pixel), 0);
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_PINHOLE, nullptr), 0);
    head.tensor()->projectionsValid = 0;
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_PINHOLE, pixel), 0);
    EXPECT_THAT(log.records(), ::testing::AllOf(SizeIs(5), ::testing::Each(BareTrace(kModule))));
  }
  EXPECT_TRUE(pixel.untouched());
}

TEST(qmRTProjectPointAFtoImage, FailsWithATraceWhenTheProductIsNotFinite) {
  const SampleHead head;
  const RecordingLog log;
  Canary<2> pixel;
  const float point[3] = {std::numeric_limits<float>::infinity(), 0.0F, 0.0F};
  EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_PINHOLE, pixel), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_TRUE(pixel.untouched());
}

TEST(qmRTProjectPointAFtoImage, LooksAtTheFourthRowOfTheProduct) {
  SampleHead head;
  head.tensor()->projections[0][3][0] = std::numeric_limits<double>::infinity();
  const RecordingLog log;
  const float point[3] = {1.0F, 0.0F, 0.0F};
  double pixel[2];
  EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_PINHOLE, pixel), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
}

TEST(qmRTProjectPointAFtoImage, RetriesTheFastDistortionWithoutDepthAndThenFails) {
  SampleHead head;
  const float point[3] = {10.0F, -20.0F, 5.0F};
  const Vec3 wide = {10.0, -20.0, 5.0};
  double pixel[2];
  {
    const WholeImageLuts luts(*head.tensor(), {5000.0F, 6000.0F});
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_FAST, pixel), 1);
    EXPECT_THAT(pixel[0], Near(head.pixel(wide, 0)[0] + 1.0, 1e-6));
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_EXACT, pixel), 0);
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, PROJECT_EXACT_OR_WITHOUT_DEPTH, pixel), 1);
  }
  const WholeImageLuts luts(*head.tensor(), {0.0F}, 1e9);
  for (const _ProjectDistortMode mode : {PROJECT_FAST, PROJECT_FAST_WITHOUT_DEPTH, PROJECT_EXACT}) {
    const RecordingLog log;
    EXPECT_EQ(qmRTProjectPointAFtoImage(head.tensor(), point, 0, mode, pixel), 0);
    EXPECT_THAT(pixel[0], Near(head.pinholePixel(wide, 0)[0], 1e-6));
    EXPECT_THAT(log.records(), IsEmpty());
  }
}

}  // namespace
