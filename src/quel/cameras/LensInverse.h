// The way back through a lens of any model, and where it ends. Hidden in the library.
#pragma once

#include <optional>

#include "quel/cameras/Camera.h"
#include "quelplatform/qmDistort/qmDistort.h"

namespace quel {

/// Rays further off the optical axis than this are none of a head's.
inline constexpr double kWidestDegrees = 55.0;

/// The head's own model as its record keeps it, and back. Of `lens` the model must be HeadPolynomial.
tag_qmDistortParams headPolynomial(const Lens& lens);
Lens headPolynomialLens(const tag_qmDistortParams& params);

/// What became of a pixel on its way back through a lens.
struct UndoneLens {
  enum class End { Reached, Folds, TooWide };
  End end = End::Reached;
  std::optional<Vec2> ideal = {};  ///< Where the end was reached.
};

/// `ideal`, reached unless its ray stands too far off the axis.
UndoneLens withinReach(const Camera& camera, const Vec2& ideal);

/// The ideal pixel of `distorted`, followed from the principal point.
UndoneLens undoLens(const Camera& camera, const Vec2& distorted);

/// The same where the solution lies near `start`: a few steps of Newton's method, and the whole way where these fail.
UndoneLens undoLensNear(const Camera& camera, const Vec2& distorted, const Vec2& start);

/// True where the lens does not fold over on the straight line from the principal point to `ideal`, judged at 16
/// places.
bool unfoldedTo(const Camera& camera, const Vec2& ideal);

/// Determinant of the derivative of the lens at an ideal pixel; not positive where it is folded, not a number where the
/// lens has no value.
double foldingAt(const Camera& camera, const Vec2& ideal);

/// How far off the optical axis the ray of an ideal pixel stands, degrees.
double degreesOffAxis(const Camera& camera, const Vec2& ideal);

}  // namespace quel
