#include "quel/geometry/Partition.h"

#include <limits>
#include <new>

#include "quel/geometry/points.h"
#include "quelcore/features/QmInMemBSP.h"

namespace quel {

namespace {

using Tree = QmInMemBSP_t<QmVec3>;

// Trees may be as deep as they have points: what is still to be walked stands in a list of its own.
struct Waiting {
  const Tree::BSP_treeNode* node;
  std::int32_t parent;
};

void link(Partition& partition, const Waiting& at, std::int32_t own) {
  if (at.parent < 0) return;
  Partition::Node& parent = partition.nodes[static_cast<std::size_t>(at.parent)];
  (at.node == at.node->parent->left ? parent.left : parent.right) = own;
}

std::vector<Waiting> childrenOf(const Tree::BSP_treeNode& node, std::int32_t own) {
  std::vector<Waiting> children;
  if (node.right != nullptr) children.push_back({node.right, own});
  if (node.left != nullptr) children.push_back({node.left, own});
  return children;
}

void flatten(const Tree& tree, Partition& partition) {
  std::vector<Waiting> waiting = {{tree.root, -1}};
  while (!waiting.empty()) {
    const Waiting at = waiting.back();
    waiting.pop_back();
    const auto own = static_cast<std::int32_t>(partition.nodes.size());
    const Tree::BSP_treeNode& node = *at.node;
    partition.nodes.push_back({arrayOf(node.box.minimum()), arrayOf(node.box.maximum()),
                               static_cast<std::int32_t>(node.pointIndices - tree.indices), node.pointCount,
                               at.parent});
    link(partition, at, own);
    for (const Waiting& child : childrenOf(node, own)) waiting.push_back(child);
  }
}

}  // namespace

Result<Partition> Partition::of(std::span<const Vec3> points) {
  constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
  if (points.empty()) return Error{"there are no points"};
  if (points.size() > kMost) return Error{"a cloud has at most 2147483647 points"};
  if (const auto done = refuseNotFinite(points); !done) return done.error();
  const std::vector<QmVec3> vectors = vectorsOf(points);
  Tree tree;
  tree.build(vectors.data(), static_cast<std::int32_t>(vectors.size()), nullptr);
  if (tree.root == nullptr) throw std::bad_alloc();
  Partition partition;
  partition.order.assign(tree.indices, tree.indices + tree.indexCount);
  flatten(tree, partition);
  return partition;
}

}  // namespace quel
