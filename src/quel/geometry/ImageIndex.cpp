#include "quel/geometry/ImageIndex.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <new>
#include <string>

#include "quel/base/Arrays.h"
#include "quelcore/patches/QmPatchHelpers.h"

namespace quel {

namespace {

bool fewer(const qmPatchBinInfo& a, const qmPatchBinInfo& b) { return a.count < b.count; }

Result<void> refuseTooMany(std::size_t count) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  if (count <= kMost) return {};
  return Error{"a cloud has at most " + std::to_string(kMost) + " points"};
}

// Sorts points, their numbers, and their pixels if they have any.
Result<ImageIndex> sorted(ImageIndex index, std::int32_t imageWidth, std::int32_t imageHeight) {
  qmPatch patch{};
  patch.id.imageWidth = static_cast<std::uint32_t>(imageWidth);
  patch.id.imageHeight = static_cast<std::uint32_t>(imageHeight);
  patch.subPatchCount = 1;
  patch.subPatchPoints[0] = static_cast<std::uint32_t>(index.points.size());
  patch.pointCount = static_cast<std::int32_t>(index.points.size());
  patch.points3D = rowsOf(index.points.data());
  if (!index.pixels.empty()) patch.points2D = rowsOf(index.pixels.data());
  patch.pointValues = index.order.data();
  qmvector<qmPatchBinInfo> bins;
  const auto begin = std::chrono::steady_clock::now();
  if (!QmPatchCreateIndex(&patch, bins)) throw std::bad_alloc();
  index.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  index.bins.assign(bins.begin(), bins.end());
  return index;
}

}  // namespace

Result<ImageIndex> ImageIndex::byImage(const Head& head, std::span<const Vec3> points, int camera, Mode mode,
                                       int threads) {
  if (const auto done = refuseTooMany(points.size()); !done) return done.error();
  const auto seen = project(head, points, camera, mode, threads);
  if (!seen) return seen.error();
  const bool hasSize = head.record().imageWidth > 0 && head.record().imageHeight > 0;
  ImageIndex index;
  for (std::size_t n = 0; n < points.size() && hasSize; ++n) {
    if (seen->status[n] != Status::Ok) continue;
    index.points.push_back(points[n]);
    index.pixels.push_back(seen->pixels[n]);
    index.order.push_back(static_cast<std::int32_t>(n));
  }
  index.leftOut = points.size() - index.points.size();
  if (index.points.empty()) {
    return Error{"none of the " + std::to_string(points.size()) + " points lies in the image of camera " +
                 std::to_string(camera) + "; are they in the head's world frame, in millimetres?"};
  }
  return sorted(std::move(index), head.record().imageWidth, head.record().imageHeight);
}

Result<ImageIndex> ImageIndex::bySpace(std::span<const Vec3> points) {
  if (const auto done = refuseTooMany(points.size()); !done) return done.error();
  ImageIndex index;
  for (std::size_t n = 0; n < points.size(); ++n) {
    const Vec3& p = points[n];
    if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) continue;
    index.points.push_back(p);
    index.order.push_back(static_cast<std::int32_t>(n));
  }
  index.leftOut = points.size() - index.points.size();
  if (index.points.empty()) return Error{"there are no points to index"};
  return sorted(std::move(index), 0, 0);
}

std::uint32_t ImageIndex::smallestBin() const { return std::min_element(bins.begin(), bins.end(), fewer)->count; }

std::uint32_t ImageIndex::largestBin() const { return std::max_element(bins.begin(), bins.end(), fewer)->count; }

}  // namespace quel
