// What fits of points share. Hidden in the library.
#pragma once

#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quelplatform/prim_geom/QmVec3.h"

namespace quel {

inline QmVec3 vectorOf(const Vec3& v) { return {v[0], v[1], v[2]}; }
inline Vec3 arrayOf(const QmVec3& v) { return {v.v[0], v.v[1], v.v[2]}; }

inline std::vector<QmVec3> vectorsOf(std::span<const Vec3> points) {
  static_assert(sizeof(QmVec3) == sizeof(Vec3));
  std::vector<QmVec3> vectors(points.size());
  if (!points.empty()) std::memcpy(vectors.data()->v, points.data(), points.size_bytes());
  return vectors;
}

/// Names the first point that is not finite; success where there is none.
Result<void> refuseNotFinite(std::span<const Vec3> points);

/// Two unit vectors across `direction`, at right angles.
struct Across {
  QmVec3 a;
  QmVec3 b;
};
Across acrossOf(const QmVec3& direction);

/// Sums over the points, about `centre`.
struct Moments {
  double aa;
  double ab;
  double bb;
};
Moments momentsOf(std::span<const Vec3> points, const QmVec3& centre, const Across& axes);

/// variance times the identity.
Mat3 alike(double variance);

/// All NaN.
Mat3 unknown();

}  // namespace quel
