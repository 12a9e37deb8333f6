#include "quel/formats/Poses.h"

#include <Eigen/Geometry>
#include <cmath>

namespace quel {

namespace {

using Square = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

Square eigen(const Mat3& m) { return Eigen::Map<const Square>(m[0].data()); }

Mat3 plain(const Square& m) {
  Mat3 result{};
  Eigen::Map<Square>(result[0].data()) = m;
  return result;
}

}  // namespace

Vec3 times(const Mat3& m, const Vec3& v) { return {dot(m[0], v), dot(m[1], v), dot(m[2], v)}; }

Mat3 transposed(const Mat3& m) {
  Mat3 result{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) result[i][k] = m[k][i];
  }
  return result;
}

Mat3 times(const Mat3& a, const Mat3& b) {
  const Mat3 columns = transposed(b);
  Mat3 result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = times(columns, a[i]);
  return result;
}

Pose after(const Pose& outer, const Pose& inner) {
  Pose result{times(outer.rotation, inner.rotation), times(outer.rotation, inner.translation)};
  for (std::size_t i = 0; i < 3; ++i) result.translation[i] += outer.translation[i];
  return result;
}

Pose inverse(const Pose& pose) {
  Pose result{transposed(pose.rotation), {}};
  const Vec3 moved = times(result.rotation, pose.translation);
  for (std::size_t i = 0; i < 3; ++i) result.translation[i] = -moved[i];
  return result;
}

Mat3 rotationOfRodrigues(const Vec3& r) {
  const Eigen::Vector3d axis(r.data());
  const double angle = axis.stableNorm();
  if (angle == 0.0) return {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  return plain(Eigen::AngleAxisd(angle, axis / angle).toRotationMatrix());
}

Vec3 rodriguesOf(const Mat3& rotation) {
  const Eigen::AngleAxisd turn(eigen(rotation));
  const Eigen::Vector3d r = turn.angle() * turn.axis();
  return {r[0], r[1], r[2]};
}

Mat3 rotationOfQuaternion(const std::array<double, 4>& q) {
  return plain(Eigen::Quaterniond(q[0], q[1], q[2], q[3]).normalized().toRotationMatrix());
}

std::array<double, 4> quaternionOf(const Mat3& rotation) {
  Eigen::Quaterniond q(Eigen::Matrix3d(eigen(rotation)));
  if (q.w() < 0.0) q.coeffs() *= -1.0;
  return {q.w(), q.x(), q.y(), q.z()};
}

Mat3 matrixOf(std::span<const double> values) {
  Mat3 result{};
  for (std::size_t i = 0; i < 9; ++i) result[i / 3][i % 3] = values[i];
  return result;
}

}  // namespace quel
