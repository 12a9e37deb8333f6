// The point of a triangle that is nearest, with the digits that a sliver takes away from doubles.
#pragma once

#include "nominal/TrianglePoint.h"

namespace queltool {

/// The same as `sliverFoot`, sure in its place as well, and exactly on what part of the triangle it is.
Foot refinedFoot(const Triangle& triangle, const Vec3& p);

}  // namespace queltool
