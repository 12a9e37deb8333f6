// Points and vectors in space.
#pragma once

#include <cmath>
#include <type_traits>

/// Three doubles without padding, so that an array of them is an array of triples: `points.data()->v` serves where
/// `const double (*)[3]` coordinates are walked one by one. A new one is (0, 0, 0).
class QmVec3 {
 public:
  double v[3] = {};

  constexpr QmVec3() = default;
  constexpr QmVec3(double x, double y, double z) : v{x, y, z} {}
  explicit constexpr QmVec3(const double (&triple)[3]) : v{triple[0], triple[1], triple[2]} {}

  constexpr double x() const { return v[0]; }
  constexpr double y() const { return v[1]; }
  constexpr double z() const { return v[2]; }
  constexpr double operator[](int axis) const { return v[axis]; }
  constexpr double& operator[](int axis) { return v[axis]; }

  constexpr QmVec3& operator+=(const QmVec3& b) {
    v[0] += b.v[0];
    v[1] += b.v[1];
    v[2] += b.v[2];
    return *this;
  }
  constexpr QmVec3& operator-=(const QmVec3& b) {
    v[0] -= b.v[0];
    v[1] -= b.v[1];
    v[2] -= b.v[2];
    return *this;
  }
  constexpr QmVec3& operator*=(double s) {
    v[0] *= s;
    v[1] *= s;
    v[2] *= s;
    return *this;
  }
  /// Divides each coordinate; no reciprocal is taken.
  constexpr QmVec3& operator/=(double s) {
    v[0] /= s;
    v[1] /= s;
    v[2] /= s;
    return *this;
  }

  friend constexpr QmVec3 operator+(QmVec3 a, const QmVec3& b) { return a += b; }
  friend constexpr QmVec3 operator-(QmVec3 a, const QmVec3& b) { return a -= b; }
  friend constexpr QmVec3 operator-(const QmVec3& a) { return {-a.v[0], -a.v[1], -a.v[2]}; }
  friend constexpr QmVec3 operator*(QmVec3 a, double s) { return a *= s; }
  friend constexpr QmVec3 operator*(double s, QmVec3 a) { return a *= s; }
  friend constexpr QmVec3 operator/(QmVec3 a, double s) { return a /= s; }
  friend constexpr bool operator==(const QmVec3&, const QmVec3&) = default;
};

static_assert(sizeof(QmVec3) == 3 * sizeof(double) && std::is_trivially_copyable_v<QmVec3>);

/// a.x b.x + a.y b.y + a.z b.z, summed from left to right.
constexpr double dot(const QmVec3& a, const QmVec3& b) { return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2]; }

constexpr QmVec3 cross(const QmVec3& a, const QmVec3& b) {
  return {a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0]};
}

inline double length(const QmVec3& a) { return std::sqrt(dot(a, a)); }

/// The vector divided by its length; a vector of length 0 stays as it is.
inline QmVec3 unit(const QmVec3& a) {
  const double size = length(a);
  return size == 0.0 ? a : a / size;
}
