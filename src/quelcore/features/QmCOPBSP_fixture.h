// Clouds that are hard to divide, and a plain model of the partition to hold the tree against.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "quelcore/features/QmCOPBSP.h"
#include "testing/Numbers.h"

namespace quel::testing {

using Cloud = std::vector<QmVec3>;

inline Cloud randomCloud(std::size_t count) {
  auto random = testRandom();
  Cloud cloud(count);
  for (QmVec3& p : cloud) {
    for (double& value : p.v) value = uniform(random, -1000, 1000);
  }
  return cloud;
}

inline Cloud clusteredCloud(std::size_t count) {
  auto random = testRandom();
  const Cloud centres = randomCloud(7);
  Cloud cloud(count);
  for (QmVec3& p : cloud) {
    const QmVec3& centre = centres[random() % centres.size()];
    const double size = std::pow(10.0, uniform(random, -9, 1));
    p = centre + size * QmVec3(uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1));
  }
  return cloud;
}

inline Cloud planarCloud(std::size_t count) {
  Cloud cloud = randomCloud(count);
  for (QmVec3& p : cloud) p[2] = 5.0;
  return cloud;
}

inline Cloud collinearCloud(std::size_t count) {
  auto random = testRandom();
  Cloud cloud(count);
  for (QmVec3& p : cloud) p = uniform(random, -10, 10) * QmVec3(1, -2, 0.5) + QmVec3(3, 4, 5);
  return cloud;
}

/// Every point many times over.
inline Cloud duplicatedCloud(std::size_t count) {
  auto random = testRandom();
  const Cloud some = randomCloud(20);
  Cloud cloud(count);
  for (QmVec3& p : cloud) p = some[random() % some.size()];
  return cloud;
}

/// A surface row by row, every third row backwards; then `unordered` pairs of points change places.
inline Cloud scannedCloud(std::mt19937_64& random, std::size_t columns, std::size_t rows, std::size_t unordered) {
  Cloud cloud;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t n = 0; n < columns; ++n) {
      const std::size_t column = row % 3 == 2 ? columns - 1 - n : n;
      cloud.emplace_back(static_cast<double>(column), static_cast<double>(row),
                         std::sin(0.05 * static_cast<double>(n)));
    }
  }
  for (std::size_t n = 0; n < unordered; ++n) {
    std::swap(cloud[random() % cloud.size()], cloud[random() % cloud.size()]);
  }
  return cloud;
}

/// Points that halve their distance to the origin on each axis in turn: each division takes off a single one.
inline Cloud deepCloud(int perAxis) {
  Cloud cloud;
  for (int k = 0; k < perAxis; ++k) {
    for (int axis = 0; axis < 3; ++axis) cloud.emplace_back()[axis] = std::ldexp(1.0, -k);
  }
  return cloud;
}

inline QmBBox boxAround(const Cloud& cloud) {
  QmBBox box(cloud.front(), cloud.front());
  for (const QmVec3& p : cloud) box.extend(p);
  return box;
}

/// A node as it should be.
struct ModelNode {
  std::vector<std::int32_t> indices;
  QmBBox box;
  std::size_t depth;
  bool leaf;
};

/// Which entries fall below the plane and which above, in the order that the exchanges leave: an entry below stays and
/// the next from the front is looked at; one above goes behind all that are left, and the one from the back is next.
inline std::pair<std::vector<std::int32_t>, std::vector<std::int32_t>> modelSplit(const Cloud& cloud,
                                                                                  const ModelNode& node, int axis,
                                                                                  double offset) {
  std::vector<std::int32_t> below, above;
  std::size_t first = 0, last = node.indices.size();
  bool fromFront = true;
  while (first < last) {
    const std::int32_t entry = fromFront ? node.indices[first++] : node.indices[--last];
    fromFront = !(cloud[static_cast<std::size_t>(entry)][axis] - offset >= 0);
    (fromFront ? below : above).push_back(entry);
  }
  std::reverse(above.begin(), above.end());
  return {below, above};
}

inline QmBBox modelBox(const Cloud& cloud, const std::vector<std::int32_t>& indices) {
  Cloud own;
  own.reserve(indices.size());
  for (const std::int32_t n : indices) own.push_back(cloud[static_cast<std::size_t>(n)]);
  return boxAround(own);
}

/// The nodes of the partition, parents first, left before right.
inline std::vector<ModelNode> modelPartition(const Cloud& cloud, const QmBBox& rootBox, std::size_t limit) {
  std::vector<ModelNode> done, open;
  ModelNode root{{}, rootBox, 0, true};
  for (std::size_t n = 0; n < cloud.size(); ++n) root.indices.push_back(static_cast<std::int32_t>(n));
  open.push_back(root);
  while (!open.empty()) {
    ModelNode node = std::move(open.back());
    open.pop_back();
    if (node.indices.size() >= limit) {
      const QmVec3 side = node.box.maximum() - node.box.minimum();
      const int axis = static_cast<int>(std::max_element(side.v, side.v + 3) - side.v);
      const double offset = (node.box.minimum()[axis] + node.box.maximum()[axis]) * 0.5;
      auto [below, above] = modelSplit(cloud, node, axis, offset);
      if (below.empty() || above.empty()) {
        node.indices = below.empty() ? above : below;  // The exchanges were made all the same.
      } else {
        node.leaf = false;
        const QmBBox aboveBox = modelBox(cloud, above), belowBox = modelBox(cloud, below);
        open.push_back({std::move(above), aboveBox, node.depth + 1, true});
        open.push_back({std::move(below), belowBox, node.depth + 1, true});
      }
    }
    done.push_back(std::move(node));
  }
  return done;
}

using Node = QmCOPBSP::BSP_treeNode;

/// The nodes that a walk meets.
inline std::vector<Node*> nodesOf(QmInMemBSP_t<QmVec3>& tree) {
  std::vector<Node*> nodes;
  tree.traverse(
      [](void* context, Node* node) {
        static_cast<std::vector<Node*>*>(context)->push_back(node);
        return true;
      },
      &nodes);
  return nodes;
}

inline bool isLeaf(const Node* node) { return node->left == nullptr && node->right == nullptr; }

}  // namespace quel::testing
