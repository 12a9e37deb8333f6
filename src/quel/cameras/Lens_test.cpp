#include "quel/cameras/Lens.h"

#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <random>

#include "quel/cameras/CameraFile.h"
#include "quel/cameras/LensInverse.h"
#include "testing/Numbers.h"
#include "testing/PeerFigures.h"

namespace quel {
namespace {

using nlohmann::json;
using quel::testing::figuresOfPeers;
using quel::testing::testRandom;
using quel::testing::uniform;

constexpr double kDegree = std::numbers::pi / 180.0;

// A camera at the origin with the intrinsics and the lens of an entry of the figures.
Camera cameraOf(const json& intrinsics, const json& distortion) {
  json camera = intrinsics;
  camera.update({{"width", 1312}, {"height", 980}, {"distortion", distortion}, {"translation", {0, 0, 0}}});
  camera["rotation"] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const auto cameras = parseCameraList(json{{"cameras", {camera}}}.dump());
  EXPECT_TRUE(cameras.ok()) << cameras.error().message();
  return cameras.value().front();
}

Camera withLens(const Lens& lens) {
  Camera camera;
  camera.width = 1312;
  camera.height = 980;
  camera.fx = 812.5;
  camera.fy = 798.25;
  camera.cx = 655.75;
  camera.cy = 489.5;
  camera.rotation = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  camera.lens = lens;
  return camera;
}

// Where the camera sees the normalised position (x, y), in units of the focal length about the principal point.
Vec2 bentBy(const Lens& lens, double x, double y) {
  const Camera c = withLens(lens);
  const Vec2 pixel = distortedPixel(c, idealPixel(c, {x, y, 1.0}));
  return {(pixel[0] - c.cx) / c.fx, (pixel[1] - c.cy) / c.fy};
}

double distance(const Vec2& a, const Vec2& b) { return std::hypot(a[0] - b[0], a[1] - b[1]); }

TEST(Lens, SeesWhatThePeersSee) {
  for (const std::string& text : figuresOfPeers(QUEL_PEERS, "lenses")) {
    const json figures = json::parse(text);
    ASSERT_EQ(figures.size(), 15u);
    for (const json& figure : figures) {
      const Camera camera = cameraOf(figure["camera"], figure["distortion"]);
      double most = 0.0;
      for (std::size_t n = 0; n < figure["points"].size(); ++n) {
        const Vec2 seen = distortedPixel(camera, idealPixel(camera, figure["points"][n].get<Vec3>()));
        most = std::max(most, distance(seen, figure["pixels"][n].get<Vec2>()));
      }
      EXPECT_EQ(figure["points"].size(), 60u);
      EXPECT_LE(most, 2e-12) << figure["peer"];
    }
  }
}

TEST(Lens, TakesItsModelFromTheDirectionOfTheRayAlone) {
  const Lens lens = {LensModel::OpenCvFisheye, {0.0, 0.0, 0.0, 0.0}, {}};
  for (const double degrees : {0.0, 10.0, 45.0, 54.0}) {
    const Vec2 seen = bentBy(lens, std::tan(degrees * kDegree), 0.0);
    EXPECT_NEAR(seen[0], degrees * kDegree, 1e-15);
    EXPECT_EQ(seen[1], 0.0);
  }
}

// (x', y') = atan(2 r tan(omega / 2)) / (r omega) (x, y), by hand for omega = 90 degrees: 2 tan(omega / 2) = 2.
TEST(Lens, OfOneFieldOfViewFollowsItsFormula) {
  const double omega = 0.5 * std::numbers::pi;
  const Vec2 seen = bentBy({LensModel::Fov, {omega}, {}}, 0.3, 0.4);
  const double scale = std::atan(1.0) / (0.5 * omega);
  EXPECT_NEAR(seen[0], 0.3 * scale, 1e-15);
  EXPECT_NEAR(seen[1], 0.4 * scale, 1e-15);
}

TEST(Lens, OfOneFieldOfViewIsSteadyNextToItsAxisAndForASmallField) {
  for (const double omega : {0.009999, 0.010001, 0.9}) {
    const double slope = 2.0 * std::tan(0.5 * omega) / omega;
    for (const double r : {0.0, 1e-7, 4e-5, 2e-4}) {
      const double exact = r * slope * (1.0 - slope * slope * omega * omega * r * r / 3.0);
      EXPECT_NEAR(bentBy({LensModel::Fov, {omega}, {}}, r, 0.0)[0], exact, 2e-12) << omega << ' ' << r;
    }
  }
}

// u = theta (x, y) / r; with (x, y) = tan(0.5) (0.6, 0.8) that is (0.3, 0.4), t = 0.25.
TEST(Lens, WithThinPrismsOnAFisheyeFollowsItsFormula) {
  const Lens lens = {LensModel::ThinPrismFisheye, {0.1, 0.02, 0.003, 0.004, 0.005, 0.006, 0.007, 0.008}, {}};
  const double r = std::tan(0.5), t = 0.25;
  const Vec2 seen = bentBy(lens, 0.6 * r, 0.8 * r);
  const double radial = 1.0 + 0.1 * t + 0.02 * t * t + 0.005 * t * t * t + 0.006 * t * t * t * t;
  EXPECT_NEAR(seen[0], 0.3 * radial + 2.0 * 0.003 * 0.12 + 0.004 * (t + 0.18) + 0.007 * t, 1e-15);
  EXPECT_NEAR(seen[1], 0.4 * radial + 2.0 * 0.004 * 0.12 + 0.003 * (t + 0.32) + 0.008 * t, 1e-15);
}

TEST(Lens, OfTheHeadItselfWorksInPixels) {
  Lens lens = {LensModel::HeadPolynomial, {1e-8, 0, 0, 0, 0, 600, 500, 0.01, 0, 0, 0, 1}, {}};
  const Camera camera = withLens(lens);
  // 100 px right of (600, 500): r2 = 1e4, so 100 (1 + 1e-4 + 0.01).
  EXPECT_NEAR(distortedPixel(camera, {700, 500})[0], 700.0 + 0.01 + 1.0, 1e-12);
  lens.parameters[11] = 2.0;
  const Vec2 seen = distortedPixel(withLens(lens), {701.01, 500});
  EXPECT_NEAR(seen[0], 700.0, 1e-9);
}

const std::vector<Lens>& someLenses() {
  static const std::vector<Lens> lenses = {
      {LensModel::OpenCv,
       {-0.21, 0.083, 1e-3, -8e-4, 0.012, 0.11, -0.034, 0.002, 1e-3, -4e-4, -7e-4, 2e-4, 0.02, -0.03},
       {}},
      {LensModel::OpenCvFisheye, {-0.031, 0.0124, -0.0087, 0.0021}, {}},
      {LensModel::Stereographic, {}, {}},
      {LensModel::Cahvor, {0.0123, -0.0217, 0.0052, -0.081, 0.023}, {}},
      {LensModel::Fov, {0.9}, {}},
      {LensModel::ThinPrismFisheye, {0.01, 0.002, 3e-4, 4e-4, 5e-4, 6e-4, 7e-4, 8e-4}, {}},
      {LensModel::HeadPolynomial, {-2e-8, 1e-15, 0, 1e-7, -2e-7, 650, 490, 1e-3, 1e-4, 0, 0, 1}, {}},
      {LensModel::BrownConrady, {}, {}}};
  return lenses;
}

TEST(UndistortedPixel, IsTheOneThatTheLensTakesToThePixel) {
  std::mt19937_64 random = testRandom();
  for (const Lens& lens : someLenses()) {
    const Camera camera = withLens(lens);
    for (int n = 0; n < 200; ++n) {
      const double x = uniform(random, 60.0, 1250.0);
      const double y = uniform(random, 50.0, 930.0);
      const auto ideal = undistortedPixel(camera, {x, y});
      ASSERT_TRUE(ideal) << lensModelName(lens.model) << ' ' << x << ' ' << y;
      EXPECT_LE(distance(distortedPixel(camera, *ideal), {x, y}), 1e-9) << lensModelName(lens.model);
    }
  }
}

// r (1 - r2 / 3) turns back at r = 1, 2/3 of the focal length off the axis.
TEST(UndistortedPixel, EndsWhereTheLensFoldsOver) {
  const Camera camera = withLens({LensModel::OpenCv, {-1.0 / 3.0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {}});
  const auto at = [&](double r) { return Vec2{camera.cx + r * camera.fx, camera.cy}; };
  EXPECT_EQ(undoLens(camera, at(0.66)).end, UndoneLens::End::Reached);
  EXPECT_EQ(undoLens(camera, at(0.67)).end, UndoneLens::End::Folds);
  EXPECT_EQ(undistortedPixel(camera, at(-0.67)), std::nullopt);
  EXPECT_TRUE(oneToOneAt(camera, at(0.99)));
  EXPECT_FALSE(oneToOneAt(camera, at(1.01)));
}

TEST(UndistortedPixel, EndsFiftyFiveDegreesOffTheAxis) {
  const Camera camera = withLens({LensModel::OpenCvFisheye, {0, 0, 0, 0}, {}});
  const auto at = [&](double degrees) { return Vec2{camera.cx, camera.cy - degrees * kDegree * camera.fy}; };
  EXPECT_EQ(undoLens(camera, at(54.9)).end, UndoneLens::End::Reached);
  EXPECT_EQ(undoLens(camera, at(55.1)).end, UndoneLens::End::TooWide);
  EXPECT_EQ(undistortedPixel(camera, at(100.0)), std::nullopt);
}

TEST(WhyNoLens, SaysWhatIsWrong) {
  EXPECT_EQ(whyNoLens({}), "");
  EXPECT_EQ(whyNoLens({LensModel::Fov, {}, {}}), "a lens \"fov\" has 1 parameters, not 0");
  EXPECT_EQ(whyNoLens({LensModel::Fov, {HUGE_VAL}, {}}), "a parameter of the lens is not finite");
  const std::vector<double> points(2 * 4 * 5, 0.0);
  EXPECT_EQ(whyNoLens({LensModel::SplinedStereographic, points, {3, 5, 4, 90.0}}), "");
  EXPECT_EQ(whyNoLens({LensModel::SplinedStereographic, points, {3, 4, 4, 90.0}}),
            "a lens \"splined-stereographic\" has 32 parameters, not 40");
  EXPECT_THAT(whyNoLens({LensModel::SplinedStereographic, points, {4, 5, 4, 90.0}}), ::testing::HasSubstr("order"));
  EXPECT_THAT(whyNoLens({LensModel::SplinedStereographic, points, {3, 3, 4, 90.0}}), ::testing::HasSubstr("4 to 1000"));
  EXPECT_THAT(whyNoLens({LensModel::SplinedStereographic, points, {3, 5, 4, 360.0}}), ::testing::HasSubstr("degrees"));
}

TEST(LensModels, AreFoundByTheirNames) {
  for (const LensModel model : lensModels()) EXPECT_EQ(lensModelNamed(lensModelName(model)), model);
  EXPECT_EQ(lensModelNamed("omni"), std::nullopt);
}

TEST(TextOfCameras, KeepsEveryBitOfEveryLens) {
  std::mt19937_64 random = testRandom();
  std::vector<Camera> cameras;
  std::vector<Lens> lenses = someLenses();
  lenses.push_back({LensModel::SplinedStereographic, std::vector<double>(2 * 4 * 5, 0.1), {2, 5, 4, 90.25}});
  for (const Lens& lens : lenses) {
    Camera camera = withLens(lens);
    camera.name = "a \"name\" \xC3\xA9";
    camera.skew = uniform(random, -1.0, 1.0);
    if (lens.model == LensModel::BrownConrady) camera.k1 = uniform(random, -1.0, 1.0), camera.p2 = 1e-300;
    for (double& p : camera.lens.parameters) p = p == 1.0 ? p : uniform(random, -1.0, 1.0) / 3.0;
    camera.translation = {1.0 / 3.0, -0.0, 4e9};
    cameras.push_back(camera);
  }
  const auto again = parseCameraList(textOfCameras(cameras));
  ASSERT_TRUE(again.ok()) << again.error().message();
  ASSERT_EQ(again.value().size(), cameras.size());
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const Camera& a = cameras[i];
    const Camera& b = again.value()[i];
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.lens.model, b.lens.model);
    EXPECT_EQ(a.lens.parameters, b.lens.parameters);
    EXPECT_EQ(a.lens.grid.fovDegrees, b.lens.grid.fovDegrees);
    EXPECT_EQ(std::vector({a.fx, a.fy, a.cx, a.cy, a.skew, a.k1, a.p2}),
              std::vector({b.fx, b.fy, b.cx, b.cy, b.skew, b.k1, b.p2}));
    EXPECT_EQ(a.rotation, b.rotation);
    EXPECT_EQ(a.translation, b.translation);
    EXPECT_TRUE(std::signbit(b.translation[1]));
  }
  EXPECT_EQ(textOfCameras(again.value()), textOfCameras(cameras));
}

}  // namespace
}  // namespace quel
