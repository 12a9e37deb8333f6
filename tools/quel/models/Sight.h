// Where a camera of a head sees points.
#pragma once

#include <cstdint>

#include "files/Values.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

/// Where a point lies for a camera. Unknown is what does not project, and what does in a head whose image size is
/// unknown.
enum class Place { Behind = -1, Outside = 0, InImage = 1, Unknown = 2 };

struct Sight {
  Place place;
  Vec2 pixel;  ///< NaN where the point is behind the camera or does not project.
};

/// A camera of a head that outlives it.
class Eye {
 public:
  Eye(const QmReconsTensor& head, std::int32_t camera, _ProjectDistortMode mode);

  Sight see(const Vec3& point) const;

 private:
  bool isBehind(const Vec3& point) const;
  Place placeOf(const Vec2& pixel) const;

  const QmReconsTensor& head_;
  std::int32_t camera_;
  _ProjectDistortMode mode_;
  double forward_;  // The sign that the third row of the projection gives points before the camera.
};

}  // namespace queltool
