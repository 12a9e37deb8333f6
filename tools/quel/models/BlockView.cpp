#include "models/BlockView.h"

#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

View viewOf(const tag_qmReconsTensorData& tensor, int camera) {
  View view{};
  view.valid = tensor.projectionsValid == 1 &&
               qmRTdecomposeProj(tensor.projections[camera], view.k, view.kInverse, view.r, view.t) == 1;
  return view;
}

}  // namespace queltool
