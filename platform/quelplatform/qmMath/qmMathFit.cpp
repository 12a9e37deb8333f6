#include "quelplatform/qmMath/qmMathFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/qmMath/FitMoments.h"
#include "quelplatform/qmMath/PlainFit.h"
#include "quelplatform/qmMath/PrincipalAxes.h"
#include "quelplatform/qmMath/UnitVector.h"

namespace {

using quelplatform::FitAxis;
using quelplatform::FitCentre;
using quelplatform::FitMoments;
using quelplatform::FitSpread;
using quelplatform::FitSurvey;
using quelplatform::PrincipalAxes;
using Points = const double (*)[3];

/// Where the second eigenvalue is below this part of the first, the second moments alone have lost too many digits of
/// the small ones: the points are looked at again along the axes found.
constexpr double kThin = 0x1p-10;

/// The axes of `seen`, given along the axes of `frame`, in the coordinates of the points.
PrincipalAxes outOf(const PrincipalAxes& frame, const PrincipalAxes& seen) {
  PrincipalAxes axes = seen;
  for (int k = 0; k < 3; ++k) {
    for (int i = 0; i < 3; ++i) {
      axes.axis[k][i] = (seen.axis[k][0] * frame.axis[0][i] + seen.axis[k][1] * frame.axis[1][i]) +
                        seen.axis[k][2] * frame.axis[2][i];
    }
  }
  return axes;
}

bool isFinite(const double (&v)[3]) { return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]); }

/// With the roundings of all sums carried along. False where there are no two distinct points or something is not
/// finite. `sharp` asks for small eigenvalues that are right to the rounding of the points.
bool exactSpread(Points points, std::int64_t n, bool sharp, FitSpread& spread) {
  constexpr int kLargestExponent = 1000;
  const FitSurvey survey = quelplatform::surveyOf(points, n);
  if (!isFinite(survey.mean) || !std::isfinite(survey.spread) || survey.spread == 0.0) return false;
  FitCentre centre{};
  std::copy(survey.mean, survey.mean + 3, centre.hi);
  centre.scale = std::ldexp(1.0, std::clamp(-std::ilogb(survey.spread), -kLargestExponent, kLargestExponent));
  const FitMoments moments = quelplatform::momentsOf(points, n, centre, nullptr);
  for (int axis = 0; axis < 3; ++axis) {
    centre.lo[axis] = moments.first[axis] / static_cast<double>(n);
    spread.centroid[axis] = centre.hi[axis] + centre.lo[axis] / centre.scale;
  }
  if (!isFinite(spread.centroid)) return false;
  spread.axes = quelplatform::principalAxes(moments.second);
  if (sharp && spread.axes.value[1] < kThin * spread.axes.value[0]) {
    const FitMoments again = quelplatform::momentsOf(points, n, centre, spread.axes.axis);
    spread.axes = outOf(spread.axes, quelplatform::principalAxes(again.second));
  }
  return true;
}

/// False where there are no two distinct points or something is not finite.
bool spreadOf(Points points, std::int64_t n, FitAxis wanted, FitSpread& spread) {
  return quelplatform::plainSpread(points, n, wanted, spread) ||
         exactSpread(points, n, wanted == FitAxis::Plane, spread);
}

void writeDirection(const double (&axis)[3], double out[3]) {
  int largest = 0;
  for (int i = 1; i < 3; ++i) {
    if (std::abs(axis[i]) > std::abs(axis[largest])) largest = i;
  }
  quelplatform::unitVector(axis, out);
  if (axis[largest] < 0.0) {
    for (int i = 0; i < 3; ++i) out[i] = 0.0 - out[i];
  }
}

bool collinear(const PrincipalAxes& axes, std::int64_t n) {
  const double part = static_cast<double>(n) * std::numeric_limits<double>::epsilon();
  return !(axes.value[1] > 0.0 && std::sqrt(axes.value[1]) > part * std::sqrt(axes.value[0]));
}

}  // namespace

std::int32_t qmMathFit3DLine(const double (*points)[3], std::int64_t n, double direction[3], double point[3]) noexcept {
  FitSpread spread;
  if (points == nullptr || direction == nullptr || point == nullptr || n < 2) return 0;
  if (!spreadOf(points, n, FitAxis::Line, spread)) return 0;
  writeDirection(spread.axes.axis[0], direction);
  std::copy(spread.centroid, spread.centroid + 3, point);
  return 1;
}

std::int32_t qmMathFit3DPlane(const double (*points)[3], std::int64_t n, double normal[3], double center[3]) noexcept {
  FitSpread spread;
  if (points == nullptr || normal == nullptr || center == nullptr || n < 3) return 0;
  if (!spreadOf(points, n, FitAxis::Plane, spread) || collinear(spread.axes, n)) return 0;
  writeDirection(spread.axes.axis[2], normal);
  std::copy(spread.centroid, spread.centroid + 3, center);
  return 1;
}
