// Exact order and orientation of points seen along a normal.
#pragma once

#include <array>
#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"

namespace quelplatform {

/// Coordinates of points in a plane, and decisions about them that are those of exact arithmetic: a decision is made by
/// the rounded coordinates where their error bound allows, and by `Expansion` otherwise.
class PlaneOrder {
 public:
  /// `points` (finite, at least one) must outlive the object; `normal` is finite and not zero.
  PlaneOrder(const std::vector<QmVec3>& points, const QmVec3& normal);

  /// -1, 0 or 1 as point `a` comes before `b`, coincides with it or comes behind it: by the first coordinate, then by
  /// the second.
  int compare(int a, int b) const;

  /// 1 when a, b, c turn left about the normal, -1 when they turn right, 0 when they lie on a line.
  int turn(int a, int b, int c) const;

  /// Indices of the outermost of the first `count` points in eight directions, counter-clockwise, each once.
  std::vector<int> outermost(int count) const;

  /// True only when point `i` lies inside the polygon of `corners` whatever the roundings.
  bool surelyInside(int i, const std::vector<int>& corners) const;

 private:
  struct Flat {
    double u, v;
  };

  double rounding(const Flat& from, const Flat& first, const Flat& second) const;
  int exactCompare(int a, int b) const;
  int exactTurn(int a, int b, int c) const;
  const QmVec3& point(int i) const { return points_[static_cast<std::size_t>(i)]; }
  const Flat& flat(int i) const { return flat_[static_cast<std::size_t>(i)]; }

  const std::vector<QmVec3>& points_;
  double scale_;      // Brings the points' distances to a size of 1.
  double normal_[3];  // Scaled to a size of 1; `axis_` is its smallest component.
  int axis_;
  std::vector<Flat> flat_;
};

}  // namespace quelplatform
