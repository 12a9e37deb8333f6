// Clouds sorted into bins, so that what lies together is read together: by where a camera sees the points, or by where
// they lie in space.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/head/Head.h"
#include "quel/measure/Projection.h"
#include "quelcore/records/qmPatch.h"

namespace quel {

#pragma GCC visibility push(default)

struct ImageIndex {
  std::vector<Vec3> points;          ///< In the order of the bins, world, millimetres.
  std::vector<Vec2> pixels;          ///< Where the camera sees each; empty for an index by space.
  std::vector<std::int32_t> order;   ///< The number that each point had among those that were given.
  std::vector<qmPatchBinInfo> bins;  ///< Runs of `points`, each with its exact box; none is empty.
  std::size_t leftOut = 0;           ///< Points in no bin: not finite, or not in the image.
  double seconds = 0.0;              ///< That the sorting took, without the projection.

  /// Sorts those of N points that lie in the image of `camera` into its cells of 32 x 32 pixels, column by column.
  /// Fails when `camera` is none, the head holds no projections, no point lies in the image (whose size must be known),
  /// or there are more than 2^31 - 1.
  static Result<ImageIndex> byImage(const Head& head, std::span<const Vec3> points, int camera, Mode mode = Mode::Exact,
                                    int threads = 1);

  /// Sorts the finite ones of N points into the leaves of a partition with fewer than 500 points each. Fails when there
  /// is none, or there are more than 2^31 - 1.
  static Result<ImageIndex> bySpace(std::span<const Vec3> points);

  /// Points of the smallest and of the largest bin.
  std::uint32_t smallestBin() const;
  std::uint32_t largestBin() const;
};

#pragma GCC visibility pop

}  // namespace quel
