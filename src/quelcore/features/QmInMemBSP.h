// Binary space partition over an array of points that the caller keeps.
//
// The points are not copied: the tree sorts an array of their numbers so that each of its nodes owns one contiguous run
// of it. A node splits its points at the middle of its box, across the longest side, and the boxes of its children are
// exact, so a node divides as long as its points differ on that side. Depth has no limit; building, walking and freeing
// need no stack for it. A tree is used by one thread at a time.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/prim_geom/QmBBox.h"

/// The partition. Instantiated for `QmVec3`.
///
/// Required: copies share the tree and the index array of the original, so only one of them may be destroyed.
template <typename T>
class QmInMemBSP_t {
 public:
  /// A node: a leaf, or two children that divide its run of indices, the left one first. Ownership runs down the tree.
  class BSP_treeNode {
   public:
    BSP_treeNode* parent = nullptr;        ///< Null at the root.
    BSP_treeNode* left = nullptr;          ///< Points below the plane, or null.
    BSP_treeNode* right = nullptr;         ///< Points on or above the plane, or null.
    QmBBox box;                            ///< Exact box of the points; the root's is the one that was given, if any.
    std::int32_t* pointIndices = nullptr;  ///< First index of the node, in the tree's `indices`.
    std::int32_t pointCount = 0;
  };

  /// Side of a plane. A point exactly on it lies above.
  enum PNT_CLASS : std::int32_t { PNT_BELOW = 0, PNT_ABOVE = 1 };

  QmInMemBSP_t() = default;
  QmInMemBSP_t(const QmInMemBSP_t&) = default;
  QmInMemBSP_t& operator=(const QmInMemBSP_t&) = default;

  /// Frees the tree and the index array.
  virtual ~QmInMemBSP_t();

  /// Whether `node` is to be split: it is when it has at least 50 points.
  virtual bool divide_criteria(BSP_treeNode* node);

  /// Where to split a box: `axis` (0 to 2) is that of its longest side, of equals the lowest; `offset` the middle,
  /// (minimum + maximum) 0.5. A plane of any other axis has no point above it.
  virtual void choose_secant_plane(const QmBBox& box, std::int32_t& axis, double& offset);

  /// The same choice as a plane: `normal` is the unit vector of the axis, `point` the centre of the box.
  virtual void choose_secant_plane(const QmBBox& box, QmVec3& point, QmVec3& normal);

  /// Builds the tree over `count` points, which need not outlive the call; an earlier tree is freed. `box`, if not
  /// null, becomes the box of the root, whether it fits the points or not. A count below 1, or null points, gives a
  /// root without points. When memory is exhausted the tree is empty: `root` is null and `indexCount` 0.
  void build(const T* points, std::int32_t count, const QmBBox* box);

  /// Walks the tree depth-first, a node before its children and the left child before the right. Where `callback`
  /// returns false the node's children are passed over, and the walk goes on. An empty tree, or a null callback, makes
  /// no walk.
  void traverse(bool (*callback)(void* context, BSP_treeNode* node), void* context);

  /// Above when (test - planePoint) . planeNormal >= 0.
  static PNT_CLASS classify(const QmVec3& planePoint, const QmVec3& planeNormal, const QmVec3& test);

  /// Above when the coordinate of `test` on `axis` minus `offset` is >= 0; below for an axis that is none.
  static PNT_CLASS simple_classify(const QmVec3& test, std::int32_t axis, double offset);

  BSP_treeNode* root = nullptr;     ///< The tree; null before `build`.
  std::int32_t* indices = nullptr;  ///< A permutation of 0 to `indexCount` - 1. Owned.
  std::int32_t indexCount = 0;

 private:
  QUELCORE_LOCAL bool build_(BSP_treeNode* node, const T* points);
  QUELCORE_LOCAL bool divide(BSP_treeNode* node, const T* points);
  QUELCORE_LOCAL bool makeIndices(std::int32_t count);
  QUELCORE_LOCAL void clear();
};

extern template class QUELCORE_API QmInMemBSP_t<QmVec3>;
