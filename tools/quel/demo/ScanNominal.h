// A nominal for a scan that has none: a mesh of a smoothed, thinned copy of it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "files/Values.h"

namespace queltool {

/// Vertices, and facets whose corners go round counter-clockwise as the scanner sees them.
struct ScanMesh {
  std::vector<Vec3> vertices;
  std::vector<std::array<std::uint32_t, 3>> facets;
};

/// The points of `scan`, in the frame of a scanner that looks along -Z with Y up, in cells of its image, `columns` of
/// them across the longer side. A vertex is the mean of the points in the midst of its cell, and then of its
/// neighbours; where the depth jumps nothing is meshed.
ScanMesh nominalOf(const std::vector<Vec3>& scan, std::size_t columns);

/// The mesh as an ascii PLY file.
std::string plyOf(const ScanMesh& mesh);

}  // namespace queltool
