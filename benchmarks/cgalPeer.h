// CGAL beside the fits, the outline and the partition, where it is installed.
#pragma once

#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quel::benchmarks {

struct PeerFeature {
  double axis[3];
  double point[3];
};

PeerFeature planeByCgal(const std::vector<QmVec3>& points);
PeerFeature lineByCgal(const std::vector<QmVec3>& points);

/// The number of corners of the convex hull of the first two coordinates.
std::size_t cornersByCgal(const std::vector<QmVec3>& points);

/// Builds a k-d tree with buckets of at most `leaf` points; returns how many points it holds.
std::size_t treeByCgal(const std::vector<QmVec3>& points, unsigned leaf);

}  // namespace quel::benchmarks
