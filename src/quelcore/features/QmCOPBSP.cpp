#include "quelcore/features/QmCOPBSP.h"

QmCOPBSP::~QmCOPBSP() = default;

bool QmCOPBSP::divide_criteria(BSP_treeNode* node) { return node->pointCount >= leafLimit; }

void QmCOPBSP::build(const QmVec3* points, std::int32_t count, const QmBBox& box, std::int32_t limit) {
  leafLimit = limit;
  QmInMemBSP_t::build(points, count, &box);
}

void QmCOPBSP::traverseBSP(bool (*callback)(void* context, BSP_treeNode* node), void* context) {
  traverse(callback, context);
}
