#include "nominal/NominalFrame.h"

#include <algorithm>
#include <cmath>

#include "files/Failure.h"
#include "nominal/VectorMath.h"

namespace queltool {

namespace {

constexpr double kFarthest = 0x1p26;

double largestOf(const Vec3& a) { return std::max({std::abs(a[0]), std::abs(a[1]), std::abs(a[2])}); }

}  // namespace

NominalFrame::NominalFrame(std::span<const Vec3> points) {
  Vec3 low = points.front(), high = points.front();
  for (const Vec3& each : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], each[axis]);
      high[axis] = std::max(high[axis], each[axis]);
    }
  }
  const Vec3 edges = minus(high, low);
  size_ = std::hypot(edges[0], edges[1], edges[2]);
  if (!std::isfinite(2.0 * size_)) throw Failure("lies too far apart to have a size");
  int exponent = 0;
  if (size_ > 0.0) std::frexp(size_, &exponent);
  exponent = std::clamp(exponent, -1000, 1000);
  in_ = std::ldexp(1.0, -exponent);
  out_ = std::ldexp(1.0, exponent);
  for (std::size_t axis = 0; axis < 3; ++axis) middle_[axis] = in_ * low[axis] + 0.5 * (in_ * edges[axis]);
}

Vec3 NominalFrame::into(const Vec3& point) const {
  const Vec3 scaled = times(in_, point);
  const Vec3 off = minus(scaled, middle_);
  if (std::max({std::abs(off[0]), std::abs(off[1]), std::abs(off[2])}) <= kFarthest) return scaled;
  Vec3 direction;
  for (std::size_t axis = 0; axis < 3; ++axis) direction[axis] = 0.25 * point[axis] - 0.25 * (out_ * middle_[axis]);
  return plus(middle_, times(kFarthest, times(1.0 / largestOf(direction), direction)));
}

double NominalFrame::distance(const Vec3& point, const Vec3& nearest, double distance) const {
  if (distance < 0.5 * kFarthest) return out_ * distance;
  return std::hypot(point[0] - nearest[0], point[1] - nearest[1], point[2] - nearest[2]);
}

}  // namespace queltool
