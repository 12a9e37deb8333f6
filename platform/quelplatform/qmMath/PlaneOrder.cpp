#include "quelplatform/qmMath/PlaneOrder.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/qmMath/exact/Expansion.h"

namespace quelplatform {

namespace {

/// Bound of the error of a rounded coordinate: 6 roundings on products that add up to 32 at most, since distances and
/// the components of the normal are at most 2 in size.
constexpr double kCoordinateError = 0x1p-45;

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
  const QmVec3 n(normal_);
  QmVec3 e;
  e[axis_] = 1.0;
  const QmVec3 second = cross(n, e);
  const QmVec3 first = cross(second, n);
  flat_.reserve(points.size());
  for (const QmVec3& p : points) {
    const QmVec3 from = scale_ * p - scale_ * points.front();
    flat_.push_back({dot(first, from), dot(second, from)});
  }
}

int PlaneOrder::compare(int a, int b) const {
  const double along = flat(a).u - flat(b).u;
  return std::abs(along) > 2.0 * kCoordinateError ? signOf(along) : exactCompare(a, b);
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

double PlaneOrder::rounding(const Flat& from, const Flat& first, const Flat& second) const {
  const double sum = (std::abs(first.u - from.u) + std::abs(first.v - from.v)) +
                     (std::abs(second.u - from.u) + std::abs(second.v - from.v));
  // Half of it are the products of coordinates and errors. The rest outweighs those of two errors, 8 e^2 at most, for
  // all areas that exceed it: an area is at most sum^2 / 4, so the sum is then above 16 e.
  return 4.0 * kCoordinateError * sum;
}

int PlaneOrder::turn(int a, int b, int c) const {
  const Flat& from = flat(a);
  const Flat& first = flat(b);
  const Flat& second = flat(c);
  const double area = (first.u - from.u) * (second.v - from.v) - (first.v - from.v) * (second.u - from.u);
  return std::abs(area) > rounding(from, first, second) ? signOf(area) : exactTurn(a, b, c);
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

std::vector<int> PlaneOrder::outermost(int count) const {
  constexpr double kDirections[8][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  std::array<int, 8> best{};
  std::array<double, 8> farthest{};
  farthest.fill(-std::numeric_limits<double>::infinity());
  for (int i = 0; i < count; ++i) {
    for (std::size_t d = 0; d < 8; ++d) {
      const double reach = kDirections[d][0] * flat(i).u + kDirections[d][1] * flat(i).v;
      if (reach <= farthest[d]) continue;
      farthest[d] = reach;
      best[d] = i;
    }
  }
  std::vector<int> corners;
  for (const int corner : best) {
    if (std::find(corners.begin(), corners.end(), corner) == corners.end()) corners.push_back(corner);
  }
  return corners;
}

bool PlaneOrder::surelyInside(int i, const std::vector<int>& corners) const {
  if (corners.size() < 3) return false;
  for (std::size_t k = 0; k < corners.size(); ++k) {
    const Flat& from = flat(corners[k]);
    const Flat& to = flat(corners[(k + 1) % corners.size()]);
    const double area = (to.u - from.u) * (flat(i).v - from.v) - (to.v - from.v) * (flat(i).u - from.u);
    if (!(area > rounding(from, to, flat(i)))) return false;
  }
  return true;
}

}  // namespace quelplatform
