#include "demo/SpaceAxes.h"

#include "files/Failure.h"
#include "pictures/ViewMarks.h"
#include "quel/measure/Projection.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

void drawSpaceAxes(ThreeViews& views, const QmReconsTensor& head, int camera, const Vec3& origin, double length,
                   const Colour& colour) {
  constexpr const char* kLetters[] = {"X", "Y", "Z"};
  Vec2 from{};
  if (qmRTProjectPointtoImage(head, origin.data(), camera, PROJECT_EXACT, from.data()) != 1) return;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    Vec3 tip = origin;
    tip[axis] += length;
    Vec2 to{};
    if (qmRTProjectPointtoImage(head, tip.data(), camera, PROJECT_EXACT, to.data()) != 1) continue;
    drawAxis(views.picture(), views.at(camera, from), views.at(camera, to), kLetters[axis], colour);
  }
}

Vec3 pointSeenAt(const QmReconsTensor& head, int camera, const Vec2& pixel, double distance) {
  const double pixels[1][2] = {{pixel[0], pixel[1]}};
  double origin[3];
  double direction[1][3];
  if (qmRTget3dRaysFromImgPts(head, 1, pixels, camera, origin, direction) != 1) throw Failure("a pixel has no ray");
  const auto along = [&](double way) {
    return Vec3{origin[0] + way * direction[0][0], origin[1] + way * direction[0][1],
                origin[2] + way * direction[0][2]};
  };
  const Vec3 point = along(distance);  // Rays may point out of the scene.
  return quel::isBehind(head, camera, point) ? along(-distance) : point;
}

}  // namespace queltool
