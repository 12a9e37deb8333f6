#include "quelcore/features/QmInMemBSP.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>
#include <new>
#include <numeric>
#include <utility>

#include "quelcore/base/GrowingBox.h"
#include "quelcore/base/MemoryBlock.h"

namespace {

constexpr std::int32_t kLeastToDivide = 50;

/// As many points stay in the caches anyway.
constexpr std::int32_t kFewPoints = 4096;

/// Points are reached by number, so that they may lie anywhere: they are asked for this many numbers ahead.
constexpr std::int32_t kAhead = 24;

/// The exact box of the points of a run, from its first point on.
template <typename T>
QmBBox boxOf(const T* points, const std::int32_t* run, std::int32_t count) {
  if (count == 0) return {};
  quelcore::GrowingBox box(points[run[0]]);
  std::int32_t n = 1;
  for (; count > kFewPoints && n + kAhead < count; ++n) {
    __builtin_prefetch(points + run[n + kAhead]);
    box.extend(points[run[n]]);
  }
  for (; n < count; ++n) box.extend(points[run[n]]);
  return box.box();
}

/// The points below the plane: how many stand at the front of the run now, and their box.
struct Below {
  std::int32_t count;
  QmBBox box;
};

/// Brings the points below a plane to the front of a run. The exchanges, and with them the order within the two parts,
/// are promised: from the front on, an entry above the plane changes places with the last one not yet looked at, which
/// is looked at next.
///
/// One entry is held, and its place at the front is free: below the plane it goes there, above it into the last place,
/// and the entry that stood next at the front, or last, is held then. Which it will be depends on the points, but their
/// sides do not depend on the exchanges: they are found for up to 64 entries ahead at both ends, one bit each, and the
/// exchanges then follow the bits without a branch.
template <typename T>
class Partition {
 public:
  Partition(const T* points, std::int32_t* run, std::int32_t count, std::int32_t axis, double offset)
      : points_(points), run_(run), count_(count), axis_(axis), offset_(offset), back_(count - 1) {}

  Below divide() {
    if (count_ < 1) return {0, {}};
    held_ = run_[0];
    isAbove_ = sideOf(held_);
    while (back_ > front_) {
      refill();
      if (!exchangeInARow()) exchange(std::min({atFront_.left, atBack_.left, back_ - front_, kStepsBetweenLooks}));
    }
    run_[front_] = held_;
    if (!isAbove_) ++front_;
    grow();
    return {front_, box_.box()};
  }

 private:
  /// Sides of the next entries at one end, the nearest in the lowest bit.
  struct Sides {
    std::uint64_t bits = 0;
    std::int32_t left = 0;

    void drop(std::int32_t count) {
      bits = count < 64 ? bits >> count : 0;
      left -= count;
    }
  };

  static constexpr std::int32_t kWorthMovingAtOnce = 6;
  static constexpr std::int32_t kStepsBetweenLooks = 16;

  bool sideOf(std::int32_t point) const { return points_[point].v[axis_] - offset_ >= 0.0; }

  /// The sides of the entries from `place` on, towards higher places (`Step` 1) or lower ones (-1).
  template <std::int32_t Step>
  Sides look(std::int32_t place) const {
    Sides sides;
    sides.left = std::min(64, back_ - front_);
    const std::int32_t* const entries = run_ + place;
    if (back_ - front_ > kFewPoints) {
      for (std::int32_t n = 0; n < 64; ++n) __builtin_prefetch(points_ + entries[Step * (n + kAhead)]);
    }
    for (std::int32_t n = sides.left - 1; n >= 0; --n) sides.bits = 2 * sides.bits + sideOf(entries[Step * n]);
    return sides;
  }

  void refill() {
    if (atFront_.left == 0) {
      grow();
      atFront_ = look<1>(front_ + 1);
    }
    if (atBack_.left == 0) atBack_ = look<-1>(back_);
  }

  /// How many of the next entries of an end lie on one side alike.
  static std::int32_t alike(const Sides& sides, bool above) {
    return std::min(above ? std::countr_one(sides.bits) : std::countr_zero(sides.bits), sides.left);
  }

  /// Where the points lie in some order, many entries in a row go the same way and are moved at once. False where they
  /// do not.
  bool exchangeInARow() {
    const std::int32_t room = back_ - front_;
    if (!isAbove_) return stay(std::min(alike(atFront_, false), room));
    return moveDown(std::min(alike(atBack_, true), room)) ||
           tradePlaces(std::min(alike(atFront_, true), alike(atBack_, false)));
  }

  /// The next entries at the front lie below, where they are.
  bool stay(std::int32_t count) {
    if (count < kWorthMovingAtOnce) return false;
    run_[front_] = held_;
    front_ += count;
    held_ = run_[front_];
    atFront_.drop(count);
    return true;
  }

  /// The last entries lie above: each moves down one place, since the one that is held takes the last.
  bool moveDown(std::int32_t count) {
    if (count < kWorthMovingAtOnce) return false;
    const std::int32_t lowest = run_[back_ - count + 1];
    std::memmove(run_ + back_ - count + 1, run_ + back_ - count + 2,
                 static_cast<std::size_t>(count - 1) * sizeof *run_);
    run_[back_] = held_;
    back_ -= count;
    held_ = lowest;
    atBack_.drop(count);
    return true;
  }

  /// The next entries at the front lie above and the last ones below, so they are not the same: they change places one
  /// by one.
  bool tradePlaces(std::int32_t count) {
    if (count < kWorthMovingAtOnce) return false;
    run_[front_] = held_;
    held_ = run_[front_ + count];
    for (std::int32_t n = 0; n < count; ++n) std::swap(run_[front_ + n], run_[back_ - n]);
    front_ += count;
    back_ -= count;
    atFront_.drop(count);
    atBack_.drop(count);
    return true;
  }

  void exchange(std::int32_t steps) {
    std::int32_t* front = run_ + front_;
    std::int32_t* back = run_ + back_;
    std::uint32_t held = static_cast<std::uint32_t>(held_);
    std::uint64_t atFront = atFront_.bits, atBack = atBack_.bits, above = isAbove_;
    for (std::int32_t n = 0; n < steps; ++n) {
      // All bits set above the plane, none below: compilers would make branches of choices.
      const auto mask = -static_cast<std::int64_t>(above);
      const auto mask32 = static_cast<std::uint32_t>(mask);
      const auto last = static_cast<std::uint32_t>(*back), next = static_cast<std::uint32_t>(front[1]);
      front[(back - front) & mask] = static_cast<std::int32_t>(held);
      held = next ^ ((last ^ next) & mask32);
      const std::uint64_t side = (atFront ^ ((atFront ^ atBack) & static_cast<std::uint64_t>(mask))) & 1;
      atBack >>= above;
      atFront >>= above ^ 1;
      back += mask;
      front += mask + 1;
      above = side;
    }
    const auto fromFront = static_cast<std::int32_t>(front - run_) - front_;
    atFront_ = {atFront, atFront_.left - fromFront};
    atBack_ = {atBack, atBack_.left - (steps - fromFront)};
    front_ += fromFront;
    back_ -= steps - fromFront;
    held_ = static_cast<std::int32_t>(held);
    isAbove_ = above != 0;
  }

  /// Takes the entries into the box that have come to the front since, while their points are at hand.
  void grow() {
    if (boxed_ == 0 && front_ > 0) box_ = quelcore::GrowingBox(points_[run_[boxed_++]]);
    for (; boxed_ < front_; ++boxed_) box_.extend(points_[run_[boxed_]]);
  }

  const T* points_;
  std::int32_t* run_;
  std::int32_t count_;
  std::int32_t axis_;
  double offset_;
  std::int32_t front_ = 0;
  std::int32_t back_;
  std::int32_t held_ = 0;
  bool isAbove_ = false;
  Sides atFront_;
  Sides atBack_;
  quelcore::GrowingBox box_;
  std::int32_t boxed_ = 0;
};

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
  const Below below = Partition<T>(points, node->pointIndices, node->pointCount, axis, offset).divide();
  if (below.count == 0 || below.count == node->pointCount) return true;
  node->left = makeNode(node, below.box, node->pointIndices, below.count);
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
