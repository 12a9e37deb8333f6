// The faces of a mesh as a reader meets them, cut into triangles. Hidden in the library.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "quel/clouds/Surface.h"

namespace quel {

/// What of a file is wanted: the points alone, or all that makes it a surface.
enum class Parts { Points, Surface };

inline bool isFinite(const Vec3& p) { return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]); }

class Faces {
 public:
  /// Of a file that tells of `vertices` of them.
  explicit Faces(std::uint64_t vertices) : vertices_(vertices) {}

  /// The next corner of the face that is read: the place of its vertex. Throws `Error` where there is none.
  void addCorner(double place);

  /// Behind the corners of a face. Throws `Error` where these are fewer than three.
  void endFace();

  /// Puts the triangles into `surface`, whose vertices are there, with what must be known of them. Throws `Error` where
  /// a corner has a coordinate that is not finite.
  void moveTo(Surface& surface);

 private:
  struct Polygon {
    std::uint32_t facet;  // The first of its triangles.
    std::uint32_t count;
  };

  std::uint64_t vertices_;
  std::uint32_t corners_ = 0;  // Of the face that is read.
  std::uint32_t first_ = 0;
  std::uint32_t last_ = 0;
  std::vector<Facet> facets_;
  std::vector<Polygon> polygons_;  // Of more than three corners.
};

}  // namespace quel
