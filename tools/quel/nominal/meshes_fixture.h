// Meshes with known sides, and nearest points computed the long way.
#pragma once

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "nominal/MeshNominal.h"
#include "testing/Numbers.h"

namespace queltool {

using quel::Facet;
using quel::Surface;

inline Surface meshOf(std::vector<Vec3> vertices, std::vector<Facet> facets) {
  Surface surface;
  surface.vertices = std::move(vertices);
  surface.facets = std::move(facets);
  return surface;
}

/// From 0 to 1 along each axis, counter-clockwise from outside.
inline Surface cube() {
  std::vector<Vec3> corners;
  for (int n = 0; n < 8; ++n) corners.push_back({double(n & 1), double(n >> 1 & 1), double(n >> 2 & 1)});
  return meshOf(corners, {{0, 2, 3},
                          {0, 3, 1},
                          {4, 5, 7},
                          {4, 7, 6},
                          {0, 1, 5},
                          {0, 5, 4},
                          {2, 6, 7},
                          {2, 7, 3},
                          {0, 4, 6},
                          {0, 6, 2},
                          {1, 3, 7},
                          {1, 7, 5}});
}

inline std::vector<Nearest> nearestOf(const Nominal& nominal, const std::vector<Vec3>& points) {
  std::vector<Nearest> found(points.size());
  nominal.findNearest(points, found);
  return found;
}

inline Nearest nearestOf(const Nominal& nominal, const Vec3& point) {
  return nearestOf(nominal, std::vector<Vec3>{point})[0];
}

/// Vectors in more digits.
using Long = long double;
using LongVec = std::array<Long, 3>;
inline LongVec longOf(const Vec3& v) {
  return {static_cast<Long>(v[0]), static_cast<Long>(v[1]), static_cast<Long>(v[2])};
}
inline LongVec less(const LongVec& a, const LongVec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Long product(const LongVec& a, const LongVec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline LongVec crossed(const LongVec& a, const LongVec& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline Long distanceToSegment(const LongVec& p, const LongVec& u, const LongVec& v) {
  const LongVec along = less(v, u), from = less(p, u);
  const Long square = product(along, along);
  const Long t = square > 0 ? std::min<Long>(1, std::max<Long>(0, product(along, from) / square)) : 0;
  const LongVec off = {from[0] - t * along[0], from[1] - t * along[1], from[2] - t * along[2]};
  return std::sqrt(product(off, off));
}

/// The least of the distances from the three edges, and from the plane where the foot in it lies inside all of them.
inline Long distanceToTriangle(const LongVec& p, const LongVec& a, const LongVec& b, const LongVec& c) {
  Long least = std::min({distanceToSegment(p, a, b), distanceToSegment(p, b, c), distanceToSegment(p, c, a)});
  const LongVec n = crossed(less(b, a), less(c, a));
  const Long square = product(n, n);
  if (square == 0) return least;
  const auto inside = [&](const LongVec& u, const LongVec& v) {
    return product(crossed(less(v, u), less(p, u)), n) >= 0;
  };
  if (inside(a, b) && inside(b, c) && inside(c, a)) {
    least = std::min(least, std::abs(product(less(p, a), n)) / std::sqrt(square));
  }
  return least;
}

inline double leastDistance(const Surface& surface, const Vec3& point) {
  Long least = std::numeric_limits<Long>::infinity();
  for (const Facet& f : surface.facets) {
    least = std::min(least, distanceToTriangle(longOf(point), longOf(surface.vertices[f[0]]),
                                               longOf(surface.vertices[f[1]]), longOf(surface.vertices[f[2]])));
  }
  return static_cast<double>(least);
}

/// How often a closed mesh winds around a point: the solid angles of its triangles (van Oosterom and Strackee 1983).
inline double windingNumber(const Surface& surface, const Vec3& point) {
  Long sum = 0;
  for (const Facet& f : surface.facets) {
    LongVec v[3];
    Long length[3];
    for (std::size_t k = 0; k < 3; ++k) {
      v[k] = less(longOf(surface.vertices[f[k]]), longOf(point));
      length[k] = std::sqrt(product(v[k], v[k]));
    }
    const Long volume = product(v[0], crossed(v[1], v[2]));
    const Long rest = length[0] * length[1] * length[2] + product(v[0], v[1]) * length[2] +
                      product(v[1], v[2]) * length[0] + product(v[2], v[0]) * length[1];
    sum += 2 * std::atan2(volume, rest);
  }
  return static_cast<double>(sum / (4 * std::acos(Long{-1})));
}

inline std::vector<Vec3> randomPoints(std::mt19937_64& random, std::size_t count, double low, double high) {
  std::vector<Vec3> points;
  for (std::size_t n = 0; n < count; ++n) {
    const double x = quel::testing::uniform(random, low, high), y = quel::testing::uniform(random, low, high);
    points.push_back({x, y, quel::testing::uniform(random, low, high)});
  }
  return points;
}

}  // namespace queltool
