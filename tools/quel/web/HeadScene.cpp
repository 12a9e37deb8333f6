#include "web/HeadScene.h"

#include <algorithm>
#include <cmath>

#include "quel/measure/Projection.h"

namespace queltool {
namespace {

Vec3 scaled(const Vec3& origin, const Vec3& direction, double by) {
  return {origin[0] + by * direction[0], origin[1] + by * direction[1], origin[2] + by * direction[2]};
}

double depthOf(const quel::HeadCamera& camera, const Vec3& point) { return dot(camera.R[2], point) + camera.t[2]; }

// R (-centre) = t
Vec3 placeOf(const quel::HeadCamera& camera) {
  Vec3 place{};
  for (std::size_t i = 0; i < 3; ++i) {
    place[i] = -(camera.R[0][i] * camera.t[0] + camera.R[1][i] * camera.t[1] + camera.R[2][i] * camera.t[2]);
  }
  return place;
}

double farthestCorner(const quel::HeadCamera& camera, const Volume& volume) {
  double depth = 0.0;
  for (int corner = 0; corner < 8; ++corner) {
    const auto half = [corner](int bit) { return (corner & bit) == 0 ? -0.5 : 0.5; };
    depth = std::max(depth, depthOf(camera, volume.at({half(1), half(2), half(4)})));
  }
  return depth;
}

// As deep as a camera is shown to see; 0 where nothing tells.
double reachOf(const quel::HeadCamera& camera, const quel::Head& head, const std::optional<Volume>& volume) {
  const tag_qmReconsTensorData& record = head.record();
  const double depths[] = {volume ? farthestCorner(camera, *volume) : 0.0, record.workingDistance,
                           depthOf(camera, {record.worldCentre[0], record.worldCentre[1], record.worldCentre[2]})};
  for (const double depth : depths) {
    if (std::isfinite(depth) && depth > 0.0) return depth;
  }
  return 0.0;
}

// The border of an image, whose corners lie half a pixel beyond the centres of its pixels.
std::vector<Vec2> borderOf(double width, double height) {
  const Vec2 corners[] = {
      {-0.5, -0.5}, {width - 0.5, -0.5}, {width - 0.5, height - 0.5}, {-0.5, height - 0.5}, {-0.5, -0.5}};
  std::vector<Vec2> border;
  for (std::size_t side = 0; side < 4; ++side) {
    for (std::size_t n = 0; n < kRimSteps; ++n) {
      const double share = static_cast<double>(n) / kRimSteps;
      border.push_back({corners[side][0] + share * (corners[side + 1][0] - corners[side][0]),
                        corners[side][1] + share * (corners[side + 1][1] - corners[side][1])});
    }
  }
  return border;
}

bool isWhole(const quel::Result<quel::Rays>& rays) {
  return rays && std::all_of(rays->status.begin(), rays->status.end(), quel::hasValue);
}

// Where the rays of the border reach that depth; a pinhole's where the lens model does not answer for all of it.
void addRim(SceneCamera& seen, const quel::Head& head, const quel::HeadCamera& camera, double depth) {
  if (camera.width <= 0 || camera.height <= 0 || depth == 0.0) return;
  const std::vector<Vec2> border = borderOf(camera.width, camera.height);
  auto rays = quel::rays(head, border, seen.number);
  seen.undistorted = !isWhole(rays);
  if (seen.undistorted) rays = quel::rays(head, border, seen.number, false);
  if (!isWhole(rays)) return;
  for (const Vec3& ray : rays->directions) {
    seen.rim.push_back(scaled(rays->origin, ray, depth / dot(camera.R[2], ray)));
  }
}

}  // namespace

HeadScene sceneOf(const quel::Head& head, const std::optional<Volume>& volume) {
  HeadScene scene{{}, volume, {}};
  for (int number = 0; number < 3; ++number) {
    const auto camera = head.camera(number);
    if (!camera) return {{}, volume, camera.error().message()};
    SceneCamera seen{number, placeOf(*camera), camera->R[0], camera->R[1], camera->R[2], {}, false};
    addRim(seen, head, *camera, reachOf(*camera, head, volume));
    scene.cameras.push_back(std::move(seen));
  }
  return scene;
}

Json jsonOf(const HeadScene& scene) {
  Json cameras = Json::list({});
  for (const SceneCamera& camera : scene.cameras) {
    cameras.add({{"number", camera.number},
                 {"place", camera.place},
                 {"right", camera.right},
                 {"down", camera.down},
                 {"forward", camera.forward},
                 {"rim", camera.rim}});
  }
  Json json = {{"cameras", cameras}, {"rimSteps", kRimSteps}};
  json.set("volume", scene.volume ? Json({{"centre", scene.volume->centre}, {"size", scene.volume->size}}) : Json());
  return json;
}

}  // namespace queltool
