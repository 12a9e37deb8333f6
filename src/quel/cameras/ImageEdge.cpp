#include "quel/cameras/ImageEdge.h"

#include <algorithm>

#include "quel/cameras/Distortion.h"

namespace quel {

namespace {

constexpr int kEdgeSteps = 128;  // Places along each edge of the image.

std::string text(double value) {
  std::string digits = std::to_string(value);
  return digits.substr(0, digits.find('.') + 2);
}

// A pinhole has nothing to undo, so its pixels need not be searched for.
UndoneLens wayBack(const Camera& camera, const Vec2& pixel) {
  return isPinhole(camera) ? withinReach(camera, pixel) : undoLens(camera, pixel);
}

}  // namespace

void IdealBox::add(const Vec2& p) {
  for (std::size_t i = 0; i < 2; ++i) {
    least[i] = std::min(least[i], p[i]);
    most[i] = std::max(most[i], p[i]);
  }
}

std::string whyUnseen(const UndoneLens& undone, const Vec2& pixel) {
  const std::string where = "at pixel (" + text(pixel[0]) + ", " + text(pixel[1]) + ")";
  if (undone.end == UndoneLens::End::TooWide) {
    return "has rays more than " + std::to_string(static_cast<int>(kWidestDegrees)) +
           " degrees off the optical axis, " + where + ", which no head holds; crop the image or use a narrower lens";
  }
  return "has a lens that folds over on the way from the principal point to the image's edge, " + where +
         ": two directions would share a pixel; check its coefficients, or crop the image";
}

Result<IdealBox> idealEdge(const Camera& camera) {
  IdealBox box;
  const double right = camera.width - 0.5, bottom = camera.height - 0.5;
  for (int n = 0; n <= kEdgeSteps; ++n) {
    const double x = camera.width * static_cast<double>(n) / kEdgeSteps - 0.5;
    const double y = camera.height * static_cast<double>(n) / kEdgeSteps - 0.5;
    for (const Vec2& pixel : {Vec2{x, -0.5}, Vec2{x, bottom}, Vec2{-0.5, y}, Vec2{right, y}}) {
      const UndoneLens undone = wayBack(camera, pixel);
      if (!undone.ideal) return Error{whyUnseen(undone, pixel)};
      box.add(*undone.ideal);
    }
  }
  return box;
}

}  // namespace quel
