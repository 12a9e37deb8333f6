// What tells in a view where the directions of space lie and how long things are.
#pragma once

#include <array>
#include <string>

#include "pictures/Picture.h"
#include "quelplatform/prim_geom/QmVec3.h"

namespace queltool {

/// The largest of 1, 2 and 5 times a power of ten that is not above `value`, which is positive.
double roundLength(double value);

/// A bar of a round length, about a fifth of `room` units, with its number and unit; `scale` units are one of `unit`.
/// It goes from `at` to the right or upward.
enum class Along { Right, Up };
void drawRuler(Picture& picture, const Vec2& at, double scale, double room, const char* unit,
               Along along = Along::Right);

/// Where an axis of space points in a view: to the right and up, as far as it does.
struct AxisMark {
  double right;
  double up;
  bool isTowardsViewer;
};

/// X, Y and Z in a view whose directions are `right` and `up`, unit vectors.
std::array<AxisMark, 3> axesOf(const QmVec3& right, const QmVec3& up);

/// Draws the axes about `at` as arrows with their letters; one along the view as a ring with a dot (towards the viewer)
/// or a cross (away).
void drawAxes(Picture& picture, const Vec2& at, const std::array<AxisMark, 3>& axes);

/// A small text on a dark ground, its middle at `at`.
void drawLabel(Picture& picture, const Vec2& at, const std::string& text);

/// An arrow with a letter at its tip.
void drawAxis(Picture& picture, const Vec2& from, const Vec2& to, const char* letter, const Colour& colour);

}  // namespace queltool
