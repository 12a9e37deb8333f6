// nanoflann's k-d tree beside the partition, where it is installed.
#pragma once

#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quel::benchmarks {

/// Builds a tree with leaves of at most `leaf` points; returns the memory that it takes.
std::size_t buildByNanoflann(const std::vector<QmVec3>& points, std::size_t leaf);

}  // namespace quel::benchmarks
