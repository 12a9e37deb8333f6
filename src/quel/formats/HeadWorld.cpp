#include "quel/formats/HeadWorld.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>

#include "quel/cameras/Geometry.h"
#include "quel/cameras/HeadMaker.h"
#include "quel/formats/Poses.h"

namespace quel {

namespace {

using Eigen::Vector3d;

// Images whose upward directions cancel out to less than this do not say where up is.
constexpr double kNoDirection = 0.1;
// Millimetres: cameras whose middle is nearer than this to what they look at look from no side.
constexpr double kNoDistance = 1e-6;

Vector3d vectorOf(const Vec3& v) { return {v[0], v[1], v[2]}; }

// Upward in the images, at right angles to `z`: in all of them taken together or, where these cancel out, in the first.
Vector3d upwards(const std::array<Camera, 3>& cameras, const Vector3d& z) {
  const auto across = [&](const Vector3d& v) -> Vector3d { return v - z * z.dot(v); };
  Vector3d mean = Vector3d::Zero();
  for (const Camera& camera : cameras) mean -= across(vectorOf(camera.rotation[1])) / 3.0;
  return mean.norm() > kNoDirection ? mean : across(-vectorOf(cameras[0].rotation[1]));
}

// The pose of the head's world in the given one; nothing where the cameras look from no side.
std::optional<Pose> headFromWorld(const std::array<Camera, 3>& cameras) {
  const std::array<View, 3> views = {makeView(cameras[0]), makeView(cameras[1]), makeView(cameras[2])};
  const Vector3d centre = nearestToAxes(views, static_cast<Real>(HeadOptions().workingDistance)).cast<double>();
  Vector3d middle = Vector3d::Zero();
  for (const Camera& camera : cameras) middle += vectorOf(centreOf(camera)) / 3.0;
  const double distance = (middle - centre).norm();
  if (!(distance > kNoDistance) || !std::isfinite(distance)) return std::nullopt;
  const Vector3d z = (middle - centre) / distance;
  const Vector3d up = upwards(cameras, z);
  if (!(up.norm() > kNoDirection)) return std::nullopt;
  const Vector3d y = up.normalized();
  const Vector3d x = y.cross(z);
  Pose pose{{{{x[0], x[1], x[2]}, {y[0], y[1], y[2]}, {z[0], z[1], z[2]}}}, {}};
  const Vec3 moved = times(pose.rotation, Vec3{centre[0], centre[1], centre[2]});
  pose.translation = {-moved[0], -moved[1], -moved[2]};
  return pose;
}

Camera inWorld(const Camera& camera, const Pose& worldFromBefore) {
  const Pose pose = after({camera.rotation, camera.translation}, inverse(worldFromBefore));
  Camera moved = camera;
  moved.rotation = pose.rotation;
  moved.translation = pose.translation;
  return moved;
}

std::string millimetres(const Camera& camera) {
  char text[96];
  const Vec3 centre = centreOf(camera);
  std::snprintf(text, sizeof text, "(%.1f, %.1f, %.1f)", centre[0], centre[1], centre[2]);
  return text;
}

}  // namespace

std::string takeHeadsPlace(std::array<Camera, 3>& cameras, bool keepWorld, std::vector<std::string>& remarks) {
  const std::optional<Pose> head = headFromWorld(cameras);
  if (!head) {
    return "the cameras stand in one place, or all around what they look at, and a head looks from one side; check "
           "their poses";
  }
  const auto places = [&](const Camera& camera) { return centreOf(inWorld(camera, *head)); };
  std::stable_sort(cameras.begin(), cameras.end(),
                   [&](const Camera& a, const Camera& b) { return places(a)[1] > places(b)[1]; });
  if (places(cameras[1])[0] > places(cameras[2])[0]) std::swap(cameras[1], cameras[2]);
  if (!keepWorld) {
    for (Camera& camera : cameras) camera = inWorld(camera, *head);
  }
  constexpr const char* kPlaces[] = {"uppermost", "left", "right"};
  for (std::size_t i = 0; i < 3; ++i) {
    remarks.push_back("camera " + std::to_string(i) + " (" + kPlaces[i] + ") is " + cameras[i].name + ", at " +
                      millimetres(cameras[i]) + " mm");
  }
  remarks.emplace_back(
      keepWorld ? "the world is that of the files"
                : "the world is the head's: its origin where the optical axes come closest, Z to the cameras, Y up");
  return {};
}

}  // namespace quel
