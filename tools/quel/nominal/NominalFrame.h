// The frame in which nominals search: scaled by a power of two, so that no square of a length overflows or vanishes.
#pragma once

#include <span>

#include "files/Values.h"

namespace queltool {

class NominalFrame {
 public:
  NominalFrame() = default;

  /// Around finite points, of which there is one at least. Throws `Failure` where they lie too far apart to have a
  /// size.
  explicit NominalFrame(std::span<const Vec3> points);

  /// A finite point in the frame, where lengths of the nominal are at most about 1. One farther than D = 2^26 from the
  /// middle is moved to there along its direction. What is nearest then was so before but for 1 / 2D, which is half a
  /// last digit of D; and which side is outside keeps its digits.
  Vec3 into(const Vec3& point) const;

  /// The place that `point` of the frame has outside.
  Vec3 out(const Vec3& point) const { return {out_ * point[0], out_ * point[1], out_ * point[2]}; }

  /// Of a point outside, at `distance` in the frame, from `nearest` outside.
  double distance(const Vec3& point, const Vec3& nearest, double distance) const;

  /// The middle of the points, in the frame.
  const Vec3& middle() const { return middle_; }

  /// Length of the diagonal of the box around the points, outside.
  double size() const { return size_; }

 private:
  double in_ = 1.0;
  double out_ = 1.0;
  Vec3 middle_{};
  double size_ = 0.0;
};

}  // namespace queltool
