// The axes of space as a camera sees them.
#pragma once

#include "files/Values.h"
#include "pictures/Picture.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// Draws X, Y and Z of the world, each `length` millimetres long and beginning at `origin`, into the panel of `camera`.
/// An axis whose ends do not project is left out.
void drawSpaceAxes(ThreeViews& views, const QmReconsTensor& head, int camera, const Vec3& origin, double length,
                   const Colour& colour);

/// A point that `camera` sees at `pixel`, an ideal one, `distance` millimetres away. Throws `Failure` where it has no
/// ray.
Vec3 pointSeenAt(const QmReconsTensor& head, int camera, const Vec2& pixel, double distance);

}  // namespace queltool
