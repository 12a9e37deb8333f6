// Rotations and poses as the formats write them. Hidden in the library. A pose is x_to = R x_from + t.
#pragma once

#include <array>
#include <span>

#include "quel/base/Vectors.h"

namespace quel {

struct Pose {
  Mat3 rotation = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  Vec3 translation = {};
};

Vec3 times(const Mat3& m, const Vec3& v);
Mat3 times(const Mat3& a, const Mat3& b);
Mat3 transposed(const Mat3& m);

/// First `inner`, then `outer`: of a point x, outer (inner x).
Pose after(const Pose& outer, const Pose& inner);

/// The pose that leads back.
Pose inverse(const Pose& pose);

/// The rotation about `r` by its length, radians.
Mat3 rotationOfRodrigues(const Vec3& r);

/// `r` of a rotation, of a length of at most half a turn.
Vec3 rodriguesOf(const Mat3& rotation);

/// The rotation of (w, x, y, z), of any length but 0.
Mat3 rotationOfQuaternion(const std::array<double, 4>& q);

/// (w, x, y, z) of length 1, with w not negative.
std::array<double, 4> quaternionOf(const Mat3& rotation);

/// 3 x 3 numbers, row by row.
Mat3 matrixOf(std::span<const double> values);

}  // namespace quel
