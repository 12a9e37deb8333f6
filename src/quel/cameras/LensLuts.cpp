#include "quel/cameras/LensLuts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <random>
#include <vector>

#include "quel/cameras/Distortion.h"
#include "quel/cameras/HeadLuts.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr float kFarLayer = 1e6F;
constexpr int kRandomPixels = 100000;  // Over which the largest error is looked for.
constexpr double kFirstPitch = 32.0;
constexpr double kLeastPitch = 0.25;
constexpr double kMostCells = 4e6;
constexpr double kMarginCells = 2.0;
constexpr int kDirections = 720;
constexpr int kStepsOut = 128;

// How far from the principal point a lens may be believed, direction by direction: up to where it folds over.
class Reach {
 public:
  Reach(const Camera& camera, double farthest) : camera_(camera), ends_(kDirections, HUGE_VAL) {
    for (int n = 0; n < kDirections; ++n) {
      const double angle = 2.0 * std::numbers::pi * n / kDirections;
      for (int step = 0; step <= kStepsOut; ++step) {
        const double radius = farthest * step / kStepsOut;
        if (foldingAt(camera, {camera.cx + radius * std::cos(angle), camera.cy + radius * std::sin(angle)}) > 0.0) {
          continue;
        }
        ends_[static_cast<std::size_t>(n)] = radius;
        break;
      }
    }
  }

  bool holds(double x, double y) const {
    const double dx = x - camera_.cx, dy = y - camera_.cy;
    const double turn = std::atan2(dy, dx) / (2.0 * std::numbers::pi) + 1.0;
    const auto n = static_cast<std::size_t>(turn * kDirections) % kDirections;
    return std::hypot(dx, dy) < std::min(ends_[n], ends_[(n + 1) % kDirections]);
  }

 private:
  const Camera& camera_;
  std::vector<double> ends_;
};

struct Pair {
  Vec2 ideal;
  Vec2 distorted;
};

// Random pixels of the image and where a pinhole would have them.
std::vector<Pair> randomPairs(const Camera& camera, std::string& wrong) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> x(-0.5, camera.width - 0.5), y(-0.5, camera.height - 0.5);
  std::vector<Pair> pairs;
  pairs.reserve(kRandomPixels);
  Vec2 near = {camera.cx, camera.cy};
  for (int n = 0; n < kRandomPixels; ++n) {
    const Vec2 pixel = {x(random), y(random)};
    const UndoneLens undone = undoLensNear(camera, pixel, near);
    if (!undone.ideal) {
      wrong = whyUnseen(undone, pixel);
      break;
    }
    pairs.push_back({*undone.ideal, pixel});
  }
  return pairs;
}

quelplatform::LutGrid gridOver(const IdealBox& box, double pitch) {
  quelplatform::LutGrid grid{};
  std::int32_t cells[2] = {};
  for (std::size_t i = 0; i < 2; ++i) {
    grid.origin[i] = std::floor(box.least[i]) - kMarginCells * pitch;
    grid.pitch[i] = pitch;
    cells[i] = static_cast<std::int32_t>(std::ceil((box.most[i] - grid.origin[i]) / pitch + kMarginCells)) + 1;
  }
  grid.columns = cells[0];
  grid.rows = cells[1];
  grid.depths = {-kFarLayer, kFarLayer};
  return grid;
}

quelplatform::LutDisplacement lensOf(const Camera& camera, const Reach& reach) {
  return [&camera, &reach](double x, double y, double, float displacement[2]) {
    const Vec2 full = reach.holds(x, y) ? distortedPixel(camera, {x, y}) : Vec2{kNan, kNan};
    displacement[0] = static_cast<float>(full[0] - x);
    displacement[1] = static_cast<float>(full[1] - y);
  };
}

DistortionFit errorOf(const std::vector<Pair>& pairs, const tag_qmDistortParams& params) {
  DistortionFit fit{false, 0.0, 0.0, 0.0};
  double sum = 0.0;
  for (const Pair& pair : pairs) {
    const float depth = 0.0F;
    double seen[2] = {HUGE_VAL, HUGE_VAL};
    qmDistortDistortOnePt(pair.ideal.data(), &params, &depth, seen);
    const double distance = std::hypot(seen[0] - pair.distorted[0], seen[1] - pair.distorted[1]);
    sum += distance * distance;
    fit.maxPx = std::max(fit.maxPx, distance);
  }
  fit.rmsPx = std::sqrt(sum / static_cast<double>(pairs.size()));
  return fit;
}

// Whether the head finds the ideal pixel again, which next to a fold is harder than to distort it.
bool undone(const std::vector<Pair>& pairs, const tag_qmDistortParams& params) {
  return std::all_of(pairs.begin(), pairs.end(), [&params](const Pair& pair) {
    const float depth = 0.0F;
    double back[2] = {kNan, kNan};
    return quelplatform::undistortOnePt(pair.distorted.data(), &params, &depth, back) == 1 &&
           std::hypot(back[0] - pair.ideal[0], back[1] - pair.ideal[1]) <= kGreatestResidual;
  });
}

// There and back: a lens that cannot be undone is infinitely far off.
DistortionFit judged(const std::vector<Pair>& pairs, const tag_qmDistortParams& params) {
  DistortionFit fit = errorOf(pairs, params);
  if (fit.maxPx <= kGreatestResidual && !undone(pairs, params)) fit.rmsPx = fit.maxPx = HUGE_VAL;
  return fit;
}

// The error goes with the square of the pitch; half of it where cells next to a fold have no value.
double nextPitch(double pitch, double error) {
  const double wanted = std::isfinite(error) ? 0.95 * pitch * std::sqrt(kGreatestResidual / error) : 0.0;
  return std::min(0.9 * pitch, std::max(0.5 * pitch, wanted));
}

}  // namespace

std::string moveLensIntoLuts(MadeHead& head, const Camera& camera, std::size_t i, const HeadOptions& options,
                             IdealBox box) {
  std::string wrong;
  const std::vector<Pair> pairs = randomPairs(camera, wrong);
  if (!wrong.empty()) return wrong;
  for (const Pair& pair : pairs) box.add(pair.ideal);
  const double farthest = std::hypot(box.most[0] - box.least[0], box.most[1] - box.least[1]) + 2.0 * kFirstPitch;
  const Reach reach(camera, farthest);

  tag_qmDistortParams params{};
  params.xp = camera.cx;
  params.yp = camera.cy;
  params.distortOption = 1;
  for (double pitch = kFirstPitch; pitch >= kLeastPitch;) {
    const quelplatform::LutGrid grid = gridOver(box, pitch);
    if (static_cast<double>(grid.columns) * grid.rows > kMostCells) break;
    if (!giveLuts(head, i, options, params, grid, lensOf(camera, reach)))
      return "needs LUT sets that cannot be made: out of memory";
    head.distortion[i] = judged(pairs, head.tensor.distortParams[i]);
    head.distortion[i].lutPitch = pitch;
    if (head.distortion[i].maxPx <= kGreatestResidual) return {};
    pitch = nextPitch(pitch, head.distortion[i].maxPx);
  }
  return "has a lens that look-up tables do not hold to " + std::to_string(std::lround(1000.0 * kGreatestResidual)) +
         ".0 thousandths of a pixel: it bends too sharply, or it folds over next to the image's edge";
}

}  // namespace quel
