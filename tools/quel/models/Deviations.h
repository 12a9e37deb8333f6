// How far the points of a cloud are off a nominal, and what that is in figures.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "files/Values.h"
#include "nominal/Nominal.h"

namespace queltool {

/// Lengths in millimetres. Points that are not finite are counted, and are not among the points.
struct Deviations {
  std::vector<Vec3> points;
  std::vector<double> each;  ///< One a point, positive outside; NaN for a point that has none.
  std::size_t notFinite = 0;
  std::size_t atBorder = 0;     ///< Nearest to an open border of the nominal: not judged.
  std::size_t withoutSide = 0;  ///< Nearest where the nominal tells no side: not judged.

  std::size_t judged() const { return each.size() - atBorder - withoutSide; }
};

/// The finite ones of `points` against `nominal`, on `threads` threads (0: one for each processor), which change no
/// bit.
Deviations deviationsFrom(const Nominal& nominal, std::vector<Vec3> points, std::size_t notFinite, int threads);

/// The limits of a deviation, and by which of them it is graded.
struct Tolerance {
  double lower;  ///< Below `upper`.
  double upper;
  bool oneSided = false;  ///< By the share of the upper limit alone.
};

/// Figures of the deviations that there are, as metrology states them.
struct DeviationFigures {
  std::size_t count = 0;
  double mean = 0.0;
  double rms = 0.0;
  double standardDeviation = std::numeric_limits<double>::quiet_NaN();  ///< By n - 1; NaN for fewer than two.
  double smallest = 0.0;
  double largest = 0.0;
  double quantile95 = 0.0;  ///< Of the absolute deviations: the smallest that at least 95 % do not exceed.
  double quantile99 = 0.0;
  std::size_t below = 0;  ///< The lower limit of the tolerance.
  std::size_t within = 0;
  std::size_t above = 0;
  std::vector<std::size_t> bands;  ///< By the bands of the deviation colour table.

  double shareWithin() const { return static_cast<double>(within) / static_cast<double>(count); }
};

/// `each` may hold NaN, which do not count, and holds a number.
DeviationFigures figuresOf(std::span<const double> each, const Tolerance& tolerance);

/// The smallest of `values` that at least `percent` (1 to 100) of them do not exceed. They are sorted in part.
double quantileOf(std::span<double> values, std::size_t percent);

}  // namespace queltool
