// The sums over points that fits are made of.
//
// Sums run in 8 lanes, point i in lane i mod 8, joined as ((0+4)+(2+6))+((1+5)+(3+7)). Two neighbouring
// lanes are added at a time, which every processor can; each lane has the operations of its own points alone.
#pragma once

#include <cstdint>

namespace quelplatform {

/// Where points lie, roughly.
struct FitSurvey {
  double mean[3];  ///< Good to the roundings of a plain sum; not finite where a coordinate is not.
  double spread;   ///< Largest distance from the first point along an axis.
};

/// The centroid as hi + lo / scale. `scale` is a power of two that brings the spread of the points to a size of
/// about 1.
struct FitCentre {
  double hi[3];
  double lo[3];
  double scale;
};

/// Sums over the points as q = frame ((p - hi) scale - lo), with the roundings of each lane carried along.
struct FitMoments {
  double first[3];      ///< Of q.
  double second[3][3];  ///< Of q qt about the points' own centroid: less first firstt / n. Upper triangle.
};

/// The points as triples; n is at least 1.
FitSurvey surveyOf(const double (*points)[3], std::int64_t n) noexcept;

/// `frame` holds three axes; null stands for those of the points, and gives the bits of the unit matrix.
FitMoments momentsOf(const double (*points)[3], std::int64_t n, const FitCentre& centre,
                     const double (*frame)[3]) noexcept;

}  // namespace quelplatform
