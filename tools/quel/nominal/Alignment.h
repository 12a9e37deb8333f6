// Brings measured points onto a nominal by a rigid transform of least squares, point to surface.
//
// Lengths are millimetres. What is least is the sum of r² over the points that count, r the distance from the surface
// (from the plane through the nearest place, where the nominal is sampled).
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "files/Values.h"
#include "nominal/Nominal.h"
#include "quelplatform/qmMath/qmMath.h"

namespace queltool {

/// A motion that leaves the points as near to the nominal as they are: along a plane, about a cylinder.
struct FreeMotion {
  bool turns;    ///< About the axis through `through`; else it shifts along `axis`.
  Vec3 axis;     ///< Of length 1, in the frame of the nominal.
  Vec3 through;  ///< Of a turn.
  double lead;   ///< Millimetres along the axis for a full turn: 0 but for the like of a thread.
};

/// "shift along 0.00, 0.00, 1.00", "turn about 0.00, 0.00, 1.00 through 10.00, 0.00, 5.00 mm".
std::string nameOf(const FreeMotion& motion);

/// Root of the mean r², over `points` of them.
struct Residual {
  double rms;
  std::size_t points;
};

struct Alignment {
  qmMathTransform transform;  ///< From the points to the nominal: p' = R p + t; RᵀR is I to 1e-15.
  double degrees;             ///< By which it turns,
  double shift;               ///< and by which it moves the centroid of the points.
  Residual before;            ///< Over the points that count in the end, as they were given;
  Residual after;             ///< and as they are aligned.
  std::size_t farOff;         ///< Points that do not count, for they are too far off to belong to the surface.
  int rounds;
  bool converged;                ///< The last round moved no point by more than `kAlignedTo`.
  double lastStep;               ///< By at most how much it moved a point.
  std::vector<FreeMotion> held;  ///< Motions that the shape leaves free, along which nothing was moved.
};

/// Millimetres by which a round may move a point when it is to be the last.
inline constexpr double kAlignedTo = 1e-6;

/// How far points may be from where they belong.
inline constexpr double kFarthestTurn = 10.0;  ///< Degrees.
inline constexpr double kFarthestShift = 0.1;  ///< Of the size of the nominal.

struct AlignOptions {
  int threads = 0;  ///< Below 1: one for each processor. The result has the same bits on any number.
};

/// Aligns `points` with `nominal`. Points that are not finite, that are nearest to a border or have no side do not
/// count. Those that lie too far off neither: the limit shrinks from a fifth of the nominal's size by halves, each time
/// after the points have come to rest, until it is six times the standard deviation that the median of |r| tells, which
/// no point of the surface exceeds by chance; from then on the points that count stay the same.
///
/// Throws `Failure` when fewer than six points count, or the result lies farther from the given points than
/// `kFarthestTurn` or `kFarthestShift`.
Alignment alignTo(const Nominal& nominal, std::span<const Vec3> points, const AlignOptions& options = {});

}  // namespace queltool
