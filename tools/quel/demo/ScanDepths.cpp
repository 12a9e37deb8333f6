#include "demo/ScanDepths.h"

#include <algorithm>
#include <cmath>

namespace queltool {

namespace {

Depths depthsFrom(const double (&camera)[3], const std::vector<Vec3>& points) {
  Depths depths{};
  for (const Vec3& p : points) {
    depths.values.push_back(std::hypot(p[0] - camera[0], p[1] - camera[1], p[2] - camera[2]));
  }
  std::vector<double> sorted = depths.values;
  std::sort(sorted.begin(), sorted.end());
  depths.range = {sorted[sorted.size() / 100], sorted[sorted.size() - 1 - sorted.size() / 100]};
  return depths;
}

}  // namespace

std::array<Depths, 3> depthsOf(const QmReconsTensor& head, const ScanRun& run) {
  return {depthsFrom(head.cameraLocations[0], run.points), depthsFrom(head.cameraLocations[1], run.points),
          depthsFrom(head.cameraLocations[2], run.points)};
}

DepthRange commonRange(const std::array<Depths, 3>& depths) {
  DepthRange all = depths[0].range;
  for (const Depths& each : depths) {
    all.nearest = std::min(all.nearest, each.range.nearest);
    all.farthest = std::max(all.farthest, each.range.farthest);
  }
  all.farthest = std::max(all.farthest, all.nearest + 1e-6);
  return all;
}

}  // namespace queltool
