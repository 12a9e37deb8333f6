#include "models/Indexing.h"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <limits>

#include "clouds/Points.h"
#include "files/Failure.h"
#include "files/Progress.h"
#include "models/Sight.h"
#include "quelcore/patches/QmPatchHelpers.h"

namespace queltool {

namespace {

bool fewer(const qmPatchBinInfo& a, const qmPatchBinInfo& b) { return a.count < b.count; }

/// Makes the index over the points of `cloud`, and their pixels if it has them.
void makeIndex(IndexedCloud& cloud, std::uint32_t imageWidth, std::uint32_t imageHeight) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  if (cloud.points.size() > kMost) throw Failure(fmt::format("a cloud has at most {} points", kMost));
  qmPatch patch{};
  patch.id.imageWidth = imageWidth;
  patch.id.imageHeight = imageHeight;
  patch.subPatchCount = 1;
  patch.subPatchPoints[0] = static_cast<std::uint32_t>(cloud.points.size());
  patch.pointCount = static_cast<std::int32_t>(cloud.points.size());
  patch.points3D = reinterpret_cast<double(*)[3]>(cloud.points.data());
  if (!cloud.pixels.empty()) patch.points2D = reinterpret_cast<double(*)[2]>(cloud.pixels.data());
  qmvector<qmPatchBinInfo> bins;
  const auto begin = std::chrono::steady_clock::now();
  const bool made = during("sorting into bins", [&] { return QmPatchCreateIndex(&patch, bins); });
  cloud.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  if (!made) throw Failure("the points cannot be indexed: memory is exhausted");
  cloud.bins.assign(bins.begin(), bins.end());
}

}  // namespace

std::uint32_t IndexedCloud::smallestBin() const { return std::min_element(bins.begin(), bins.end(), fewer)->count; }

std::uint32_t IndexedCloud::largestBin() const { return std::max_element(bins.begin(), bins.end(), fewer)->count; }

IndexedCloud indexBySpace(std::vector<Vec3> points) {
  const std::size_t leftOut = removeNotFinite(points);
  if (points.empty()) throw Failure("there are no points to index");
  IndexedCloud cloud{std::move(points), {}, {}, leftOut, 0.0};
  makeIndex(cloud, 0, 0);
  return cloud;
}

IndexedCloud indexByImage(const QmReconsTensor& head, const std::vector<Vec3>& points, std::int32_t camera,
                          _ProjectDistortMode mode) {
  IndexedCloud cloud{};
  const Eye eye(head, camera, mode);
  Progress progress("projecting", points.size());
  for (std::size_t n = 0; n < points.size(); ++n) {
    const Sight sight = eye.see(points[n]);
    if (sight.place == Place::InImage) {
      cloud.points.push_back(points[n]);
      cloud.pixels.push_back(sight.pixel);
    }
    progress.show(n + 1);
  }
  cloud.leftOut = points.size() - cloud.points.size();
  if (cloud.points.empty()) {
    throw Failure(
        fmt::format("none of the {} points lies in the image of camera {}; are they in the head's world frame, "
                    "in millimetres?",
                    points.size(), camera));
  }
  makeIndex(cloud, static_cast<std::uint32_t>(head.imageWidth), static_cast<std::uint32_t>(head.imageHeight));
  return cloud;
}

}  // namespace queltool
