#include "quelplatform/qmMath/PlainFit.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/ground/kernels/kernelWidth.h"
#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/kernels/fitSums.h"
#include "quelplatform/qmMath/qmMathFit.h"

namespace quelplatform {

namespace {

using Points = const double (*)[3];

// With points taken times a power of two, which changes no digit that counts, c the centre, d = p - c, s the sum of all
// d, and C = sum d dt - s st / n: u = 2^-53 is half a unit in the last place of 1, T the trace of C, |.| the Frobenius
// norm, in which the sum of |d dt| is at most that of d . d.
//   - A rounded product of two rounded differences is off by 3 u of it, and a sum of 16 of them by 15 u of the sum of
//     their sizes. The sums of blocks carry their roundings along. Together less than 18.1 u sum d . d.
//   - s is as good as the sums over p: m = n / 8 + 2 additions to a lane lose less than (m u)^2 times the sum of |p|,
//     at most n (|c| + sqrt(sum d . d / n)). So s st / n is off by less than 2 |s| (m u)^2 (|c| + ...), which is less
//     than u T where 4 (m u)^2 (|c| + sqrt(2 T / n)) sqrt(n) <= u sqrt(T); and by 4 u |s|^2 / n from rounding. The
//     subtraction adds u (sum d . d).
//   - Where |s|^2 / n <= T / 4 the sum of d . d is at most 1.25 T, and everything together less than
//     (19.1 * 1.25 + 1 + 4 / 4) u T < 26 u T.
//   - The Jacobi rotations, fifteen at most with 2 u of the largest eigenvalue each, add less than 30 u of it.
// An axis whose eigenvalue lies `gap` from the next so is off by less than (26 T + 30 largest) u / gap (Davis, Kahan
// 1970), and by 4 u from writing it as a unit vector.
constexpr double kHalfUnit = 0x1p-53;
constexpr double kErrorOfSums = 26 * kHalfUnit;
constexpr double kErrorOfRotations = 30 * kHalfUnit;
constexpr double kAllowed = kFitDirectionError - 8 * kHalfUnit;
constexpr double kFarthestCentre = 0.25;  // |s|^2 / n as a part of T

constexpr int kSamples = 64;
constexpr int kModestScale = 400;     // points of such sizes are taken as they are: squares stay far from both ends
constexpr int kFarthestScale = 1000;  // the power of two, and what undoes it, are normal numbers

// Coordinates of this size, or squares of distances that add up to it, keep their digits when they are scaled down. An
// axis along which there are none may have lost them all.
constexpr double kSurelySeen = 0x1p-900;

// Points from all over: the golden ratio leaves no gaps, and falls in step with no grid.
void sample(Points points, std::int64_t n, double (&samples)[kSamples][3]) {
  constexpr double kGoldenRatio = 0.6180339887498949;
  for (int i = 0; i < kSamples; ++i) {
    const double turns = kGoldenRatio * i, part = turns - std::floor(turns);
    std::copy_n(points[static_cast<std::int64_t>(part * static_cast<double>(n))], 3, samples[i]);
  }
}

// From the mean of the samples, with the largest of their distances from the first one, along an axis, as about 1 where
// it is not modest. False when there is no such distance.
bool viewOf(Points points, std::int64_t n, FitView& view) {
  double samples[kSamples][3], sum[3] = {}, spread = 0.0;
  sample(points, n, samples);
  for (const double(&p)[3] : samples) {
    for (int axis = 0; axis < 3; ++axis) {
      sum[axis] += p[axis];
      spread = std::max(spread, std::abs(p[axis] - samples[0][axis]));
    }
  }
  if (!(spread > 0.0) || !std::isfinite(spread) || std::abs(std::ilogb(spread)) > kFarthestScale) return false;
  const int exponent = std::ilogb(spread);
  view.scale = std::abs(exponent) > kModestScale ? std::ldexp(1.0, -exponent) : 1.0;
  for (int axis = 0; axis < 3; ++axis) view.at[axis] = sum[axis] / kSamples * view.scale;
  return true;
}

// Sums over all points, and over copies of the centre that fill the last block. Returns how many points that makes.
std::int64_t sumsOf(Points points, std::int64_t n, const FitView& view, FitSums& sums) {
  const std::int64_t blocks = n / kFitBlock;
  kernel(kAddFitBlocks)(points, blocks, view, sums);
  if (n == blocks * kFitBlock) return n;
  double last[kFitBlock][3];
  for (std::int64_t i = 0; i < kFitBlock; ++i) {
    const std::int64_t from = blocks * kFitBlock + i;
    for (int axis = 0; axis < 3; ++axis) last[i][axis] = from < n ? points[from][axis] * view.scale : view.at[axis];
  }
  kernel(kAddFitBlocks)(last, 1, {{view.at[0], view.at[1], view.at[2]}, 1.0}, sums);
  return (blocks + 1) * kFitBlock;
}

DoubleDouble joined(const FitLanes& lanes) {
  const auto lane = [&](int i) { return exactSum(lanes.sum[i], lanes.lost[i]); };
  return ((lane(0) + lane(4)) + (lane(2) + lane(6))) + ((lane(1) + lane(5)) + (lane(3) + lane(7)));
}

struct Moments {
  double centroid[3];   // unscaled
  double first[3];      // s
  double second[3][3];  // C, upper triangle
};

Moments momentsOf(Points points, std::int64_t n, const FitView& view) {
  FitSums sums{};
  const auto summed = static_cast<double>(sumsOf(points, n, view, sums)), count = static_cast<double>(n);
  Moments moments{};
  for (int i = 0; i < 3; ++i) {
    const DoubleDouble s = joined(sums.point[i]) - exactProduct(summed, view.at[i]);
    moments.first[i] = s.hi;
    moments.centroid[i] = (DoubleDouble{view.at[i], 0.0} + s / DoubleDouble{count, 0.0}).hi / view.scale;
  }
  const FitLanes* product = sums.product;
  for (int i = 0; i < 3; ++i) {
    for (int j = i; j < 3; ++j) {
      moments.second[i][j] = joined(*product++).hi - moments.first[i] * moments.first[j] / count;
    }
  }
  return moments;
}

// Whether scaling leaves the coordinates along every axis their digits.
bool isEveryAxisSeen(const Moments& m, const FitView& view) {
  const auto isSeen = [&](int i) { return std::abs(view.at[i]) >= kSurelySeen || m.second[i][i] >= kSurelySeen; };
  return view.scale >= 1.0 || (isSeen(0) && isSeen(1) && isSeen(2));
}

// Whether the sums are as good as it says above.
bool areSumsGood(const Moments& m, std::int64_t n, const FitView& view, double trace) {
  const auto count = static_cast<double>(n);
  const double square = (m.first[0] * m.first[0] + m.first[1] * m.first[1]) + m.first[2] * m.first[2];
  const double far = std::abs(view.at[0]) + std::abs(view.at[1]) + std::abs(view.at[2]);
  const double lost = (count / kFitLanes + 2.0 * kFitBlock) * kHalfUnit;
  return std::isfinite(trace) && square <= kFarthestCentre * count * trace &&
         4.0 * lost * lost * (far + std::sqrt(2.0 * trace / count)) * std::sqrt(count) <= kHalfUnit * std::sqrt(trace);
}

}  // namespace

bool plainSpread(Points points, std::int64_t n, FitAxis wanted, FitSpread& spread) noexcept {
  FitView view;
  if (!viewOf(points, n, view)) return false;
  const Moments moments = momentsOf(points, n, view);
  const double trace = (moments.second[0][0] + moments.second[1][1]) + moments.second[2][2];
  if (!areSumsGood(moments, n, view, trace) || !isEveryAxisSeen(moments, view)) return false;
  std::copy(moments.centroid, moments.centroid + 3, spread.centroid);
  spread.axes = principalAxes(moments.second);
  const double(&value)[3] = spread.axes.value;
  const double gap = wanted == FitAxis::Line ? value[0] - value[1] : value[1] - value[2];
  return kErrorOfSums * trace + kErrorOfRotations * value[0] <= kAllowed * gap;
}

}  // namespace quelplatform
