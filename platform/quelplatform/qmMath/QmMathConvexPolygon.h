// The convex outline of points near a plane.
#pragma once

#include <vector>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/prim_geom/QmVec3.h"

/// The corners of the convex hull of `points`, seen along `normal`, as indices into `points`.
///
/// Promises:
///   1. The outline is strict: every corner turns left, seen against the normal, and all other points lie inside or
///      on it.
///   2. It runs counter-clockwise about the normal and begins at the point of smallest first coordinate, of smallest
///      second coordinate among equals. The first coordinate runs along the world axis of smallest absolute normal
///      component (the first of equals), projected into the plane; the second along normal x first.
///   3. Of points that coincide in the plane the least index stands. Points on a line give its two ends, points that
///      all coincide one index, no points none.
///   4. The decisions are those of exact arithmetic on the given points and normal, so nearly collinear points do no
///      harm (unless the coordinates differ so much in size that products underflow: the outline may then miss by
///      that little).
///   5. `center` plays no part in the outline; it and `normal` are left as they are.
///   6. Time grows as n log n.
///
/// Returns true; or false, with `indices` empty, when the normal is zero, something is not finite, a pointer is null,
/// there are more points than an index can tell or memory is exhausted.
QUELPLATFORM_API bool QmMathConvexPolygonCalc3D(std::vector<QmVec3>& points, std::vector<int>& indices, QmVec3* center,
                                                QmVec3* normal) noexcept;
