// Heads whose cameras have lenses that no polynomial of the head describes.
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "quel/cameras/HeadMaker.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::HasSubstr;

// The cameras of the sample head with `lens` and a focal length for it.
std::array<Camera, 3> camerasWith(const Lens& lens, double focal) {
  std::array<Camera, 3> cameras = SampleHead().cameras();
  for (Camera& camera : cameras) {
    camera.lens = lens;
    camera.fx = focal;
    camera.fy = 1.01 * focal;
    camera.cx += 7.25;
    camera.k1 = camera.k2 = camera.k3 = camera.p1 = camera.p2 = 0.0;
  }
  return cameras;
}

Lens fisheye() { return {LensModel::OpenCvFisheye, {-0.031, 0.0124, -0.0087, 0.0021}, {}}; }

// The largest distance between where the head and the camera's own model see what stands at pixels of the image, at
// any depth.
double largestError(const MadeHead& head, const std::array<Camera, 3>& cameras, int points) {
  std::mt19937_64 random = testRandom();
  double most = 0.0;
  for (int n = 0; n < points; ++n) {
    const Camera& camera = cameras[static_cast<std::size_t>(n) % 3];
    const double x = uniform(random, -0.5, camera.width - 0.5), y = uniform(random, -0.5, camera.height - 0.5);
    const auto ideal = undistortedPixel(camera, {x, y});
    if (!ideal) return HUGE_VAL;
    const float depth = static_cast<float>(uniform(random, -9e5, 9e5));
    const tag_qmDistortParams& params = head.tensor.distortParams[n % 3];
    double seen[2] = {HUGE_VAL, HUGE_VAL}, back[2] = {HUGE_VAL, HUGE_VAL};
    qmDistortDistortOnePt(ideal->data(), &params, &depth, seen);
    most = std::max(most, std::hypot(seen[0] - x, seen[1] - y));
    quelplatform::undistortOnePt(seen, &params, &depth, back);
    most = std::max(most, std::hypot(back[0] - (*ideal)[0], back[1] - (*ideal)[1]));
  }
  return most;
}

// The largest distance between the ideal pixels to which the head and the camera's own model lead back; infinite where
// the head finds none.
double largestErrorBack(const MadeHead& head, const std::array<Camera, 3>& cameras, int points) {
  std::mt19937_64 random = testRandom();
  double most = 0.0;
  for (int n = 0; n < points; ++n) {
    const Camera& camera = cameras[static_cast<std::size_t>(n) % 3];
    const double x = uniform(random, -0.5, camera.width - 0.5), y = uniform(random, -0.5, camera.height - 0.5);
    const auto ideal = undistortedPixel(camera, {x, y});
    if (!ideal) return HUGE_VAL;
    const float depth = 0.0F;
    double back[2] = {x, y};
    if (!quelplatform::undistortOnePt(back, &head.tensor.distortParams[n % 3], &depth, back)) return HUGE_VAL;
    most = std::max(most, std::hypot(back[0] - (*ideal)[0], back[1] - (*ideal)[1]));
  }
  return most;
}

TEST(LensLuts, HoldAFisheyeOverTheWholeImageAtAnyDepth) {
  const auto cameras = camerasWith(fisheye(), 1100.0);
  const auto head = makeHead(cameras);
  ASSERT_TRUE(head.ok()) << head.error().message();
  for (const DistortionFit& fit : head.value().distortion) {
    EXPECT_GT(fit.lutPitch, 1.0);
    EXPECT_LE(fit.maxPx, 0.005);
    EXPECT_GT(fit.maxPx, 0.0005) << "a much coarser grid would do";
    EXPECT_LT(fit.rmsPx, fit.maxPx);
  }
  EXPECT_LE(largestError(head.value(), cameras, 30000), 0.006);
  for (std::size_t i = 0; i < 3; ++i) {
    const tag_qmDistortLuts* luts = head.value().tensor.distortParams[i].luts;
    ASSERT_NE(luts, nullptr);
    EXPECT_EQ(luts->tableCount, 2);
    EXPECT_EQ(luts->layerDepths[0], -1e6F);
    EXPECT_EQ(luts->layerDepths[1], 1e6F);
    EXPECT_EQ(head.value().tensor.distortLutsInfo[i].useLut, 1);
  }
}

TEST(LensLuts, LetTheDoorsProjectAsTheCamerasDo) {
  const auto cameras = camerasWith(fisheye(), 1100.0);
  const auto head = makeHead(cameras);
  ASSERT_TRUE(head.ok()) << head.error().message();
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 300; ++n) {
    const Vec3 point = {uniform(random, -300.0, 300.0), uniform(random, -200.0, 200.0), uniform(random, -200.0, 200.0)};
    for (std::int32_t i = 0; i < 3; ++i) {
      const Camera& camera = cameras[static_cast<std::size_t>(i)];
      double pixel[2] = {HUGE_VAL, HUGE_VAL};
      ASSERT_EQ(qmRTProjectPointtoImage(&head.value().tensor, point.data(), i, PROJECT_EXACT, pixel), 1);
      const Vec2 expected = distortedPixel(camera, idealPixel(camera, point));
      EXPECT_LE(std::hypot(pixel[0] - expected[0], pixel[1] - expected[1]), 0.006);
    }
  }
}

TEST(LensLuts, ServeEveryLensThatTheFitMisses) {
  std::vector<double> surface(2 * 16 * 12);
  std::mt19937_64 random = testRandom();
  for (double& value : surface) value = uniform(random, -0.004, 0.004);
  const std::vector<Lens> lenses = {{LensModel::Stereographic, {}, {}},
                                    {LensModel::SplinedStereographic, surface, {3, 16, 12, 100.0}},
                                    {LensModel::ThinPrismFisheye, {0.01, 0.002, 3e-3, 4e-3, 0, 0, 7e-3, 8e-3}, {}},
                                    {LensModel::Fov, {0.9}, {}}};
  for (const Lens& lens : lenses) {
    const auto cameras = camerasWith(lens, 1300.0);
    const auto head = makeHead(cameras);
    ASSERT_TRUE(head.ok()) << lensModelName(lens.model) << ": " << head.error().message();
    EXPECT_LE(head.value().distortion[0].maxPx, 0.005) << lensModelName(lens.model);
    EXPECT_LE(largestError(head.value(), cameras, 3000), 0.006) << lensModelName(lens.model);
  }
}

TEST(LensLuts, AreNotMadeWhereTheFitIsCloseEnough) {
  Lens lens = {LensModel::OpenCv, std::vector<double>(14, 0.0), {}};
  lens.parameters[0] = -0.05;
  lens.parameters[5] = 1e-3;
  const auto head = makeHead(camerasWith(lens, 5500.0));
  ASSERT_TRUE(head.ok()) << head.error().message();
  EXPECT_FALSE(head.value().distortion[0].exact);
  EXPECT_LE(head.value().distortion[0].maxPx, 0.005);
  EXPECT_EQ(head.value().distortion[0].lutPitch, 0.0);
  EXPECT_EQ(head.value().luts[0], nullptr);
}

TEST(LensLuts, TakeABrownConradyLensOfUnequalFocalLengthsThatTheFitMisses) {
  auto cameras = camerasWith({}, 1300.0);
  for (Camera& camera : cameras) {
    camera.fy = 1450.0;
    camera.k1 = -0.1;
  }
  const auto head = makeHead(cameras);
  ASSERT_TRUE(head.ok()) << head.error().message();
  EXPECT_GT(head.value().distortion[2].lutPitch, 0.0);
  EXPECT_LE(largestError(head.value(), cameras, 3000), 0.006);
}

TEST(LensLuts, KeepTheHeadsOwnPolynomialAsItIs) {
  const Lens lens = {LensModel::HeadPolynomial, {1e-9, -2e-15, 0, 1e-8, -3e-8, 700, 480, 1e-4, 2e-4, 0, 0, 2}, {}};
  const auto head = makeHead(camerasWith(lens, 5500.0));
  ASSERT_TRUE(head.ok()) << head.error().message();
  const tag_qmDistortParams& params = head.value().tensor.distortParams[1];
  EXPECT_TRUE(head.value().distortion[1].exact);
  EXPECT_EQ(params.k1, 1e-9);
  EXPECT_EQ(params.p2, -3e-8);
  EXPECT_EQ(params.xp, 700.0);
  EXPECT_EQ(params.distortExtra[1], 2e-4);
  EXPECT_EQ(params.distortOption, 2);
}

TEST(LensLuts, RefuseRaysTooFarOffTheAxis) {
  const auto head = makeHead(camerasWith(fisheye(), 800.0));
  ASSERT_FALSE(head.ok());
  EXPECT_THAT(head.error().message(), HasSubstr("has rays more than 55 degrees off the optical axis, at pixel ("));
}

TEST(LensLuts, LeadBackToTheIdealPixelNextToAFoldToo) {
  for (const double k1 : {-0.26, -0.286}) {
    Lens lens = {LensModel::OpenCv, std::vector<double>(14, 0.0), {}};
    lens.parameters[0] = k1;  // It folds 1 to 60 pixels beyond the corners.
    lens.parameters[8] = 1e-3;
    const auto cameras = camerasWith(lens, 1300.0);
    const auto head = makeHead(cameras);
    ASSERT_TRUE(head.ok()) << head.error().message();
    EXPECT_LE(largestErrorBack(head.value(), cameras, 30000), 0.006);
  }
}

TEST(LensLuts, RefuseALensThatFoldsOverWithinTheImage) {
  Lens lens = {LensModel::OpenCv, std::vector<double>(14, 0.0), {}};
  lens.parameters[0] = -1.0;
  lens.parameters[8] = 1e-3;
  const auto head = makeHead(camerasWith(lens, 1300.0));
  ASSERT_FALSE(head.ok());
  EXPECT_THAT(head.error().message(), HasSubstr("has a lens that folds over on the way from the principal point"));
}

std::string refusal(const std::array<Camera, 3>& cameras, const HeadOptions& options = {}) {
  const auto head = makeHead(cameras, options);
  return head ? std::string("made") : head.error().message();
}

TEST(EveryLens, IsRefusedWhereItFoldsOverWithinTheImage) {
  const auto brownConrady = [](double k1, double k3) {
    auto cameras = camerasWith({}, 1300.0);
    for (Camera& camera : cameras) {
      camera.fy = camera.fx;
      camera.k1 = k1;
      camera.k3 = k3;
    }
    return cameras;
  };
  const Lens own = {LensModel::HeadPolynomial, {-6e-7, 0, 0, 0, 0, 767.5, 511.5, 0, 0, 0, 0, 1}, {}};
  HeadOptions luts;
  luts.luts = LutOptions{};
  EXPECT_THAT(refusal(brownConrady(0.0, -0.9)), HasSubstr("camera 0 (upper) has a lens that folds over"));
  EXPECT_THAT(refusal(brownConrady(-1.2, 0.0)), HasSubstr("has a lens that folds over"));
  EXPECT_THAT(refusal(brownConrady(-1.2, 0.0), luts), HasSubstr("has a lens that folds over"));
  EXPECT_THAT(refusal(camerasWith(own, 1300.0)), HasSubstr("has a lens that folds over"));
}

TEST(EveryLens, IsRefusedWhereItsRaysStandTooFarOffTheAxis) {
  auto cameras = camerasWith({}, 433.0);
  EXPECT_THAT(refusal(cameras), HasSubstr("camera 0 (upper) has rays more than 55 degrees off the optical axis"));
  for (Camera& camera : cameras) camera.k1 = 1e-4;
  EXPECT_THAT(refusal(cameras), HasSubstr("has rays more than 55 degrees off the optical axis"));
  for (Camera& camera : cameras) camera.fx = camera.fy = 433.0;
  EXPECT_THAT(refusal(cameras), HasSubstr("has rays more than 55 degrees off the optical axis"));
  const Lens own = {LensModel::HeadPolynomial, {1e-9, 0, 0, 0, 0, 767.5, 511.5, 0, 0, 0, 0, 1}, {}};
  EXPECT_THAT(refusal(camerasWith(own, 433.0)), HasSubstr("has rays more than 55 degrees off the optical axis"));
  EXPECT_EQ(refusal(camerasWith({}, 700.0)), "made") << "53 degrees";
}

TEST(LensLuts, RefuseALensThatIsNone) {
  const auto head = makeHead(camerasWith({LensModel::Fov, {}, {}}, 1300.0));
  ASSERT_FALSE(head.ok());
  EXPECT_THAT(head.error().message(), HasSubstr("has no sound lens: a lens \"fov\" has 1 parameters, not 0"));
}

}  // namespace
}  // namespace quel
