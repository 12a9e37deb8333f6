// PCL beside the partition, the index by image cells and the transform, where it is installed.
#pragma once

#include <memory>
#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quel::benchmarks {

/// A cloud in PCL's form: single precision, four floats a point.
class PclCloud {
 public:
  explicit PclCloud(const std::vector<QmVec3>& points);
  ~PclCloud();

  /// An octree whose leaves hold at most `leaf` points; returns the number of leaves.
  std::size_t buildOctree(std::size_t leaf) const;

  /// Centroids of the cells of a grid of side `cell`; returns their number.
  std::size_t voxels(float cell) const;

  /// A rigid transform of every point, in place.
  void transform(const float rows[3][4]);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace quel::benchmarks
