// Lines and planes through points by one pass of plain sums, wherever a bound of their roundings allows it.
#pragma once

#include <cstdint>

#include "quelplatform/qmMath/PrincipalAxes.h"

namespace quelplatform {

/// The centroid and the axes of the points' spread.
struct FitSpread {
  double centroid[3];
  PrincipalAxes axes;
};

/// Which axis a fit asks for: the one that it has to tell from its neighbour.
enum class FitAxis { Line, Plane };

/// The spread of n points, n at least 1: an axis 0 (line) or 2 (plane) that is off by less than `kFitDirectionError`.
/// False, with `spread` undefined, where that is not sure: when the axis does not stand out enough, the points lie too
/// far from the origin or too far to one side of those that were sampled, the samples are no two distinct points, or
/// something is not finite.
bool plainSpread(const double (*points)[3], std::int64_t n, FitAxis wanted, FitSpread& spread) noexcept;

}  // namespace quelplatform
