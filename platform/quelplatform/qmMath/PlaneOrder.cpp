#include "quelplatform/qmMath/PlaneOrder.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/exact/Expansion.h"

namespace quelplatform {

namespace {

double sizeOf(const QmVec3& a) { return std::max({std::abs(a[0]), std::abs(a[1]), std::abs(a[2])}); }

int signOf(double value) { return value < 0.0 ? -1 : value > 0.0 ? 1 : 0; }

double powerOfTwoFor(double size) {
  constexpr int kLargestExponent = 1022;
  return size > 0.0 ? std::ldexp(1.0, std::clamp(-std::ilogb(size), -kLargestExponent, kLargestExponent)) : 1.0;
}

}  // namespace

// With e the world axis of `axis_`: u = (n x e) x n . p = ((n . n) e - (n . e) n) . p and v = (n x e) . p. Neither is
// of unit length, and no decision depends on that.
PlaneOrder::PlaneOrder(const std::vector<QmVec3>& points, const QmVec3& normal) : points_(points), axis_(0) {
  double half = 0.0;  // Half a distance never overflows.
  for (const QmVec3& p : points) half = std::max(half, sizeOf(0.5 * p - 0.5 * points.front()));
  scale_ = 0.5 * powerOfTwoFor(half);
  const double normalScale = powerOfTwoFor(sizeOf(normal));
  for (int i = 0; i < 3; ++i) normal_[i] = normal[i] * normalScale;
  for (int i = 1; i < 3; ++i) {
    if (std::abs(normal_[i]) < std::abs(normal_[axis_])) axis_ = i;
  }
}

std::vector<FlatPoint> PlaneOrder::flatPoints() const {
  const QmVec3 n(normal_);
  QmVec3 e;
  e[axis_] = 1.0;
  const QmVec3 second = cross(n, e);
  const QmVec3 first = cross(second, n);
  const QmVec3 start = scale_ * points_.front();
  std::vector<FlatPoint> flat;
  flat.reserve(points_.size());
  for (const QmVec3& p : points_) {
    const QmVec3 from = scale_ * p - start;
    flat.push_back({dot(first, from), dot(second, from), static_cast<int>(flat.size())});
  }
  return flat;
}

int PlaneOrder::compare(const FlatPoint& a, const FlatPoint& b) const {
  const double along = a.u - b.u;
  return std::abs(along) > kNear ? signOf(along) : exactCompare(a.index, b.index);
}

int PlaneOrder::exactCompare(int a, int b) const {
  if (point(a) == point(b)) return 0;  // many may be one and the same
  const int j = (axis_ + 1) % 3;
  const int k = (axis_ + 2) % 3;
  const auto off = [&](int i) { return Expansion::difference(point(a)[i] * scale_, point(b)[i] * scale_); };
  const Expansion offJ = off(j);
  const Expansion offK = off(k);
  const Expansion nj(normal_[j]);
  const Expansion nk(normal_[k]);
  const Expansion mine = (nj * nj + nk * nk) * off(axis_);
  const int first = (mine - (offJ * normal_[j] + offK * normal_[k]) * normal_[axis_]).sign();
  return first != 0 ? first : (offJ * normal_[k] - offK * normal_[j]).sign();
}

double PlaneOrder::rounding(const FlatPoint& from, const FlatPoint& first, const FlatPoint& second) {
  const double sum = (std::abs(first.u - from.u) + std::abs(first.v - from.v)) +
                     (std::abs(second.u - from.u) + std::abs(second.v - from.v));
  // Half of it are the products of coordinates and errors. The rest outweighs those of two errors, 8 e^2 at most, for
  // all areas that exceed it: an area is at most sum^2 / 4, so the sum is then above 16 e.
  return 4.0 * kCoordinateError * sum;
}

int PlaneOrder::turn(const FlatPoint& a, const FlatPoint& b, const FlatPoint& c) const {
  const double area = (b.u - a.u) * (c.v - a.v) - (b.v - a.v) * (c.u - a.u);
  return std::abs(area) > rounding(a, b, c) ? signOf(area) : exactTurn(a.index, b.index, c.index);
}

int PlaneOrder::exactTurn(int a, int b, int c) const {
  Expansion n[3];
  Expansion first[3];
  Expansion second[3];
  for (int i = 0; i < 3; ++i) {
    n[i] = Expansion(normal_[i]);
    first[i] = Expansion::difference(point(b)[i] * scale_, point(a)[i] * scale_);
    second[i] = Expansion::difference(point(c)[i] * scale_, point(a)[i] * scale_);
  }
  return tripleSign(n, first, second);
}

bool PlaneOrder::surelyInside(const FlatPoint& point, const std::vector<FlatPoint>& corners) {
  if (corners.size() < 3) return false;
  const FlatPoint* from = &corners.back();
  for (const FlatPoint& to : corners) {
    const double area = (to.u - from->u) * (point.v - from->v) - (to.v - from->v) * (point.u - from->u);
    if (!(area > rounding(*from, to, point))) return false;
    from = &to;
  }
  return true;
}

}  // namespace quelplatform
