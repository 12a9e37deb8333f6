#include "quelcore/features/QmInMemBSP.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <numeric>
#include <utility>

#include "quelcore/base/MemoryBlock.h"

namespace {

constexpr std::int32_t kLeastToDivide = 50;

/// The exact box of the points of a run, from its first point on.
template <typename T>
QmBBox boxOf(const T* points, const std::int32_t* run, std::int32_t count) {
  if (count == 0) return {};
  QmBBox box(points[run[0]], points[run[0]]);
  for (std::int32_t n = 1; n < count; ++n) box.extend(points[run[n]]);
  return box;
}

/// Brings the points below the plane to the front of a run and returns their number. The exchanges, and with them the
/// order within the two parts, are promised: an entry above the plane changes places with the last one not yet looked
/// at.
template <typename T>
std::int32_t partition(const T* points, std::int32_t* run, std::int32_t count, std::int32_t axis, double offset) {
  std::int32_t front = 0;
  std::int32_t back = count - 1;
  while (front <= back) {
    if (points[run[front]].v[axis] - offset >= 0.0) {
      std::swap(run[front], run[back]);
      --back;
    } else {
      ++front;
    }
  }
  return front;
}

/// A leaf over a run, under `parent`; null when memory is exhausted.
template <typename Node>
Node* makeNode(Node* parent, const QmBBox& box, std::int32_t* run, std::int32_t count) {
  auto room = quelcore::MemoryBlock<Node>::uninitialised(1);
  return room ? new (room.release()) Node{parent, nullptr, nullptr, box, run, count} : nullptr;
}

template <typename Node>
Node* nodeOverPoints(Node* parent, const QmVec3* points, std::int32_t* run, std::int32_t count) {
  return makeNode(parent, boxOf(points, run, count), run, count);
}

/// The first node above `node`, itself included, that is a left child; null when there is none up to the root.
template <typename Node>
Node* nearestLeftChild(Node* node) {
  while (node->parent != nullptr && node != node->parent->left) node = node->parent;
  return node->parent == nullptr ? nullptr : node;
}

/// Frees a tree from the leaves up, without recursion: a tree can be as deep as it has points.
template <typename Node>
void freeTree(Node* node) {
  while (node != nullptr) {
    if (node->left != nullptr) {
      node = std::exchange(node->left, nullptr);
    } else if (node->right != nullptr) {
      node = std::exchange(node->right, nullptr);
    } else {
      Node* leaf = std::exchange(node, node->parent);
      quelcore::freeMemory(leaf);
    }
  }
}

}  // namespace

template <typename T>
QmInMemBSP_t<T>::~QmInMemBSP_t() {
  clear();
}

template <typename T>
void QmInMemBSP_t<T>::clear() {
  freeTree(std::exchange(root, nullptr));
  quelcore::freeMemory(indices);
  indexCount = 0;
}

template <typename T>
bool QmInMemBSP_t<T>::divide_criteria(BSP_treeNode* node) {
  return node->pointCount >= kLeastToDivide;
}

template <typename T>
void QmInMemBSP_t<T>::choose_secant_plane(const QmBBox& box, std::int32_t& axis, double& offset) {
  const QmVec3 extent = box.maximum() - box.minimum();
  axis = 0;
  if (extent.y() > extent.x()) axis = 1;
  if (extent.z() > extent[axis]) axis = 2;
  offset = (box.minimum()[axis] + box.maximum()[axis]) * 0.5;
}

template <typename T>
void QmInMemBSP_t<T>::choose_secant_plane(const QmBBox& box, QmVec3& point, QmVec3& normal) {
  std::int32_t axis = 0;
  double offset = 0.0;
  QmInMemBSP_t::choose_secant_plane(box, axis, offset);
  normal = QmVec3();
  normal[axis] = 1.0;
  point = (box.minimum() + box.maximum()) * 0.5;
}

template <typename T>
bool QmInMemBSP_t<T>::makeIndices(std::int32_t count) {
  indices = quelcore::MemoryBlock<std::int32_t>::uninitialised(static_cast<std::size_t>(count)).release();
  if (indices == nullptr) return false;
  indexCount = count;
  std::iota(indices, indices + count, 0);
  return true;
}

template <typename T>
void QmInMemBSP_t<T>::build(const T* points, std::int32_t count, const QmBBox* box) {
  const std::int32_t used = points == nullptr ? 0 : std::max(count, 0);
  const QmBBox given = box == nullptr ? QmBBox() : *box;  // It may be a box of the tree that goes now.
  clear();
  if (!makeIndices(used)) return;
  root = makeNode<BSP_treeNode>(nullptr, box == nullptr ? boxOf(points, indices, used) : given, indices, used);
  if (root == nullptr || !build_(root, points)) clear();
}

// Divides `node` and all that comes of it, each left child with everything below it before its right neighbour is made.
// False when memory is exhausted.
template <typename T>
bool QmInMemBSP_t<T>::build_(BSP_treeNode* node, const T* points) {
  static std::atomic<std::uint32_t> call_id{0};  // Nodes of all trees so far, for who looks on in a debugger.
  while (node != nullptr) {
    call_id.fetch_add(1, std::memory_order_relaxed);
    if (!divide(node, points)) return false;
    if (node->left != nullptr) {
      node = node->left;
      continue;
    }
    const BSP_treeNode* done = nearestLeftChild(node);
    if (done == nullptr) return true;
    BSP_treeNode* parent = done->parent;
    parent->right =
        nodeOverPoints(parent, points, parent->pointIndices + done->pointCount, parent->pointCount - done->pointCount);
    node = parent->right;
  }
  return false;
}

// Partitions the points of a node and makes its left child; the node stays a leaf when it is small enough or all its
// points lie on one side. False when memory is exhausted.
template <typename T>
bool QmInMemBSP_t<T>::divide(BSP_treeNode* node, const T* points) {
  if (!divide_criteria(node)) return true;
  std::int32_t axis = 0;
  double offset = 0.0;
  choose_secant_plane(node->box, axis, offset);
  if (axis < 0 || axis > 2) return true;
  const std::int32_t below = partition(points, node->pointIndices, node->pointCount, axis, offset);
  if (below == 0 || below == node->pointCount) return true;
  node->left = nodeOverPoints(node, points, node->pointIndices, below);
  return node->left != nullptr;
}

template <typename T>
void QmInMemBSP_t<T>::traverse(bool (*callback)(void* context, BSP_treeNode* node), void* context) {
  if (callback == nullptr) return;
  BSP_treeNode* node = root;
  while (node != nullptr) {
    if (callback(context, node) && node->left != nullptr) {
      node = node->left;
      continue;
    }
    const BSP_treeNode* done = nearestLeftChild(node);
    node = done == nullptr ? nullptr : done->parent->right;
  }
}

template <typename T>
typename QmInMemBSP_t<T>::PNT_CLASS QmInMemBSP_t<T>::classify(const QmVec3& planePoint, const QmVec3& planeNormal,
                                                              const QmVec3& test) {
  return dot(test - planePoint, planeNormal) >= 0.0 ? PNT_ABOVE : PNT_BELOW;
}

template <typename T>
typename QmInMemBSP_t<T>::PNT_CLASS QmInMemBSP_t<T>::simple_classify(const QmVec3& test, std::int32_t axis,
                                                                     double offset) {
  if (axis < 0 || axis > 2) return PNT_BELOW;
  return test.v[axis] - offset >= 0.0 ? PNT_ABOVE : PNT_BELOW;
}

template class QmInMemBSP_t<QmVec3>;
