#include "quelplatform/qmMath/qmMathFit.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/qmMath/DoubleDouble.h"
#include "quelplatform/qmMath/PrincipalAxes.h"
#include "quelplatform/qmMath/UnitVector.h"

namespace {

using quelplatform::DoubleDouble;
using quelplatform::PrincipalAxes;
using Points = const double (*)[3];

constexpr int kLanes = 8;
using Eight = double __attribute__((vector_size(kLanes * sizeof(double))));

/// Where the second eigenvalue is below this part of the first, the second moments alone have lost too many digits of
/// the small ones: the points are looked at again along the axes found.
constexpr double kThin = 0x1p-10;

/// Sums in lanes, each with what its roundings lost.
struct Sum {
  Eight sum = {};
  Eight lost = {};

  void add(const Eight& value) {
    const Eight next = sum + value;
    const Eight part = next - sum;
    lost += (sum - (next - part)) + (value - part);
    sum = next;
  }

  DoubleDouble joined() const {
    const auto lane = [this](int i) { return quelplatform::exactSum(sum[i], lost[i]); };
    return ((lane(0) + lane(4)) + (lane(2) + lane(6))) + ((lane(1) + lane(5)) + (lane(3) + lane(7)));
  }
};

/// The first point and how the others lie about it.
struct Survey {
  double mean[3];  // Good to the roundings of a plain sum.
  double spread;   // Largest distance from the first point along an axis.
};

/// The centroid as hi + lo / scale; scale is a power of two that brings the points to a size of about 1.
struct Centre {
  double hi[3];
  double lo[3];
  double scale;
};

/// Sums over the points, seen from a centre along the axes of a frame.
struct Moments {
  DoubleDouble first[3];
  double second[3][3];  // About the points' own centroid; upper triangle.
};

/// Coordinate `axis` of points i to i + 7; lanes beyond the last point hold that of the first, `points[0]`.
void load(Points points, std::int64_t i, std::int64_t n, int axis, Eight& lanes) {
  if (i + kLanes <= n) {
    for (int lane = 0; lane < kLanes; ++lane) lanes[lane] = points[i + lane][axis];
  } else {
    for (int lane = 0; lane < kLanes; ++lane) lanes[lane] = points[i + lane < n ? i + lane : 0][axis];
  }
}

Survey surveyOf(Points points, std::int64_t n) {
  Eight sum[3] = {};
  Eight low[3] = {};
  Eight high[3] = {};
  for (std::int64_t i = 0; i < n; i += kLanes) {
    for (int axis = 0; axis < 3; ++axis) {
      Eight from;
      load(points, i, n, axis, from);
      from -= points[0][axis];
      sum[axis] += from;
      low[axis] = from < low[axis] ? from : low[axis];
      high[axis] = from > high[axis] ? from : high[axis];
    }
  }
  Survey survey{};
  for (int axis = 0; axis < 3; ++axis) {
    const Eight& s = sum[axis];
    const double total = ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
    survey.mean[axis] = points[0][axis] + total / static_cast<double>(n);
    for (int lane = 0; lane < kLanes; ++lane) {
      survey.spread = std::max({survey.spread, -low[axis][lane], high[axis][lane]});
    }
  }
  return survey;
}

/// Points per lane slot as seen from `centre`, 0 beyond the last point.
void loadCentred(Points points, std::int64_t i, std::int64_t n, const Centre& centre, Eight (&d)[3]) {
  for (int axis = 0; axis < 3; ++axis) {
    load(points, i, n, axis, d[axis]);
    d[axis] = (d[axis] - centre.hi[axis]) * centre.scale - centre.lo[axis];
    for (std::int64_t lane = n - i; lane < kLanes; ++lane) d[axis][lane] = 0.0;
  }
}

Moments momentsOf(Points points, std::int64_t n, const Centre& centre, const double (&frame)[3][3]) {
  Sum first[3];
  Sum second[3][3];
  for (std::int64_t i = 0; i < n; i += kLanes) {
    Eight d[3];
    loadCentred(points, i, n, centre, d);
    Eight q[3];
    for (int k = 0; k < 3; ++k) {
      q[k] = (frame[k][0] * d[0] + frame[k][1] * d[1]) + frame[k][2] * d[2];
      first[k].add(q[k]);
    }
    for (int k = 0; k < 3; ++k) {
      for (int j = k; j < 3; ++j) second[k][j].add(q[k] * q[j]);
    }
  }
  Moments moments{};
  for (int k = 0; k < 3; ++k) moments.first[k] = first[k].joined();
  for (int k = 0; k < 3; ++k) {
    for (int j = k; j < 3; ++j) {
      const double shift = moments.first[k].hi * moments.first[j].hi / static_cast<double>(n);
      moments.second[k][j] = second[k][j].joined().hi - shift;
    }
  }
  return moments;
}

/// The centroid and the axes of the points' spread.
struct Spread {
  double centroid[3];
  PrincipalAxes axes;
};

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

/// False where there are no two distinct points or something is not finite. `sharp` asks for small eigenvalues that
/// are right to the rounding of the points.
bool spreadOf(Points points, std::int64_t n, bool sharp, Spread& spread) {
  constexpr double kWorld[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
  constexpr int kLargestExponent = 1000;
  const Survey survey = surveyOf(points, n);
  if (!isFinite(survey.mean) || !std::isfinite(survey.spread) || survey.spread == 0.0) return false;
  Centre centre{};
  std::copy(survey.mean, survey.mean + 3, centre.hi);
  centre.scale = std::ldexp(1.0, std::clamp(-std::ilogb(survey.spread), -kLargestExponent, kLargestExponent));
  const Moments moments = momentsOf(points, n, centre, kWorld);
  for (int axis = 0; axis < 3; ++axis) {
    centre.lo[axis] = moments.first[axis].hi / static_cast<double>(n);
    spread.centroid[axis] = centre.hi[axis] + centre.lo[axis] / centre.scale;
  }
  if (!isFinite(spread.centroid)) return false;
  spread.axes = quelplatform::principalAxes(moments.second);
  if (sharp && spread.axes.value[1] < kThin * spread.axes.value[0]) {
    const Moments again = momentsOf(points, n, centre, spread.axes.axis);
    spread.axes = outOf(spread.axes, quelplatform::principalAxes(again.second));
  }
  return true;
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
  Spread spread;
  if (points == nullptr || direction == nullptr || point == nullptr || n < 2) return 0;
  if (!spreadOf(points, n, false, spread)) return 0;
  writeDirection(spread.axes.axis[0], direction);
  std::copy(spread.centroid, spread.centroid + 3, point);
  return 1;
}

std::int32_t qmMathFit3DPlane(const double (*points)[3], std::int64_t n, double normal[3], double center[3]) noexcept {
  Spread spread;
  if (points == nullptr || normal == nullptr || center == nullptr || n < 3) return 0;
  if (!spreadOf(points, n, true, spread) || collinear(spread.axes, n)) return 0;
  writeDirection(spread.axes.axis[2], normal);
  std::copy(spread.centroid, spread.centroid + 3, center);
  return 1;
}
