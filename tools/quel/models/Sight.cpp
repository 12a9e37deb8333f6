#include "models/Sight.h"

#include <cmath>
#include <limits>

namespace queltool {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

double determinant(const double (&m)[4][4]) {
  return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
         m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

}  // namespace

// A projection is known up to its scale, whose sign is that of the determinant: those of intrinsics and rotation are
// positive.
Eye::Eye(const QmReconsTensor& head, std::int32_t camera, _ProjectDistortMode mode)
    : head_(head), camera_(camera), mode_(mode), forward_(determinant(head.projections[camera]) < 0.0 ? -1.0 : 1.0) {}

bool Eye::isBehind(const Vec3& point) const {
  const auto& row = head_.projections[camera_][2];
  return forward_ * (row[0] * point[0] + row[1] * point[1] + row[2] * point[2] + row[3]) <= 0.0;
}

Place Eye::placeOf(const Vec2& pixel) const {
  if (head_.imageWidth < 1 || head_.imageHeight < 1) return Place::Unknown;
  const bool inside = pixel[0] >= 0.0 && pixel[1] >= 0.0 && pixel[0] < head_.imageWidth && pixel[1] < head_.imageHeight;
  return inside ? Place::InImage : Place::Outside;
}

Sight Eye::see(const Vec3& point) const {
  if (isBehind(point)) return {Place::Behind, {kNone, kNone}};
  Vec2 pixel = {kNone, kNone};
  const bool projected = qmRTProjectPointtoImage(head_, point.data(), camera_, mode_, pixel.data()) == 1;
  if (!projected || !std::isfinite(pixel[0]) || !std::isfinite(pixel[1])) return {Place::Unknown, {kNone, kNone}};
  return {placeOf(pixel), pixel};
}

}  // namespace queltool
