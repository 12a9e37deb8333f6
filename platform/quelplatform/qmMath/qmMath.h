// Transforms, small matrices and point arrays.
//
// Points are three doubles, image positions two, matrices row-major. R p + t is computed per row as
// ((r0 x + r1 y) + r2 z) + t; matrix products sum from left to right. Calls that return a result return 1, or 0 when
// the result is not finite (it is written all the same) or the operation says so. Input and output may be the same
// object. Nothing here throws; everything may be called from several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

/// A rigid transform: x -> rotation x + translation.
struct qmMathTransform {
  double rotation[3][3];
  double translation[3];
};

/// Sets the identity.
QUELPLATFORM_API void qmMathIdTransformCreate(qmMathTransform* transform) noexcept;

/// The rigid transform that `matrix` holds: its left 3x3 block and the first three entries of its fourth column.
QUELPLATFORM_API std::int32_t qmMathTransformFromMat4(const double matrix[4][4], qmMathTransform* transform) noexcept;

/// [R | t] over (0, 0, 0, 1).
QUELPLATFORM_API void qmMathTransform2Mat4(const qmMathTransform* transform, double matrix[4][4]) noexcept;

/// The rigid inverse (Rt, -(Rt t)).
QUELPLATFORM_API std::int32_t qmMathTransformInv(const qmMathTransform* transform, qmMathTransform* inverse) noexcept;

/// result = a b, which transforms by b first: (Ra Rb, Ra tb + ta).
QUELPLATFORM_API std::int32_t qmMathTransformMultTransform(const qmMathTransform* a, const qmMathTransform* b,
                                                           qmMathTransform* result) noexcept;

/// out = R in + t.
QUELPLATFORM_API std::int32_t qmMathTransformVec3(const qmMathTransform* transform, const double in[3],
                                                  double out[3]) noexcept;

/// out = R in + t for a single-precision point; the arithmetic is that of `qmMathTransformVec3`.
QUELPLATFORM_API std::int32_t qmMathTransformVecAF(const qmMathTransform* transform, const float in[3],
                                                   double out[3]) noexcept;

/// The rotation about the fixed axes X, Y, Z, in this order, by `ax`, `ay`, `az` radians: R = Rz Ry Rx, computed as
/// (Rz Ry) Rx, so that with c = cos and s = sin of the angles
///
///   cz cy    (cz sy) sx - sz cx    (cz sy) cx + sz sx
///   sz cy    (sz sy) sx + cz cx    (sz sy) cx - cz sx
///    -sy            cy sx                 cy cx
QUELPLATFORM_API std::int32_t qmMathRotationMatCreate(double ax, double ay, double az, double rotation[3][3]) noexcept;

/// Inverse of a 3x3 matrix: cofactors over determinant, computed in doubled precision and rounded once, so that the
/// entries are right to a unit in the last place up to condition numbers of about 1e14. Rows and columns are scaled by
/// powers of two beforehand: no digit changes, and a determinant beyond the range of a double does no harm. Returns 0,
/// with `inverse` untouched, when an entry is not finite or the determinant comes out as exactly 0.
QUELPLATFORM_API std::int32_t qmMathMat3Inv(const double matrix[3][3], double inverse[3][3]) noexcept;

/// Inverse of a 4x4 matrix, by the same rules, up to condition numbers of about 1e10.
QUELPLATFORM_API std::int32_t qmMathMat4Inv(const double matrix[4][4], double inverse[4][4]) noexcept;

/// product = a b.
QUELPLATFORM_API std::int32_t qmMathMat4MultMat4(const double a[4][4], const double b[4][4],
                                                 double product[4][4]) noexcept;

/// out = matrix (point, 1), all four rows, each ((m0 x + m1 y) + m2 z) + m3.
QUELPLATFORM_API std::int32_t qmMathMat4MultPoint(const double matrix[4][4], const double point[3],
                                                  double out[4]) noexcept;

/// out = in / |in|, also where a square would over- or underflow. Returns 0, with out = in, for a zero vector and one
/// that is not finite.
QUELPLATFORM_API std::int32_t qmMathUnitVec3(const double in[3], double out[3]) noexcept;

QUELPLATFORM_API void qmMathCopyVec2ToVec2(const double from[2], double to[2]) noexcept;
QUELPLATFORM_API void qmMathCopyVec3ToVec3(const double from[3], double to[3]) noexcept;
QUELPLATFORM_API void qmMathCopyMat4ToMat4(const double from[4][4], double to[4][4]) noexcept;

/// Array of `count` image positions, zero-filled. Returns 1, or 0 with `*out` null when memory is exhausted; a count of
/// 0 succeeds. Free with `qmMathVec2ArrayDestruct`.
QUELPLATFORM_API std::int32_t qmMathVec2ArrayConstruct(std::size_t count, double (**out)[2]) noexcept;

/// As above, uninitialised.
QUELPLATFORM_API std::int32_t qmMathVec2ArrayConstructNoInit(std::size_t count, double (**out)[2]) noexcept;

/// Array of `count` points, uninitialised; otherwise as above. Free with `qmMathVec3ArrayDestruct`.
QUELPLATFORM_API std::int32_t qmMathVec3ArrayConstructNoInit(std::size_t count, double (**out)[3]) noexcept;

/// Vector of `count` doubles, uninitialised; otherwise as above. Free with `qmMathVecDestruct`.
QUELPLATFORM_API std::int32_t qmMathVecConstructNoInit(std::size_t count, double** out) noexcept;

/// Frees `*array` and nulls it; null is left alone.
QUELPLATFORM_API void qmMathVec2ArrayDestruct(double (**array)[2]) noexcept;
QUELPLATFORM_API void qmMathVec3ArrayDestruct(double (**array)[3]) noexcept;
QUELPLATFORM_API void qmMathVecDestruct(double** vector) noexcept;
