// Nominals in closed form, and clouds on them.
#pragma once

#include <Eigen/Geometry>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include "nominal/Nominal.h"

namespace queltool {

using Eigen::Vector3d;

inline Vector3d vectorOf(const Vec3& v) { return {v[0], v[1], v[2]}; }
inline Vec3 valuesOf(const Vector3d& v) { return {v.x(), v.y(), v.z()}; }

/// A nominal of which each point is found by itself.
class Shape : public Nominal {
 public:
  Shape(double size, std::function<Nearest(const Vector3d&)> nearest, bool sampled = false)
      : size_(size), nearest_(std::move(nearest)), sampled_(sampled) {}

  void findNearest(std::span<const Vec3> points, std::span<Nearest> found) const override {
    std::transform(points.begin(), points.end(), found.begin(), [this](const Vec3& p) {
      if (!vectorOf(p).allFinite()) throw std::invalid_argument("a nominal is asked for what is no place");
      return nearest_(vectorOf(p));
    });
  }
  double size() const override { return size_; }
  std::string title() const override { return "shape"; }
  bool isSampled() const override { return sampled_; }

 private:
  double size_;
  std::function<Nearest(const Vector3d&)> nearest_;
  bool sampled_;
};

inline Nearest known(const Vector3d& foot, const Vector3d& normal, double deviation) {
  return {valuesOf(foot), valuesOf(normal), deviation, Side::Known};
}

inline Shape planeThrough(const Vector3d& place, const Vector3d& normal, double size) {
  return {size, [=](const Vector3d& p) {
            const double d = normal.dot(p - place);
            return known(p - d * normal, normal, d);
          }};
}

inline Shape ball(const Vector3d& centre, double radius) {
  return {2.0 * radius * std::sqrt(3.0), [=](const Vector3d& p) {
            const Vector3d out = (p - centre).normalized();
            return known(centre + radius * out, out, (p - centre).norm() - radius);
          }};
}

/// Round about an axis through `place`, without ends.
inline Shape cylinder(const Vector3d& place, const Vector3d& axis, double radius, double size) {
  return {size, [=](const Vector3d& p) {
            const Vector3d foot = place + axis.dot(p - place) * axis;
            const Vector3d out = (p - foot).normalized();
            return known(foot + radius * out, out, (p - foot).norm() - radius);
          }};
}

/// A prism of `sides` faces without ends along z; what a cylinder is in a mesh.
inline Shape prism(int sides, double radius, double size) {
  return {size, [=](const Vector3d& p) {
            const double step = 2.0 * std::numbers::pi / sides;
            const double face = (std::floor(std::atan2(p.y(), p.x()) / step) + 0.5) * step;
            const Vector3d out(std::cos(face), std::sin(face), 0.0);
            const double d = out.dot(p) - radius;
            return known(p - d * out, out, d);
          }};
}

/// A box about the origin. Its edges and corners have the normals of their faces, summed.
inline Shape box(const Vector3d& half) {
  return {2.0 * half.norm(), [=](const Vector3d& p) {
            const Vector3d foot = p.cwiseMax(-half).cwiseMin(half);
            const Vector3d sides = p.cwiseSign();
            if (foot != p) {
              const Vector3d normal = ((p - foot).array().abs() > 0.0).cast<double>().matrix().cwiseProduct(sides);
              return known(foot, normal.normalized(), (p - foot).norm());
            }
            Eigen::Index axis = 0;
            const double inside = (half - p.cwiseAbs()).minCoeff(&axis);
            Vector3d normal = Vector3d::Zero();
            normal[axis] = sides[axis];
            return known(p + inside * normal, normal, -inside);
          }};
}

/// z = 3 sin(x / 20) cos(y / 15), of which as much counts as lies within 50 of the origin along x and y.
struct Waves {
  static double height(double x, double y) { return 3.0 * std::sin(x / 20.0) * std::cos(y / 15.0); }

  static Vector3d slopes(double x, double y) {
    return {0.15 * std::cos(x / 20.0) * std::cos(y / 15.0), -0.2 * std::sin(x / 20.0) * std::sin(y / 15.0), -1.0};
  }

  static Vector3d normalAt(double x, double y) { return -slopes(x, y).normalized(); }

  // Goes from foot to foot: where the way from the surface to the point stands at right angles to the surface.
  static Nearest nearest(const Vector3d& p) {
    Vector3d foot(p.x(), p.y(), height(p.x(), p.y()));
    for (int n = 0; n < 25; ++n) {
      const Vector3d normal = normalAt(foot.x(), foot.y());
      const Vector3d next = p - normal.dot(p - foot) * normal;
      foot = {next.x(), next.y(), height(next.x(), next.y())};
    }
    const Vector3d normal = normalAt(foot.x(), foot.y());
    return {valuesOf(foot), valuesOf(normal), normal.dot(p - foot),
            std::abs(foot.x()) > 50.0 || std::abs(foot.y()) > 50.0 ? Side::Border : Side::Known};
  }

  static Shape shape() { return {142.0, nearest}; }
};

/// A transform by an axis with a length, of so many degrees, and a shift.
inline Eigen::Isometry3d transformOf(const Vector3d& axis, double degrees, const Vector3d& shift) {
  Eigen::Isometry3d transform = Eigen::Isometry3d::Identity();
  transform.rotate(Eigen::AngleAxisd(degrees * std::numbers::pi / 180.0, axis.normalized()));
  transform.pretranslate(shift);
  return transform;
}

using Points = std::vector<Vec3>;

/// Where `place` of two random numbers from -1 to 1 and a third, normally distributed, leads.
inline Points pointsBy(std::size_t count, const std::function<Vector3d(double, double, double)>& place) {
  std::mt19937_64 random(19);
  std::uniform_real_distribution<double> even(-1.0, 1.0);
  std::normal_distribution<double> normal;
  Points points;
  while (points.size() < count) {
    const double u = even(random);
    const double v = even(random);
    points.push_back(valuesOf(place(u, v, normal(random))));
  }
  return points;
}

inline Points pointsOnWaves(std::size_t count, double noise) {
  return pointsBy(count, [noise](double u, double v, double n) {
    const double x = 45.0 * u;
    const double y = 45.0 * v;
    return Vector3d(Vector3d(x, y, Waves::height(x, y)) + noise * n * Waves::normalAt(x, y));
  });
}

/// Points of all faces of a box, each face as often.
inline Points pointsOnBox(std::size_t count, const Vector3d& half, double noise) {
  std::size_t n = 0;
  return pointsBy(count, [&](double u, double v, double off) {
    const auto axis = static_cast<Eigen::Index>(n / 2 % 3);
    Vector3d p;
    p[axis] = (n % 2 == 0 ? 1.0 : -1.0) * (half[axis] + noise * off);
    p[(axis + 1) % 3] = 0.98 * u * half[(axis + 1) % 3];
    p[(axis + 2) % 3] = 0.98 * v * half[(axis + 2) % 3];
    ++n;
    return p;
  });
}

inline Points moved(Points points, const Eigen::Isometry3d& transform) {
  for (Vec3& point : points) point = valuesOf(transform * vectorOf(point));
  return points;
}

}  // namespace queltool
