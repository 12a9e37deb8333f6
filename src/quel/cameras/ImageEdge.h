// What a camera's lens makes of the image's edge: whether all of the image can be undone. Hidden in the library.
#pragma once

#include <cmath>
#include <string>

#include "quel/base/Result.h"
#include "quel/cameras/LensInverse.h"

namespace quel {

/// The least upright rectangle around ideal pixels.
struct IdealBox {
  Vec2 least = {HUGE_VAL, HUGE_VAL};
  Vec2 most = {-HUGE_VAL, -HUGE_VAL};
  void add(const Vec2& p);
};

/// Around the ideal pixels of the image's edge. Fails where one has none, since the lens folds over on the way there or
/// since its ray stands more than `kWidestDegrees` off the axis; so it does of every lens that does so within the
/// image.
Result<IdealBox> idealEdge(const Camera& camera);

/// Why `pixel`, of which `undone` has no ideal pixel, cannot be seen: the second half of a sentence about its camera.
std::string whyUnseen(const UndoneLens& undone, const Vec2& pixel);

}  // namespace quel
