#include "quel/formats/HeadWorld.h"

#include <gmock/gmock.h>

#include <cmath>

#include "quel/formats/Poses.h"

namespace quel {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

// A camera at `at` that looks along +z of a world whose y points down, its image turned by `degrees`.
Camera cameraAt(const char* name, const Vec3& at, double degrees = 0.0) {
  const double angle = degrees * std::acos(-1.0) / 180.0;
  const double c = std::cos(angle), s = std::sin(angle);
  Camera camera;
  camera.name = name;
  camera.width = camera.height = 100;
  camera.fx = camera.fy = 100.0;
  camera.rotation = {{{c, -s, 0.0}, {s, c, 0.0}, {0.0, 0.0, 1.0}}};
  const Vec3 moved = times(camera.rotation, at);
  camera.translation = {-moved[0], -moved[1], -moved[2]};
  return camera;
}

std::string namesOf(const std::array<Camera, 3>& cameras) {
  return cameras[0].name + cameras[1].name + cameras[2].name;
}

TEST(HeadWorld, PutsTheUppermostCameraFirstThenTheLeftAndTheRight) {
  std::array<Camera, 3> cameras = {cameraAt("r", {90, 20, 0}), cameraAt("l", {-90, 30, 0}), cameraAt("u", {5, -70, 0})};
  std::vector<std::string> remarks;
  ASSERT_EQ(takeHeadsPlace(cameras, false, remarks), "");
  EXPECT_EQ(namesOf(cameras), "ulr");
  EXPECT_THAT(remarks, Contains(HasSubstr("camera 2 (right) is r, at (")));
  // Axes are parallel: the scene lies the usual distance before the middle of the cameras.
  const Vec3 upper = centreOf(cameras[0]);
  EXPECT_NEAR(upper[0], 5.0 - 5.0 / 3.0, 1e-9);
  EXPECT_NEAR(upper[1], 70.0 - 20.0 / 3.0, 1e-9);
  EXPECT_NEAR(upper[2], 1240.0, 1e-9);
}

TEST(HeadWorld, KeepsTheWorldWhenAskedButNotTheOrder) {
  const Camera upper = cameraAt("u", {5, -70, 0});
  std::array<Camera, 3> cameras = {cameraAt("r", {90, 20, 0}), cameraAt("l", {-90, 30, 0}), upper};
  std::vector<std::string> remarks;
  ASSERT_EQ(takeHeadsPlace(cameras, true, remarks), "");
  EXPECT_EQ(namesOf(cameras), "ulr");
  EXPECT_EQ(cameras[0].translation, upper.translation);
  EXPECT_THAT(remarks, Contains("the world is that of the files"));
}

TEST(HeadWorld, GoesByWhatImagesTurnedAgainstEachOtherHaveInCommon) {
  std::vector<std::string> remarks;
  // Of three directions a quarter turn apart two cancel out, and the third counts.
  std::array<Camera, 3> cameras = {cameraAt("r", {90, 20, 0}, 90), cameraAt("l", {-90, 30, 0}, 270),
                                   cameraAt("u", {5, -70, 0})};
  ASSERT_EQ(takeHeadsPlace(cameras, false, remarks), "");
  EXPECT_EQ(namesOf(cameras), "ulr");
}

TEST(HeadWorld, GoesByTheFirstImageWhereAllCancelOut) {
  std::vector<std::string> remarks;
  std::array<Camera, 3> cameras = {cameraAt("r", {90, 20, 0}, 90), cameraAt("l", {-90, 30, 0}, 210),
                                   cameraAt("u", {5, -70, 0}, 330)};
  ASSERT_EQ(takeHeadsPlace(cameras, false, remarks), "");
  // Up in the first image is the world's -x, where l stands, and left of it is +y.
  EXPECT_EQ(namesOf(cameras), "lru");
}

TEST(HeadWorld, RefusesCamerasThatLookFromNoSide) {
  std::vector<std::string> remarks;
  std::array<Camera, 3> ring = {cameraAt("a", {0, 0, 0}), cameraAt("b", {0, 0, 0}), cameraAt("c", {0, 0, 0})};
  const double third = 2.0 * std::acos(-1.0) / 3.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double c = std::cos(third * static_cast<double>(i)), s = std::sin(third * static_cast<double>(i));
    ring[i].rotation = {{{s, -c, 0.0}, {0.0, 0.0, -1.0}, {c, s, 0.0}}};
    ring[i].translation = {0.0, 0.0, 500.0};
  }
  EXPECT_THAT(takeHeadsPlace(ring, false, remarks),
              HasSubstr("or all around what they look at, and a head looks from one side"));
}

}  // namespace
}  // namespace quel
