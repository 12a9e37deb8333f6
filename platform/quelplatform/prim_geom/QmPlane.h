// Planes in space.
#pragma once

#include "quelplatform/prim_geom/QmVec3.h"

/// A plane by a normal, of any length but 0, and a point of the plane.
class QmPlane {
 public:
  constexpr QmPlane() = default;

  /// From three coordinates each, the point first.
  constexpr QmPlane(const double* point, const double* normal)
      : normal_(normal[0], normal[1], normal[2]), point_(point[0], point[1], point[2]) {}

  constexpr const QmVec3& normal() const { return normal_; }
  constexpr const QmVec3& point() const { return point_; }

  /// The foot of `p` (three coordinates) on the plane: p - ((p - point) . n / n . n) n. With a normal of length 0 it is
  /// p itself.
  constexpr QmVec3 project(const double* p) const {
    const QmVec3 from(p[0], p[1], p[2]);
    const double square = dot(normal_, normal_);
    return square == 0.0 ? from : from - (dot(from - point_, normal_) / square) * normal_;
  }

 private:
  QmVec3 normal_;
  QmVec3 point_;
};

static_assert(sizeof(QmPlane) == 6 * sizeof(double) && std::is_trivially_copyable_v<QmPlane>);
