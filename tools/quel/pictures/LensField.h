// How far the lens of a camera moves pixels, over its image.
#pragma once

#include <utility>
#include <vector>

#include "files/Values.h"
#include "pictures/Contours.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// From an ideal pixel to where the lens, with the LUT's layer of reference, moves it; NaN where the model fails.
Vec2 displacementAt(const tag_qmReconsTensorData& head, int camera, const Vec2& ideal);

/// The lengths of displacements at the nodes of a grid over the image.
struct MovedField {
  Field field;
  double pitch;  ///< Of the grid, pixels.

  Vec2 pixelAt(const Vec2& place) const { return {place[0] * pitch - 0.5, place[1] * pitch - 0.5}; }
};

/// With so many nodes along the width of the image, which is known.
MovedField movedBy(const tag_qmReconsTensorData& head, int camera, std::size_t columns);

/// From the principal point to the corner where the lens moves pixels farthest: every line of equal displacement
/// crosses that way. In units of the grid.
struct LabelWay {
  Vec2 from;
  Vec2 along;  ///< A unit vector.

  /// How far off the way a place lies; far for what lies behind its beginning.
  double distance(const Vec2& place) const;

  /// The place on the pieces of a line, of which there is one, that lies nearest to the way.
  Vec2 nearestOf(const std::vector<std::pair<Vec2, Vec2>>& pieces) const;
};

LabelWay labelWay(const tag_qmReconsTensorData& head, int camera, const MovedField& moved);

}  // namespace queltool
