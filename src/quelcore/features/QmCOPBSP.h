// The binary space partition of a cloud of points, with the size of its leaves chosen at run time.
#pragma once

#include "quelcore/features/QmInMemBSP.h"

/// The partition of a cloud. Copies share the tree, as those of its base do.
class QUELCORE_API QmCOPBSP : public QmInMemBSP_t<QmVec3> {
 public:
  QmCOPBSP() = default;
  QmCOPBSP(const QmCOPBSP&) = default;
  QmCOPBSP& operator=(const QmCOPBSP&) = default;
  ~QmCOPBSP() override;

  /// Whether `node` is to be split: it is when it has at least `leafLimit` points.
  bool divide_criteria(BSP_treeNode* node) override;

  /// Builds the tree over `count` points, `box` being that of the root. Nodes of at least `leafLimit` points are split
  /// as long as they can be; a leaf of coincident points may hold any number.
  void build(const QmVec3* points, std::int32_t count, const QmBBox& box, std::int32_t leafLimit);

  /// The walk of `traverse`.
  void traverseBSP(bool (*callback)(void* context, BSP_treeNode* node), void* context);

  std::int32_t leafLimit = 0;
};
