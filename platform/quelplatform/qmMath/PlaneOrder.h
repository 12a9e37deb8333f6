// Exact order and orientation of points seen along a normal.
#pragma once

#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quelplatform {

/// A point by its rounded coordinates in the plane, and its index.
struct FlatPoint {
  double u, v;
  int index;
};

/// Coordinates of points in a plane, and decisions about them that are those of exact arithmetic: a decision is made by
/// the rounded coordinates where their error bound allows, and by `Expansion` otherwise.
class PlaneOrder {
 public:
  /// `points` (finite, at least one) must outlive the object; `normal` is finite and not zero.
  PlaneOrder(const std::vector<QmVec3>& points, const QmVec3& normal);

  /// All points, in the order of their indices.
  std::vector<FlatPoint> flatPoints() const;

  /// Whether the rounded first coordinates tell that `a` comes before `b`, or leave open which of them does.
  static bool surelyBefore(const FlatPoint& a, const FlatPoint& b) { return b.u - a.u > kNear; }

  /// -1, 0 or 1 as point `a` comes before `b`, coincides with it or comes behind it: by the first coordinate, then by
  /// the second.
  int compare(const FlatPoint& a, const FlatPoint& b) const;

  /// 1 when a, b, c turn left about the normal, -1 when they turn right, 0 when they lie on a line.
  int turn(const FlatPoint& a, const FlatPoint& b, const FlatPoint& c) const;

  /// True only when `point` lies inside the polygon of `corners`, which run counter-clockwise, whatever the roundings.
  static bool surelyInside(const FlatPoint& point, const std::vector<FlatPoint>& corners);

 private:
  /// Bound of the error of a rounded coordinate: 6 roundings on products that add up to 32 at most, since distances and
  /// the components of the normal are at most 2 in size.
  static constexpr double kCoordinateError = 0x1p-45;
  static constexpr double kNear = 2.0 * kCoordinateError;

  static double rounding(const FlatPoint& from, const FlatPoint& first, const FlatPoint& second);
  int exactCompare(int a, int b) const;
  int exactTurn(int a, int b, int c) const;
  const QmVec3& point(int i) const { return points_[static_cast<std::size_t>(i)]; }

  const std::vector<QmVec3>& points_;
  double scale_;      // Brings the points' distances to a size of 1.
  double normal_[3];  // Scaled to a size of 1; `axis_` is its smallest component.
  int axis_;
};

}  // namespace quelplatform
