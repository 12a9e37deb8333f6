#include <cmath>

#include "quelplatform/qmMath/qmMath.h"

namespace {

struct Vec3 {
  double x, y, z;
};

// The whole input is read before the first output is written, so that in and out may be the same.
std::int32_t writeVec3(Vec3 value, double out[3]) {
  out[0] = value.x;
  out[1] = value.y;
  out[2] = value.z;
  return std::isfinite(value.x) && std::isfinite(value.y) && std::isfinite(value.z);
}

double rowTimes(const double row[3], Vec3 v) { return (row[0] * v.x + row[1] * v.y) + row[2] * v.z; }

Vec3 rotated(const double r[3][3], Vec3 v) { return {rowTimes(r[0], v), rowTimes(r[1], v), rowTimes(r[2], v)}; }

Vec3 transformed(const qmMathTransform& t, Vec3 v) {
  const Vec3 r = rotated(t.rotation, v);
  return {r.x + t.translation[0], r.y + t.translation[1], r.z + t.translation[2]};
}

std::int32_t isFinite(const qmMathTransform& t) {
  for (const auto& row : t.rotation) {
    for (const double entry : row) {
      if (!std::isfinite(entry)) return 0;
    }
  }
  return std::isfinite(t.translation[0]) && std::isfinite(t.translation[1]) && std::isfinite(t.translation[2]);
}

}  // namespace

void qmMathIdTransformCreate(qmMathTransform* transform) noexcept {
  *transform = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
}

std::int32_t qmMathTransformFromMat4(const double matrix[4][4], qmMathTransform* transform) noexcept {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) transform->rotation[i][j] = matrix[i][j];
    transform->translation[i] = matrix[i][3];
  }
  return isFinite(*transform);
}

void qmMathTransform2Mat4(const qmMathTransform* transform, double matrix[4][4]) noexcept {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) matrix[i][j] = transform->rotation[i][j];
    matrix[i][3] = transform->translation[i];
  }
  for (int j = 0; j < 3; ++j) matrix[3][j] = 0.0;
  matrix[3][3] = 1.0;
}

std::int32_t qmMathTransformInv(const qmMathTransform* transform, qmMathTransform* inverse) noexcept {
  qmMathTransform result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) result.rotation[i][j] = transform->rotation[j][i];
  }
  const double* t = transform->translation;
  const Vec3 moved = rotated(result.rotation, {t[0], t[1], t[2]});
  writeVec3({-moved.x, -moved.y, -moved.z}, result.translation);
  *inverse = result;
  return isFinite(result);
}

std::int32_t qmMathTransformMultTransform(const qmMathTransform* a, const qmMathTransform* b,
                                          qmMathTransform* result) noexcept {
  qmMathTransform product;
  for (int j = 0; j < 3; ++j) {
    const Vec3 column = rotated(a->rotation, {b->rotation[0][j], b->rotation[1][j], b->rotation[2][j]});
    product.rotation[0][j] = column.x;
    product.rotation[1][j] = column.y;
    product.rotation[2][j] = column.z;
  }
  const double* t = b->translation;
  writeVec3(transformed(*a, {t[0], t[1], t[2]}), product.translation);
  *result = product;
  return isFinite(product);
}

std::int32_t qmMathTransformVec3(const qmMathTransform* transform, const double in[3], double out[3]) noexcept {
  return writeVec3(transformed(*transform, {in[0], in[1], in[2]}), out);
}

std::int32_t qmMathTransformVecAF(const qmMathTransform* transform, const float in[3], double out[3]) noexcept {
  const Vec3 point = {static_cast<double>(in[0]), static_cast<double>(in[1]), static_cast<double>(in[2])};
  return writeVec3(transformed(*transform, point), out);
}

std::int32_t qmMathRotationMatCreate(double ax, double ay, double az, double rotation[3][3]) noexcept {
  const double sx = std::sin(ax), cx = std::cos(ax);
  const double sy = std::sin(ay), cy = std::cos(ay);
  const double sz = std::sin(az), cz = std::cos(az);
  const double czsy = cz * sy, szsy = sz * sy;
  const std::int32_t rows[] = {writeVec3({cz * cy, czsy * sx - sz * cx, czsy * cx + sz * sx}, rotation[0]),
                               writeVec3({sz * cy, szsy * sx + cz * cx, szsy * cx - cz * sx}, rotation[1]),
                               writeVec3({-sy, cy * sx, cy * cx}, rotation[2])};
  return rows[0] & rows[1] & rows[2];
}
