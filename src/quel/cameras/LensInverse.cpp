#include "quel/cameras/LensInverse.h"

#include <algorithm>
#include <cmath>

namespace quel {

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr int kNewtonSteps = 20;
constexpr double kShortStep = 1e-11;   // Pixels, relative to the size of an image of 1000.
constexpr double kTolerance = 1e-9;    // Pixels by which the lens may miss the target.
constexpr double kFirstStride = 0.25;  // Of the way from the principal point.
constexpr double kLeastStride = 1.0 / 1024.0;

struct Slope {
  double xx, xy, yx, yy;
  double determinant() const { return xx * yy - xy * yx; }
};

// By differences over a hundred-thousandth of the focal length on either side, right to about 1e-9.
Slope slopeAt(const Camera& camera, const Vec2& ideal) {
  const double h = 1e-5 * camera.fy;
  const auto at = [&](double dx, double dy) { return distortedPixel(camera, {ideal[0] + dx, ideal[1] + dy}); };
  const Vec2 right = at(h, 0.0), left = at(-h, 0.0), below = at(0.0, h), above = at(0.0, -h);
  const double scale = 0.5 / h;
  return {scale * (right[0] - left[0]), scale * (below[0] - above[0]), scale * (right[1] - left[1]),
          scale * (below[1] - above[1])};
}

// Newton's method from `ideal`; nothing where it does not arrive, or arrives on a fold.
std::optional<Vec2> newton(const Camera& camera, const Vec2& target, Vec2 ideal) {
  for (int step = 0; step < kNewtonSteps; ++step) {
    const Slope slope = slopeAt(camera, ideal);
    if (!(slope.determinant() > 0.0)) return std::nullopt;
    const Vec2 seen = distortedPixel(camera, ideal);
    const double x = target[0] - seen[0], y = target[1] - seen[1];
    const Vec2 move = {(slope.yy * x - slope.xy * y) / slope.determinant(),
                       (slope.xx * y - slope.yx * x) / slope.determinant()};
    if (!(std::hypot(move[0], move[1]) < camera.fx + camera.fy)) return std::nullopt;
    ideal = {ideal[0] + move[0], ideal[1] + move[1]};
    if (std::hypot(move[0], move[1]) > kShortStep) continue;
    break;
  }
  const Vec2 seen = distortedPixel(camera, ideal);
  if (!(std::hypot(target[0] - seen[0], target[1] - seen[1]) <= kTolerance)) return std::nullopt;
  return ideal;
}

}  // namespace

double foldingAt(const Camera& camera, const Vec2& ideal) { return slopeAt(camera, ideal).determinant(); }

double degreesOffAxis(const Camera& camera, const Vec2& ideal) {
  const double y = (ideal[1] - camera.cy) / camera.fy;
  const double x = (ideal[0] - camera.cx - camera.skew * y) / camera.fx;
  return std::atan(std::hypot(x, y)) / kDegree;
}

UndoneLens withinReach(const Camera& camera, const Vec2& ideal) {
  if (degreesOffAxis(camera, ideal) > kWidestDegrees) return {UndoneLens::End::TooWide};
  return {UndoneLens::End::Reached, ideal};
}

bool unfoldedTo(const Camera& camera, const Vec2& ideal) {
  constexpr int kPlaces = 16;
  for (int n = 1; n <= kPlaces; ++n) {
    const double share = static_cast<double>(n) / kPlaces;
    const Vec2 place = {camera.cx + share * (ideal[0] - camera.cx), camera.cy + share * (ideal[1] - camera.cy)};
    if (!(foldingAt(camera, place) > 0.0)) return false;
  }
  return true;
}

UndoneLens undoLens(const Camera& camera, const Vec2& distorted) {
  Vec2 ideal = {camera.cx, camera.cy};
  const Vec2 centre = distortedPixel(camera, ideal);
  double done = 0.0, stride = kFirstStride;
  while (done < 1.0) {
    const double next = std::min(1.0, done + stride);
    const Vec2 target = {centre[0] + next * (distorted[0] - centre[0]), centre[1] + next * (distorted[1] - centre[1])};
    const auto found = newton(camera, target, ideal);
    if (!found) {
      stride *= 0.5;
      if (stride < kLeastStride) return {UndoneLens::End::Folds};
      continue;
    }
    if (withinReach(camera, *found).end != UndoneLens::End::Reached) return {UndoneLens::End::TooWide};
    ideal = *found;
    done = next;
  }
  // A long step may have leapt over a fold and back.
  if (!unfoldedTo(camera, ideal)) return {UndoneLens::End::Folds};
  return {UndoneLens::End::Reached, ideal};
}

UndoneLens undoLensNear(const Camera& camera, const Vec2& distorted, const Vec2& start) {
  const auto found = newton(camera, distorted, start);
  return found ? withinReach(camera, *found) : undoLens(camera, distorted);
}

}  // namespace quel
