// The binary space partition of a cloud: a tree of exact boxes, as one array.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"

namespace quel {

#pragma GCC visibility push(default)

struct Partition {
  /// A box of points. Nodes are named by their place in `nodes`; -1 is none.
  struct Node {
    Vec3 minimum{};  ///< Exact, in the unit of the points.
    Vec3 maximum{};
    std::int32_t first = 0;  ///< Of the points in `order`.
    std::int32_t count = 0;  ///< Of the points.
    std::int32_t parent = -1;
    std::int32_t left = -1;   ///< Below the middle of the longest side; a leaf has neither child.
    std::int32_t right = -1;  ///< On or above it.
  };

  std::vector<Node> nodes;  ///< The root first, a node before its children, the left child's before the right's.
  std::vector<std::int32_t> order;  ///< The numbers of the points: those of a node lie one behind the other.

  /// Divides N points, in any frame and unit: nodes of 50 points and more are divided at the middle of their longest
  /// side. Fails when there is no point, one is not finite, or there are more than 2^31 - 1.
  static Result<Partition> of(std::span<const Vec3> points);
};

#pragma GCC visibility pop

}  // namespace quel
