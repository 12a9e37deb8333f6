#include "quelplatform/qmMath/FitMoments.h"

#include <algorithm>

#include "quelplatform/qmMath/exact/DoubleDouble.h"

namespace quelplatform {

namespace {

using Points = const double (*)[3];

constexpr int kLanes = 8;
constexpr int kPair = 2;
constexpr int kPairs = kLanes / kPair;
/// Two neighbouring lanes: what every processor adds at a time.
using Two = double __attribute__((vector_size(kPair * sizeof(double))));

/// Sums in lanes, each with what its roundings lost.
struct Sum {
  Two sum[kPairs] = {};
  Two lost[kPairs] = {};

  void add(int pair, const Two& value) {
    const Two next = sum[pair] + value;
    const Two part = next - sum[pair];
    lost[pair] += (sum[pair] - (next - part)) + (value - part);
    sum[pair] = next;
  }

  double joined() const {
    const auto lane = [this](int i) { return exactSum(sum[i / kPair][i % kPair], lost[i / kPair][i % kPair]); };
    return (((lane(0) + lane(4)) + (lane(2) + lane(6))) + ((lane(1) + lane(5)) + (lane(3) + lane(7)))).hi;
  }
};

/// Coordinate `axis` of points i and i + 1.
Two load(Points points, std::int64_t i, int axis) { return Two{points[i][axis], points[i + 1][axis]}; }

/// The last points, fewer than 8, with copies of `filler` behind them.
struct Tail {
  double points[kLanes][3];

  Tail(Points all, std::int64_t from, std::int64_t n, const double (&filler)[3]) {
    for (std::int64_t lane = 0; lane < kLanes; ++lane) {
      std::copy_n(from + lane < n ? all[from + lane] : filler, 3, points[lane]);
    }
  }
};

struct Accumulator {
  Sum first[3];
  Sum second[3][3];

  void add(int pair, const Two (&q)[3]) {
    for (int k = 0; k < 3; ++k) first[k].add(pair, q[k]);
    for (int k = 0; k < 3; ++k) {
      for (int j = k; j < 3; ++j) second[k][j].add(pair, q[k] * q[j]);
    }
  }
};

/// Adds points i and i + 1, which belong to one pair of lanes; those from `used` on count as the centre.
template <bool kTurned>
void addPair(Points points, std::int64_t i, int pair, const FitCentre& centre, Points frame, Accumulator& sums,
             std::int64_t used = kPair) {
  Two d[3];
  for (int axis = 0; axis < 3; ++axis) {
    d[axis] = (load(points, i, axis) - centre.hi[axis]) * centre.scale - centre.lo[axis];
    for (std::int64_t lane = used < 0 ? 0 : used; lane < kPair; ++lane) d[axis][lane] = 0.0;
  }
  if constexpr (kTurned) {
    Two q[3];
    for (int k = 0; k < 3; ++k) q[k] = (frame[k][0] * d[0] + frame[k][1] * d[1]) + frame[k][2] * d[2];
    sums.add(pair, q);
  } else {
    sums.add(pair, d);
  }
}

template <bool kTurned>
FitMoments moments(Points points, std::int64_t n, const FitCentre& centre, Points frame) {
  Accumulator sums;
  const std::int64_t whole = n - n % kLanes;
  for (std::int64_t i = 0; i < whole; i += kLanes) {
    for (int pair = 0; pair < kPairs; ++pair) {
      addPair<kTurned>(points, i + pair * kPair, pair, centre, frame, sums);
    }
  }
  if (whole < n) {
    const Tail tail(points, whole, n, centre.hi);
    for (int pair = 0; pair < kPairs; ++pair) {
      addPair<kTurned>(tail.points, pair * kPair, pair, centre, frame, sums, n - whole - pair * kPair);
    }
  }
  FitMoments result{};
  for (int k = 0; k < 3; ++k) result.first[k] = sums.first[k].joined();
  for (int k = 0; k < 3; ++k) {
    for (int j = k; j < 3; ++j) {
      result.second[k][j] = sums.second[k][j].joined() - result.first[k] * result.first[j] / static_cast<double>(n);
    }
  }
  return result;
}

/// Sum of the differences from the first point, and their bounds.
struct Differences {
  Two sum[3][kPairs] = {};
  Two low[3] = {};
  Two high[3] = {};

  void add(Points points, std::int64_t i, const double (&start)[3]) {
    for (int axis = 0; axis < 3; ++axis) {
      for (int pair = 0; pair < kPairs; ++pair) {
        const Two from = load(points, i + pair * kPair, axis) - start[axis];
        sum[axis][pair] += from;
        low[axis] = from < low[axis] ? from : low[axis];
        high[axis] = from > high[axis] ? from : high[axis];
      }
    }
  }
};

}  // namespace

FitSurvey surveyOf(Points points, std::int64_t n) noexcept {
  Differences differences;
  const double(&start)[3] = points[0];
  const std::int64_t whole = n - n % kLanes;
  for (std::int64_t i = 0; i < whole; i += kLanes) differences.add(points, i, start);
  if (whole < n) differences.add(Tail(points, whole, n, start).points, 0, start);
  FitSurvey survey{};
  for (int axis = 0; axis < 3; ++axis) {
    const Two(&sum)[kPairs] = differences.sum[axis];
    const Two joined = (sum[0] + sum[2]) + (sum[1] + sum[3]);
    const double total = joined[0] + joined[1];
    survey.mean[axis] = start[axis] + total / static_cast<double>(n);
    for (int lane = 0; lane < kPair; ++lane) {
      survey.spread = std::max({survey.spread, -differences.low[axis][lane], differences.high[axis][lane]});
    }
  }
  return survey;
}

FitMoments momentsOf(Points points, std::int64_t n, const FitCentre& centre, Points frame) noexcept {
  return frame == nullptr ? moments<false>(points, n, centre, frame) : moments<true>(points, n, centre, frame);
}

}  // namespace quelplatform
